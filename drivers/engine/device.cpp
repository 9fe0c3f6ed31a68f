#include "engine/device.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

#include "orvex/orvex_types.h"

#include "engine/ioctl_records.h"

namespace engine {
namespace {

// The library calls the driver type operation with no argument that could tell devices apart.
template <uint32_t type>
uint32_t DriverType() {
    return type;
}

constexpr std::array<uint32_t (*)(), 5> driver_types = {
    DriverType<DRIVER_TYPE_PCI>, DriverType<DRIVER_TYPE_USB>, DriverType<DRIVER_TYPE_PCIE>,
    DriverType<DRIVER_TYPE_1394>, DriverType<DRIVER_TYPE_SOFTWARE>};

// Zero-terminated; the record was zeroed.
template <size_t size>
void CopyText(char (&target)[size], const std::string& text) {
    std::memcpy(target, text.data(), std::min(text.size(), size - 1));
}

}  // namespace

Device::Device(std::unique_ptr<Sensor> sensor, const std::string& path)
    : sensor_(std::move(sensor)), port_(*sensor_) {
    const Description& about = sensor_->About();
    driver_.delivery = about.kernel_driver ? 1 : 0;
    driver_.driver_type = driver_types[std::min<size_t>(about.driver_type, 4)];
    record_.owner = this;
    orvex_device& device = record_.device;
    device.hcam = -1;
    device.driver = &driver_;
    device.state = DEVICE_CLOSED;
    CopyText(device.path, path);
    CopyText(device.name, about.name);
    device.open = [](orvex_device* which) -> uint16_t { return Of(which).Open(); };
    device.close = [](orvex_device* which) -> uint16_t { return Of(which).Close(); };
    device.read = [](orvex_device* which, void* buffer, uint16_t length,
                     uint16_t* count) -> uint16_t {
        return Of(which).Read(static_cast<uint8_t*>(buffer), length, *count);
    };
    device.write = [](orvex_device* which, const void* buffer, uint16_t length,
                      uint16_t* count) -> uint16_t {
        return Of(which).Write({static_cast<const uint8_t*>(buffer), length}, *count);
    };
    device.ioctl = [](orvex_device* which, uint32_t code, dv_ioctl_args* args) -> uint16_t {
        return Of(which).Control(code, *args);
    };
}

Device::~Device() {
    Close();
}

Device& Device::Of(orvex_device* device) {
    // The record is the first member of a standard-layout structure.
    return *reinterpret_cast<OwnedRecord*>(device)->owner;
}

bool Device::Open() {
    if (open_) return false;
    if (driver_.delivery == 1 && !channel_.Listen(record_.device.path)) return false;
    present_ = true;
    port_.Reset();
    if (!sensor_->Connect(*this)) {
        channel_.Close();
        return false;
    }
    open_ = true;
    return true;
}

bool Device::Close() {
    if (!open_) return true;
    open_ = false;
    sensor_->Disconnect();
    transfer_.Release();
    channel_.Close();
    return true;
}

bool Device::OpenFile(const dv_file_host& host, dv_file_driver& driver) {
    if (!channel_.Connect(host)) return false;
    driver = {&channel_,
              [](void* context, const dv_file_request* request) -> uint16_t {
                  // Nothing may be thrown through a C interface.
                  try {
                      return static_cast<NotificationChannel*>(context)->Submit(*request);
                  } catch (const std::bad_alloc&) {
                      return 0;
                  }
              },
              [](void* context) { static_cast<NotificationChannel*>(context)->Disconnect(); }};
    return true;
}

bool Device::Write(Bytes frame, uint16_t& count) {
    const std::lock_guard hold(exchange_);
    if (!open_ || !present_ || frame.data() == nullptr) return false;
    // The library waits for these and never takes them back: a new exchange does.
    events_.write_ack.Reset();
    events_.read_ack.Reset();
    count = static_cast<uint16_t>(frame.size());
    const MessagePort::Result result = port_.Take(frame);
    Disturbance* disturbance = sensor_->LinkDisturbance();
    // Also when the camera went away meanwhile: it had taken the message.
    if (!result.acknowledged) return true;
    if (disturbance == nullptr || !disturbance->LosesWriteAck()) events_.write_ack.Set();
    if (!result.has_reply) return true;
    if (disturbance != nullptr) disturbance->ChangesReply(port_.Reply());
    if (disturbance == nullptr || !disturbance->LosesReadAck()) events_.read_ack.Set();
    return true;
}

bool Device::Read(uint8_t* buffer, uint16_t length, uint16_t& count) {
    const std::lock_guard hold(exchange_);
    if (!open_ || buffer == nullptr || (!present_ && port_.Reply().empty())) return false;
    count = static_cast<uint16_t>(port_.Read(buffer, length));
    return true;
}

void Device::Exposing() {
    transfer_.Exposing();
}

void Device::FrameBegins(int64_t time_stamp) {
    const std::lock_guard hold(delivery_);
    if (!transfer_.Armed()) return;
    frame_begin_ = time_stamp;
    transfer_.Reading();
    begin_count_.fetch_add(1, std::memory_order_relaxed);
    events_.bof.Set();
    if (driver_.delivery != 1) return Invoke(OX_CALLBACK_BOF);
    if (!channel_.Wants(NOTIFICATION_BOF)) return;
    dv_notification_report report{};
    report.flags = NOTIFICATION_BOF;
    report.frame_number_bof = transfer_.Frames() + 1;
    report.time_stamp_bof = time_stamp;
    channel_.Report(report);
}

bool Device::FrameData(size_t bytes, FrameWriter writer) {
    return transfer_.Store(bytes, writer);
}

void Device::FrameEnds(int64_t time_stamp) {
    const std::lock_guard hold(delivery_);
    // The host may have taken its buffer back since the pixels were written.
    if (!transfer_.Armed()) return;
    const uint32_t number = transfer_.CountFrame();
    end_count_.fetch_add(1, std::memory_order_relaxed);
    if (driver_.delivery == 1) {
        dv_notification_report report{};
        report.flags = NOTIFICATION_EOF;
        report.frame_number_eof = number;
        report.frame_number_bof = number;
        report.time_stamp_eof = time_stamp;
        report.readout_time = static_cast<uint32_t>(time_stamp - frame_begin_);
        report.time_stamp_bof = frame_begin_;
        channel_.Report(report);
    } else if (const auto* to = Library()) {
        to->set_latest_frame_info(&record_.device, number, frame_begin_, time_stamp);
        Invoke(OX_CALLBACK_EOF);
    }
    events_.eof.Set();
}

void Device::RunEnds() {
    transfer_.Finish();
}

void Device::RunStopped() {
    channel_.ForgetFrames();
}

void Device::FrameFails() {
    transfer_.Fail();
}

void Device::Unplugged() {
    present_ = false;
    transfer_.Fail();
    Tell(NOTIFICATION_DEVICE_REMOVAL, OX_CALLBACK_CAM_REMOVED);
}

void Device::Suspended() {
    resumes_ = true;
    // Without notification requests there is no event for it; the state word alone tells.
    if (driver_.delivery != 1) std::atomic_ref(record_.device.state) = uint32_t{DEVICE_SUSPENDED};
    if (driver_.delivery == 1) Tell(NOTIFICATION_SYS_SUSPEND, 0);
}

void Device::BusReset() {
    const bool resumed = resumes_.exchange(false);
    if (driver_.delivery != 1 && resumed) {
        std::atomic_ref(record_.device.state) = uint32_t{DEVICE_RESUMED};
        Deliver(OX_CALLBACK_CAM_RESUMED);
    }
    Tell(NOTIFICATION_BUS_RESET, OX_CALLBACK_CHECK_CAMS);
}

void Device::DriverDied() {
    present_ = false;
    channel_.Die();
}

void Device::RequestsCancelled() {
    channel_.CancelPending();
}

void Device::Tell(uint32_t flags, uint32_t callback_event) {
    if (driver_.delivery != 1) {
        if (callback_event == OX_CALLBACK_CAM_REMOVED)
            std::atomic_ref(record_.device.state) = uint32_t{DEVICE_REMOVED};
        return Deliver(callback_event);
    }
    dv_notification_report report{};
    report.flags = flags;
    channel_.Report(report);
}

void Device::Deliver(uint32_t callback_event) {
    const std::lock_guard hold(delivery_);
    Invoke(callback_event);
}

void Device::Invoke(uint32_t callback_event) {
    if (const auto* to = Library()) to->invoke(&record_.device, callback_event);
}

const orvex_delivery* Device::Library() const {
    return static_cast<const orvex_delivery*>(record_.device.callbacks);
}

}  // namespace engine
