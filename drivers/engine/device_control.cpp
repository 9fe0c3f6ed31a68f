// The control operations of a device.

#include <algorithm>

#include "engine/device.h"
#include "engine/ioctl_records.h"

namespace engine {

bool Device::Control(uint32_t code, const dv_ioctl_args& args) {
    *args.lpBytesReturned = 0;
    if (!open_ || !present_) return false;
    switch (code) {
        case DV_CAM_OPEN: return OpenEvents(args);
        case DV_CAM_CLOSE: return true;
        case DV_RESET_INTERFACE: {
            const std::lock_guard hold(exchange_);
            sensor_->Reset();
            transfer_.Release();
            port_.Reset();
            return true;
        }
        case DV_CAM_PREP_TRANSFER: return true;
        case DV_SEND_IMAGE_PARMS: {
            dv_image_parameters parameters{};
            return TakeInput(args, parameters) && transfer_.Announce(parameters);
        }
        case DV_FIX_TABLE: {
            dv_image_parameters parameters{};
            return TakeInput(args, parameters) && transfer_.FixTable(parameters);
        }
        case DV_SET_IMAGE_DATA_ACTIVE:
        case DV_SET_IMAGE_DATA_ACTIVE_LARGE_BUF:
        case DV_ADD_TO_TABLE: return TakeBuffer(code, args);
        case DV_RECEIVE_IMAGE_DATA: return ReceiveImageData(args);
        case DV_SET_IMAGE_DATA_IDLE:
        case DV_STOP_DATA_TRANSFER: return StopTransfer(args);
        case DV_CLEANUP_IMAGE_DATA_IDLE: return GiveOutput(args, uint16_t{0});
        case DV_EVENT_NOTIFICATION_FLUSH: return FlushNotifications();
        case DV_CLEAR_IRQS:
            begin_count_ = 0;
            end_count_ = 0;
            return true;
        default: return QueryDriver(code, args);
    }
}

bool Device::OpenEvents(const dv_ioctl_args& args) {
    dv_open_record record{};
    if (!TakeInput(args, record)) return false;
    events_.Open(record, record_.device);
    return GiveOutput(args, uint16_t{0});
}

bool Device::TakeBuffer(uint32_t code, const dv_ioctl_args& args) {
    if (code == DV_ADD_TO_TABLE) return transfer_.AddPiece(args.lpOutBuffer, args.nOutBufferSize);
    uint32_t total = 0;
    return TakeInput(args, total) && transfer_.Begin(args.lpOutBuffer, args.nOutBufferSize, total);
}

bool Device::ReceiveImageData(const dv_ioctl_args& args) {
    dv_receive_parameters parameters{};
    if (!TakeInput(args, parameters)) return false;
    const dv_image_parameters shape{.frame_bytes = parameters.frame_bytes,
                                    .total_bytes = parameters.total_bytes,
                                    .circular = parameters.circular,
                                    .reserved = 0};
    return args.nOutBufferSize == parameters.total_bytes && transfer_.Announce(shape) &&
           transfer_.Begin(args.lpOutBuffer, args.nOutBufferSize, parameters.total_bytes);
}

bool Device::StopTransfer(const dv_ioctl_args& args) {
    {
        const std::lock_guard hold(delivery_);
        transfer_.Release();
    }
    // Nothing about frames of this run may reach the host once it was told of the stop.
    channel_.DropFrames();
    events_.abort_ack.Set();
    return GiveOutput(args, uint16_t{0});
}

bool Device::FlushNotifications() {
    if (driver_.delivery == 1) {
        channel_.FlushOne();
        return true;
    }
    // A call into the library in progress on another thread ends first; there is no queue.
    const std::lock_guard hold(delivery_);
    events_.flush_ack.Set();
    return true;
}

bool Device::QueryDriver(uint32_t code, const dv_ioctl_args& args) {
    const Description& about = sensor_->About();
    const auto text_size = static_cast<uint16_t>(std::min<size_t>(about.info.size() + 1, 0xFFFF));
    uint16_t value = 0;
    switch (code) {
        case DV_GET_IMAGE_DATA_STATUS: return GiveOutput(args, transfer_.Status());
        case DV_GET_IRQCOUNT:
            return GiveOutput(args, dv_irq_counts{.bof = begin_count_, .eof = end_count_});
        case DV_GET_VER:
            return GiveOutput(args, dv_version_record{.version = about.driver_version,
                                                      .capabilities = about.driver_capabilities,
                                                      .reserved = 0});
        case DV_GET_CURRENT_TIMESTAMP: return GiveOutput(args, CurrentTimeStamp());
        case DV_GET_BRIDGE_CAPS_SIZE:
            return GiveOutput(args, static_cast<uint32_t>(about.bridge_caps.size()));
        case DV_GET_BRIDGE_CAPS: return GiveBlock(args, about.bridge_caps);
        case DV_GET_INFO_LENGTH: return GiveOutput(args, text_size);
        case DV_GET_INFO_DUMP:
            return GiveBlock(args,
                             {reinterpret_cast<const uint8_t*>(about.info.c_str()), text_size});
        case DV_GET_RETRIES: return GiveOutput(args, retries_.load());
        case DV_GET_TIMEOUT: return GiveOutput(args, timeout_ms_.load());
        case DV_SET_RETRIES:
            if (!TakeInput(args, value)) return false;
            retries_ = value;
            return true;
        case DV_SET_TIMEOUT:
            if (!TakeInput(args, value)) return false;
            timeout_ms_ = value;
            return true;
        default: return false;  // a control code of another driver
    }
}

}  // namespace engine
