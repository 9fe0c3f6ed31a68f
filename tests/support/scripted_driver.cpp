#include "support/scripted_driver.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>

#include "orvex/orvex_types.h"

namespace support {

namespace {

// The operation of a descriptor has no argument, so each type needs one of its own.
template <uint32_t Type>
uint32_t DriverType() {
    return Type;
}

constexpr uint32_t (*driver_types[])() = {
    DriverType<0>, DriverType<1>, DriverType<2>, DriverType<3>,
    DriverType<4>, DriverType<5>, DriverType<6>, DriverType<7>,
};

template <class T>
Bytes Record(const T& record) {
    Bytes bytes(sizeof record);
    std::memcpy(bytes.data(), &record, sizeof record);
    return bytes;
}

template <class T>
T ValueOf(const Bytes& bytes) {
    T value{};
    std::memcpy(&value, bytes.data(), std::min(bytes.size(), sizeof value));
    return value;
}

}  // namespace

// The driver's view of one event of the library.
class ScriptedCamera::AckEvent {
  public:
    explicit AckEvent(int64_t handle) { orvex_event_open_handle(&event_, handle); }
    ~AckEvent() { orvex_event_close(&event_); }
    AckEvent(const AckEvent&) = delete;
    AckEvent& operator=(const AckEvent&) = delete;

    bool set() { return orvex_event_set(&event_) != 0; }
    void reset() { orvex_event_reset(&event_); }

  private:
    orvex_event event_{};
};

ScriptedCamera::ScriptedCamera(ScriptedDriver& driver, const std::string& name) : driver_(driver) {
    record_.camera = this;
    record_.hcam = -1;
    record_.driver = &descriptor_;
    // A name as long as its field has no terminator.
    name.copy(record_.name, sizeof record_.name);
    record_.open = [](orvex_device* device) { return From(device).open(); };
    record_.close = [](orvex_device* device) { return From(device).close(); };
    record_.read = [](orvex_device* device, void* buffer, uint16_t length, uint16_t* count) {
        return From(device).read({static_cast<uint8_t*>(buffer), length}, count);
    };
    record_.write = [](orvex_device* device, const void* buffer, uint16_t length, uint16_t* count) {
        return From(device).write({static_cast<const uint8_t*>(buffer), length}, count);
    };
    record_.ioctl = [](orvex_device* device, uint32_t code, dv_ioctl_args* args) {
        return From(device).ioctl(code, *args);
    };
    transport(DRIVER_TYPE_USB);
}

ScriptedCamera::~ScriptedCamera() = default;

ScriptedCamera& ScriptedCamera::From(orvex_device* device) {
    return *static_cast<CameraRecord*>(device)->camera;
}

ScriptedCamera& ScriptedCamera::transport(uint32_t driver_type) {
    descriptor_.driver_type = driver_types[driver_type];
    return *this;
}

ScriptedCamera& ScriptedCamera::kernel_mode() {
    descriptor_.delivery = 1;
    notifications_ = std::make_unique<NotificationServer>(DeviceFileEnd::make(directory_.path()));
    std::snprintf(record_.path, sizeof record_.path, "%s", notifications_->path().c_str());
    return *this;
}

ScriptedCamera& ScriptedCamera::queue_reply(Bytes reply) {
    std::lock_guard lock(mutex_);
    queued_replies_.push_back(std::move(reply));
    return *this;
}

ScriptedCamera& ScriptedCamera::answer(uint32_t code, Bytes out) {
    return on_ioctl(code, [out = std::move(out)](const Ioctl&, Bytes& result) {
        result = out;
        return true;
    });
}

ScriptedCamera& ScriptedCamera::on_ioctl(uint32_t code, IoctlHandler handler) {
    std::lock_guard lock(mutex_);
    handlers_[code] = std::move(handler);
    return *this;
}

ScriptedCamera& ScriptedCamera::driver_status(uint32_t status, uint32_t bytes) {
    std::lock_guard lock(mutex_);
    status_.status = status;
    status_.bytes = bytes;
    return *this;
}

ScriptedCamera& ScriptedCamera::refuse(uint32_t code, bool refused) {
    std::lock_guard lock(mutex_);
    if (refused)
        refused_.insert(code);
    else
        refused_.erase(code);
    return *this;
}

ScriptedCamera& ScriptedCamera::fail_write(bool failing, uint16_t count) {
    return set(faults_.write_count, count).set(faults_.write, failing);
}

ScriptedCamera& ScriptedCamera::fail_read(bool failing, uint16_t count) {
    return set(faults_.read_count, count).set(faults_.read, failing);
}

void ScriptedCamera::set_state(uint32_t state) {
    std::atomic_ref<uint32_t>(record_.state).store(state, std::memory_order_relaxed);
}

uint32_t ScriptedCamera::state() {
    return std::atomic_ref<uint32_t>(record_.state).load(std::memory_order_relaxed);
}

std::vector<uint32_t> ScriptedCamera::ioctl_codes() const {
    std::lock_guard lock(mutex_);
    std::vector<uint32_t> codes;
    for (const Ioctl& ioctl : ioctls_) codes.push_back(ioctl.code);
    return codes;
}

void ScriptedCamera::forget() {
    std::lock_guard lock(mutex_);
    writes_.clear();
    ioctls_.clear();
    reads_ = 0;
    firmware_.forget_commands();
}

bool ScriptedCamera::signal(Ack ack) {
    std::lock_guard lock(mutex_);
    auto found = events_.find(ack);
    return found != events_.end() && found->second->set();
}

void ScriptedCamera::reset(Ack ack) {
    auto found = events_.find(ack);
    if (found != events_.end()) found->second->reset();
}

bool ScriptedCamera::report(uint32_t flags, uint32_t frame_eof, uint32_t frame_bof,
                            int64_t stamp_eof, int64_t stamp_bof) {
    if (notifications_) {
        dv_notification_report report{};
        report.flags = flags;
        report.frame_number_eof = frame_eof;
        report.frame_number_bof = frame_bof;
        report.time_stamp_eof = stamp_eof;
        report.time_stamp_bof = stamp_bof;
        report.readout_time = static_cast<uint32_t>(stamp_eof - stamp_bof);
        return notifications_->report(report);
    }
    auto* delivery = static_cast<orvex_delivery*>(record_.callbacks);
    if (!delivery) return false;
    const bool end = (flags & NOTIFICATION_EOF) != 0;
    if (!delivery->set_latest_frame_info(&record_, end ? frame_eof : frame_bof, stamp_bof,
                                         stamp_eof))
        return false;
    struct EventRow {
        uint32_t flag;
        uint32_t event;
    };
    static const EventRow rows[] = {
        {NOTIFICATION_DEVICE_REMOVAL, OX_CALLBACK_CAM_REMOVED},
        {NOTIFICATION_BUS_RESET, OX_CALLBACK_CHECK_CAMS},
        {NOTIFICATION_BOF, OX_CALLBACK_BOF},
        {NOTIFICATION_EOF, OX_CALLBACK_EOF},
    };
    bool delivered = true;
    for (const EventRow& row : rows)
        if ((flags & row.flag) != 0) delivered &= delivery->invoke(&record_, row.event) == 1;
    return delivered;
}

uint16_t ScriptedCamera::open() {
    const bool fail = driver_.count_call();
    std::lock_guard lock(mutex_);
    ++opens_;
    return !fail && !faults_.open;
}

uint16_t ScriptedCamera::close() {
    const bool fail = driver_.count_call();
    std::lock_guard lock(mutex_);
    ++closes_;
    return !fail && !faults_.close;
}

uint16_t ScriptedCamera::write(std::span<const uint8_t> frame, uint16_t* count) {
    const bool fail = driver_.count_call();
    std::lock_guard lock(mutex_);
    writes_.emplace_back(frame.begin(), frame.end());
    if (fail || faults_.write) {
        *count = faults_.write_count;
        return 0;
    }
    reset(Ack::write);
    reset(Ack::read);
    *count = static_cast<uint16_t>(frame.size());
    pending_reply_ = reply_to(frame);
    if (!faults_.write_ack) signal(Ack::write);
    if (pending_reply_ && !faults_.read_ack) signal(Ack::read);
    return 1;
}

std::optional<Bytes> ScriptedCamera::reply_to(std::span<const uint8_t> frame) {
    std::optional<Bytes> reply;
    if (!queued_replies_.empty()) {
        reply = std::move(queued_replies_.front());
        queued_replies_.pop_front();
    } else {
        reply = frame_handler_ ? frame_handler_(frame) : firmware_.answer(frame);
    }
    return reply;
}

uint16_t ScriptedCamera::read(std::span<uint8_t> buffer, uint16_t* count) {
    const bool fail = driver_.count_call();
    std::lock_guard lock(mutex_);
    ++reads_;
    if (fail || faults_.read) {
        *count = faults_.read_count;
        return 0;
    }
    const Bytes reply = std::exchange(pending_reply_, std::nullopt).value_or(Bytes());
    const size_t size = std::min(reply.size(), buffer.size());
    std::copy_n(reply.begin(), size, buffer.begin());
    *count = static_cast<uint16_t>(size);
    reset(Ack::read);
    return 1;
}

uint16_t ScriptedCamera::ioctl(uint32_t code, dv_ioctl_args& args) {
    const bool fail = driver_.count_call();
    std::lock_guard lock(mutex_);
    const auto* in = static_cast<const uint8_t*>(args.lpInBuffer);
    const Ioctl seen{code, in ? Bytes(in, in + args.nInBufferSize) : Bytes(), args.lpOutBuffer,
                     args.nOutBufferSize};
    ioctls_.push_back(seen);
    if (fail || refused_.count(code) != 0) return 0;
    Bytes out;
    auto handler = handlers_.find(code);
    if (!(handler != handlers_.end() ? handler->second(seen, out) : perform(seen, out))) return 0;
    const size_t size = std::min<size_t>(out.size(), args.nOutBufferSize);
    if (size != 0) std::memcpy(args.lpOutBuffer, out.data(), size);
    if (args.lpBytesReturned) *args.lpBytesReturned = static_cast<uint32_t>(size);
    return 1;
}

bool ScriptedCamera::perform(const Ioctl& ioctl, Bytes& out) {
    switch (ioctl.code) {
        case DV_CAM_OPEN:
            map_events(ioctl.in);
            out = Record(open_status_);
            break;
        case DV_CAM_CLOSE: events_.clear(); break;
        case DV_GET_IMAGE_DATA_STATUS: out = Record(status_); break;
        case DV_SET_IMAGE_DATA_IDLE:
        case DV_STOP_DATA_TRANSFER:
            out = Bytes(2);
            signal(Ack::abort);
            break;
        case DV_CLEANUP_IMAGE_DATA_IDLE: out = Bytes(2); break;
        case DV_EVENT_NOTIFICATION_FLUSH: return flush();
        case DV_GET_RETRIES: out = Record(retries_); break;
        case DV_SET_RETRIES: retries_ = ValueOf<uint16_t>(ioctl.in); break;
        case DV_GET_TIMEOUT: out = Record(timeout_); break;
        case DV_SET_TIMEOUT: timeout_ = ValueOf<uint16_t>(ioctl.in); break;
        case DV_GET_BRIDGE_CAPS_SIZE:
            out = Record(static_cast<uint32_t>(bridge_caps_.size()));
            return !bridge_caps_.empty();
        case DV_GET_BRIDGE_CAPS: out = bridge_caps_; return !bridge_caps_.empty();
        case DV_GET_VER:
        case DV_GET_IRQCOUNT:
        case DV_GET_INFO_LENGTH:
        case DV_GET_INFO_DUMP:
        case DV_GET_CURRENT_TIMESTAMP:
            // Zeros unless the test has an answer.
            out = Bytes(ioctl.out_size);
            break;
    }
    return true;
}

void ScriptedCamera::map_events(const Bytes& record) {
    const auto handles = ValueOf<dv_open_record>(record);
    open_record_ = handles;
    events_.clear();
    const std::pair<Ack, int64_t> acks[] = {{Ack::write, handles.write_ack},
                                            {Ack::read, handles.read_ack},
                                            {Ack::bof, handles.bof},
                                            {Ack::eof, handles.eof},
                                            {Ack::abort, handles.abort_ack}};
    for (const auto& [ack, handle] : acks) events_[ack] = std::make_unique<AckEvent>(handle);
}

// In kernel mode the driver gives back one request; a module signals the event in the record.
bool ScriptedCamera::flush() {
    if (notifications_) {
        notifications_->flush_one();
        return true;
    }
    return record_.flush_ack && AckEvent(record_.flush_ack->handle).set();
}

ScriptedDriver::ScriptedDriver() = default;
ScriptedDriver::~ScriptedDriver() = default;

ScriptedCamera& ScriptedDriver::add_camera(const std::string& name) {
    cameras_.push_back(std::make_unique<ScriptedCamera>(*this, name));
    return *cameras_.back();
}

void ScriptedDriver::publish() {
    module_.driver = this;
    module_.init = [](void* driver, orvex_ddi* ddi) {
        return static_cast<ScriptedDriver*>(driver)->init(ddi);
    };
    module_.uninit = [](void* driver, orvex_ddi* ddi) {
        return static_cast<ScriptedDriver*>(driver)->uninit(ddi);
    };
    module_directory_ = std::make_unique<TempDir>();
    module_directory_->link_module("scripted_ddi", "orvexDDI");
    environment_.push_back(std::make_unique<Environment>(
        ScriptedModule::variable, std::to_string(reinterpret_cast<uintptr_t>(&module_))));
    environment_.push_back(
        std::make_unique<Environment>("ORVEX_MODULE_PATH", module_directory_->path().string()));
}

uint32_t ScriptedDriver::init(orvex_ddi* ddi) {
    ddi->camCount = static_cast<int16_t>(cameras_.size());
    const size_t slots = std::min<size_t>(cameras_.size(), ORVEX_DDI_MAX_DEVICES);
    for (size_t i = 0; i < slots; ++i) {
        cameras_[i]->set_state(DEVICE_CLOSED);
        ddi->devices[i] = cameras_[i]->device();
    }
    return init_result_;
}

uint32_t ScriptedDriver::uninit(orvex_ddi*) {
    ++uninits_;
    return 1;
}

ScriptedDriver& ScriptedDriver::init_result(uint32_t result) {
    init_result_ = result;
    return *this;
}

void ScriptedDriver::fail_call(unsigned n) {
    std::lock_guard lock(mutex_);
    calls_ = 0;
    failing_call_ = n;
}

bool ScriptedDriver::fault_happened() const {
    std::lock_guard lock(mutex_);
    return failing_call_ != 0 && calls_ >= failing_call_;
}

bool ScriptedDriver::count_call() {
    std::lock_guard lock(mutex_);
    return ++calls_ == failing_call_;
}

}  // namespace support
