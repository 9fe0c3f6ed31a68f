#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "orvex/orvex_ddi.h"
#include "orvex/orvex_event.h"

#include "support/environment.h"
#include "support/eventually.h"
#include "support/notification_server.h"
#include "support/scripted_firmware.h"
#include "support/scripted_module.h"
#include "support/temp_dir.h"

// A driver module under the control of a test: it keeps what it was told, answers from a script
// and fails where it is told to. It serves in process, by InstalledDriver, or by the loader, by
// publish().
namespace support {

// One control operation as the driver saw it.
struct Ioctl {
    uint32_t code = 0;
    Bytes in;
    void* out = nullptr;
    uint32_t out_size = 0;
};

class ScriptedDriver;

class ScriptedCamera {
  public:
    using FrameHandler = std::function<std::optional<Bytes>(std::span<const uint8_t> frame)>;
    // False refuses; what is put into `out` reaches the output buffer.
    using IoctlHandler = std::function<bool(const Ioctl& ioctl, Bytes& out)>;

    ScriptedCamera(ScriptedDriver& driver, const std::string& name);
    ~ScriptedCamera();
    ScriptedCamera(const ScriptedCamera&) = delete;
    ScriptedCamera& operator=(const ScriptedCamera&) = delete;

    orvex_device* device() { return &record_; }
    ScriptedFirmware& firmware() { return firmware_; }

    // --- how it is built; before it is opened
    ScriptedCamera& transport(uint32_t driver_type);  // 0 to 7
    ScriptedCamera& kernel_mode();                    // serves the device file
    // Empty: the driver knows nothing of them.
    ScriptedCamera& bridge_caps(Bytes block) { return set(bridge_caps_, std::move(block)); }

    // --- answers
    // Takes the place of the firmware for frames of all classes; null gives it back.
    ScriptedCamera& on_write(FrameHandler handler) { return set(frame_handler_, handler); }
    // Replies of the next frames, one each, in front of handler and firmware.
    ScriptedCamera& queue_reply(Bytes reply);
    ScriptedCamera& answer(uint32_t code, Bytes out);
    ScriptedCamera& on_ioctl(uint32_t code, IoctlHandler handler);
    ScriptedCamera& driver_status(uint32_t status, uint32_t bytes);
    // Output of DV_CAM_OPEN.
    ScriptedCamera& open_status(uint16_t status) { return set(open_status_, status); }

    // --- faults
    ScriptedCamera& refuse(uint32_t code, bool refused = true);
    ScriptedCamera& fail_open(bool failing = true) { return set(faults_.open, failing); }
    ScriptedCamera& fail_close(bool failing = true) { return set(faults_.close, failing); }
    // Result of write and read operations, and the count that they report.
    ScriptedCamera& fail_write(bool failing = true, uint16_t count = 0);
    ScriptedCamera& fail_read(bool failing = true, uint16_t count = 0);
    ScriptedCamera& lose_write_ack(bool lost = true) { return set(faults_.write_ack, lost); }
    ScriptedCamera& lose_read_ack(bool lost = true) { return set(faults_.read_ack, lost); }
    // Writes the state word, as the notification thread would.
    void set_state(uint32_t state);
    uint32_t state();

    // --- what happened
    std::vector<Bytes> writes() const { return copy_of(writes_); }
    std::vector<Ioctl> ioctls() const { return copy_of(ioctls_); }
    std::vector<uint32_t> ioctl_codes() const;
    size_t reads() const { return copy_of(reads_); }  // calls of the read operation
    unsigned opens() const { return copy_of(opens_); }
    unsigned closes() const { return copy_of(closes_); }
    // Handles of the last DV_CAM_OPEN.
    std::optional<dv_open_record> open_record() const { return copy_of(open_record_); }
    void forget();  // writes, ioctls and reads so far; commands of the firmware too

    // --- signals of the driver
    enum class Ack { write, read, bof, eof, abort };
    bool signal(Ack ack);
    // One report: on the device file in kernel mode, else through the delivery record of the
    // library. False when it can't be delivered.
    bool report(uint32_t flags, uint32_t frame_eof = 0, uint32_t frame_bof = 0,
                int64_t stamp_eof = 0, int64_t stamp_bof = 0);
    // The device file of kernel mode.
    NotificationServer& notifications() { return *notifications_; }

    // --- operations of the device record
    uint16_t open();
    uint16_t close();
    uint16_t write(std::span<const uint8_t> frame, uint16_t* count);
    uint16_t read(std::span<uint8_t> buffer, uint16_t* count);
    uint16_t ioctl(uint32_t code, dv_ioctl_args& args);

  private:
    struct CameraRecord : orvex_device {
        ScriptedCamera* camera;
    };
    struct Faults {
        bool open = false, close = false, write = false, read = false;
        bool write_ack = false, read_ack = false;
        uint16_t write_count = 0, read_count = 0;
    };
    class AckEvent;

    static ScriptedCamera& From(orvex_device* device);
    // Calls come from the test and from threads of the library.
    template <class T>
    ScriptedCamera& set(T& member, const T& value) {
        std::lock_guard lock(mutex_);
        member = value;
        return *this;
    }
    template <class T>
    T copy_of(const T& member) const {
        std::lock_guard lock(mutex_);
        return member;
    }
    std::optional<Bytes> reply_to(std::span<const uint8_t> frame);
    // What a driver does of itself with a control operation.
    bool perform(const Ioctl& ioctl, Bytes& out);
    void map_events(const Bytes& record);
    void reset(Ack ack);
    bool flush();

    ScriptedDriver& driver_;
    CameraRecord record_{};
    orvex_driver_desc descriptor_{};
    ScriptedFirmware firmware_;
    TempDir directory_;
    std::unique_ptr<NotificationServer> notifications_;

    mutable std::recursive_mutex mutex_;
    std::map<Ack, std::unique_ptr<AckEvent>> events_;
    FrameHandler frame_handler_;
    std::deque<Bytes> queued_replies_;
    std::optional<Bytes> pending_reply_;
    std::map<uint32_t, IoctlHandler> handlers_;
    std::set<uint32_t> refused_;
    Bytes bridge_caps_;
    dv_status_record status_{};
    uint16_t open_status_ = 0;
    uint16_t retries_ = 0;
    uint16_t timeout_ = 0;
    Faults faults_;
    std::vector<Bytes> writes_;
    std::vector<Ioctl> ioctls_;
    size_t reads_ = 0;
    unsigned opens_ = 0, closes_ = 0;
    std::optional<dv_open_record> open_record_;
};

class ScriptedDriver {
  public:
    ScriptedDriver();
    ~ScriptedDriver();
    ScriptedDriver(const ScriptedDriver&) = delete;
    ScriptedDriver& operator=(const ScriptedDriver&) = delete;

    ScriptedCamera& add_camera(const std::string& name);
    ScriptedCamera& camera(size_t index) { return *cameras_.at(index); }
    size_t size() const { return cameras_.size(); }

    // Makes the library's loader find this driver as its module: points ORVEX_MODULE_PATH at a
    // directory with an orvexDDI.so that leads here. Until the end of this object.
    void publish();

    // The entry points of the module.
    uint32_t init(orvex_ddi* ddi);
    uint32_t uninit(orvex_ddi* ddi);
    ScriptedDriver& init_result(uint32_t result);
    unsigned uninits() const { return uninits_; }

    // The n-th operation from now on, counted from 1 over all cameras, fails; 0 for none.
    void fail_call(unsigned n);
    // Whether it was reached.
    bool fault_happened() const;

  private:
    friend class ScriptedCamera;
    // Counts one operation; true when this is the one to fail.
    bool count_call();

    std::vector<std::unique_ptr<ScriptedCamera>> cameras_;
    uint32_t init_result_ = 1;
    unsigned uninits_ = 0;
    mutable std::mutex mutex_;
    unsigned calls_ = 0;
    unsigned failing_call_ = 0;
    ScriptedModule module_;
    std::unique_ptr<TempDir> module_directory_;
    std::vector<std::unique_ptr<Environment>> environment_;
};

}  // namespace support
