#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "orvex/orvex_ddi.h"

#include "engine/device_events.h"
#include "engine/image_transfer.h"
#include "engine/message_port.h"
#include "engine/notification_channel.h"
#include "engine/sensor.h"

namespace engine {

// One camera of the module: its record and driver block, and the five operations behind them.
class Device : private HostSide {
  public:
    // `path` is where the device file will be.
    Device(std::unique_ptr<Sensor> sensor, const std::string& path);
    ~Device() override;
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    orvex_device* Record() { return &record_.device; }
    // The device file by calls; false while it is not there.
    bool OpenFile(const dv_file_host& host, dv_file_driver& driver);

  private:
    // What the library is given; the pointer behind leads back from it.
    struct OwnedRecord {
        orvex_device device;
        Device* owner;
    };

    static Device& Of(orvex_device* device);
    bool Open();
    bool Close();
    bool Read(uint8_t* buffer, uint16_t length, uint16_t& count);
    bool Write(Bytes frame, uint16_t& count);
    bool Control(uint32_t code, const dv_ioctl_args& args);

    // Control operations by topic; each refuses records of the wrong size.
    bool OpenEvents(const dv_ioctl_args& args);
    bool TakeBuffer(uint32_t code, const dv_ioctl_args& args);
    bool ReceiveImageData(const dv_ioctl_args& args);
    bool StopTransfer(const dv_ioctl_args& args);
    bool FlushNotifications();
    bool QueryDriver(uint32_t code, const dv_ioctl_args& args);

    void Exposing() override;
    void FrameBegins(int64_t time_stamp) override;
    bool FrameData(size_t bytes, FrameWriter writer) override;
    void FrameEnds(int64_t time_stamp) override;
    void RunEnds() override;
    void RunStopped() override;
    void FrameFails() override;
    void Unplugged() override;
    void Suspended() override;
    void BusReset() override;
    void DriverDied() override;
    void RequestsCancelled() override;

    // An event other than frames, told in the way of the device's delivery mode.
    void Tell(uint32_t flags, uint32_t callback_event);
    void Deliver(uint32_t callback_event);
    void Invoke(uint32_t callback_event);  // with delivery_ held
    const orvex_delivery* Library() const;

    OwnedRecord record_{};
    orvex_driver_desc driver_{};
    std::unique_ptr<Sensor> sensor_;
    MessagePort port_;
    DeviceEvents events_;
    ImageTransfer transfer_;
    NotificationChannel channel_;

    std::mutex exchange_;  // one message at a time
    std::mutex delivery_;  // held while a frame is counted and told, and the library is called
    bool open_ = false;
    std::atomic<bool> present_ = true;
    std::atomic<bool> resumes_ = false;
    int64_t frame_begin_ = 0;
    std::atomic<uint32_t> begin_count_ = 0;
    std::atomic<uint32_t> end_count_ = 0;
    std::atomic<uint16_t> retries_ = 3;
    std::atomic<uint16_t> timeout_ms_ = 1000;
};

}  // namespace engine
