#include "device/image_transfer.h"

#include "device/command_io.h"
#include "device/ddi.h"
#include "device/device_table.h"
#include "device/upcalls.h"
#include "state/call.h"
#include "state/camera_tables.h"

using bv::ApiGlobal;
using bv::arg;
using bv::Call;

namespace {

constexpr uns32 abort_limit_ms = 500;

// Pieces in which a PCI driver can lock a buffer.
constexpr uns32 pci_whole_max = 0x4000000;
constexpr uns32 pci_first_piece = 0x3000000;
constexpr uns32 pci_middle_piece = 0x2000000;
constexpr uns16 pci_cap_fix_table = 1;
constexpr uns32 pci_fourth_word = 3;

// Shape of the camera's current run; nothing before the tables exist.
struct Run {
    uns32 frame_bytes = 0;
    uns32 frame_count = 0;
    bool circular = false;
};

Run current_run(int16 hcam) {
    if (!has_row(hcam)) return {};
    const decode_info_type& decode = pg_decode_info[row_of(hcam)];
    return {decode.frame_bytes, decode.frame_count,
            pg_cam_info[row_of(hcam)].buf_mode != CIRC_NONE};
}

dv_image_parameters image_parameters(int16 hcam, uns32 total_bytes, uns32 fourth_word) {
    const Run run = current_run(hcam);
    return {run.frame_bytes, total_bytes, run.circular ? 1u : 0u, fourth_word};
}

// Cut to an integer; drivers take the longest 32-bit time as no limit.
uns32 whole_milliseconds(flt64 time) {
    constexpr flt64 longest = 4294967295.0;
    if (!(time > 0)) return 0;
    return time >= longest ? 0xFFFFFFFF : static_cast<uns32>(time);
}

boolean16 send_record(int16 hcam, uns32 code, const dv_image_parameters& record) {
    return dv_ioctl(hcam, code, &record, sizeof record, nullptr, 0, nullptr, nullptr);
}

boolean16 add_pci_piece(int16 hcam, uns32 total_bytes, uns8* address, uns32 piece) {
    if (!dv_ioctl(hcam, DV_ADD_TO_TABLE, nullptr, 0, address, piece, nullptr, nullptr)) return 0;
    const dv_image_parameters record = image_parameters(hcam, total_bytes, pci_fourth_word);
    uns16 capabilities = 0;
    dv_driver_get_pci_cap(hcam, &capabilities);
    if (total_bytes < record.frame_bytes || !(capabilities & pci_cap_fix_table)) return 1;
    return send_record(hcam, DV_FIX_TABLE, record);
}

boolean16 set_image_data_active_pci(int16 hcam, uns32 total_bytes, uns8* address) {
    uns32 piece = total_bytes <= pci_whole_max ? total_bytes : pci_first_piece;
    uns32 remaining = total_bytes - piece;
    if (!dv_ioctl(hcam, DV_SET_IMAGE_DATA_ACTIVE, &total_bytes, sizeof total_bytes, address, piece,
                  nullptr, nullptr))
        return 0;
    while (remaining != 0) {
        address += piece;
        piece = remaining > pci_whole_max ? pci_middle_piece : remaining;
        remaining -= piece;
        if (!add_pci_piece(hcam, total_bytes, address, piece)) return 0;
    }
    return 1;
}

boolean16 hand_over(Call& call, orvex_device* device, int16 hcam, uns32 total_bytes, void* pixels) {
    const uns32 type = dv_device_driver_type(device);
    switch (type) {
        case DRIVER_TYPE_1394:
            return dv_driver_set_image_data_active_1394(hcam, total_bytes, pixels);
        case DRIVER_TYPE_USB:
        case DRIVER_TYPE_PCIE:
        case DRIVER_TYPE_SOFTWARE:
            return dv_driver_set_image_data_active_usb_pcie_sw(hcam, total_bytes, pixels);
        case DRIVER_TYPE_PCI:
            return set_image_data_active_pci(hcam, total_bytes, static_cast<uns8*>(pixels));
    }
    return call.fail(C7_DRIVER_COM_ERROR, "Unknown driver type %u", type);
}

void await_abort_ack(Call& call, orvex_device* device) {
    if (!dv_event_wait(device->abort_ack, abort_limit_ms))
        call.warn("Abort ack event not signalled within %u ms", abort_limit_ms);
}

int16 read_status(uns32 driver_status) {
    switch (driver_status) {
        case DRIVER_STATUS_NONE:
        case DRIVER_STATUS_EXPOSING: return EXPOSURE_IN_PROGRESS;
        case DRIVER_STATUS_INACTIVE: return READOUT_NOT_ACTIVE;
        case DRIVER_STATUS_READING: return READOUT_IN_PROGRESS;
        case DRIVER_STATUS_COMPLETE: return READOUT_COMPLETE;
    }
    return READOUT_FAILED;
}

struct TransferEvent {
    const char* function;
    const char* name;
    dv_event* orvex_device::* slot;
};

// An earlier signal is thrown away: what counts is the next one.
boolean16 wait_for_transfer(const TransferEvent& which, int16 hcam, uns32 tlimit) {
    Call call(which.function, arg("hcam", hcam), arg("tlimit", tlimit));
    orvex_device* device = dv_device(hcam);
    dv_event* event = device ? device->*which.slot : nullptr;
    if (!dv_event_reset(event))
        return call.fail(C7_DRIVER_COM_ERROR, "Failed to reset %s event", which.name);
    if (!dv_event_wait(event, tlimit))
        return call.fail(C7_DRIVER_COM_ERROR, "%s event not signalled within %u ms", which.name,
                         tlimit);
    return call.ok();
}

}  // namespace

boolean16 dv_driver_set_image_data_active(int16 hcam, uns32 AdwTotalBytes, void* ApPixArray) {
    Call call("dv_driver_set_image_data_active", arg("hcam", hcam),
              arg("AdwTotalBytes", AdwTotalBytes), arg("ApPixArray", ApPixArray));
    orvex_device* device = dv_device(hcam);
    if (!device) return call.fail(C0_INVALID_HANDLE, "Invalid camera handle or camera not open");
    const Run run = current_run(hcam);
    if (!orvex_callbacks_set_frame_count(device, run.frame_count, run.circular ? 0 : 1))
        return call.failed();
    if (!hand_over(call, device, hcam, AdwTotalBytes, ApPixArray)) return call.failed();
    // Only now, so that nothing of the run before is taken for a frame of this one.
    orvex_callbacks_reset(device);
    return call.ok();
}

boolean16 dv_driver_set_image_data_active_1394(int16 hcam, uns32 AdwTotalBytes, void* ApPixArray) {
    Call call("dv_driver_set_image_data_active_1394", arg("hcam", hcam),
              arg("AdwTotalBytes", AdwTotalBytes), arg("ApPixArray", ApPixArray));
    const dv_image_parameters record = image_parameters(hcam, AdwTotalBytes, 0);
    return call.result(send_record(hcam, DV_SEND_IMAGE_PARMS, record) &&
                       dv_ioctl(hcam, DV_SET_IMAGE_DATA_ACTIVE_LARGE_BUF, &AdwTotalBytes,
                                sizeof AdwTotalBytes, ApPixArray, AdwTotalBytes, nullptr,
                                nullptr) &&
                       send_record(hcam, DV_FIX_TABLE, record));
}

boolean16 dv_driver_set_image_data_active_usb_pcie_sw(int16 hcam, uns32 AdwTotalBytes,
                                                      void* ApPixArray) {
    Call call("dv_driver_set_image_data_active_usb_pcie_sw", arg("hcam", hcam),
              arg("AdwTotalBytes", AdwTotalBytes), arg("ApPixArray", ApPixArray));
    flt64 timeout = 0.0;
    bv_exp_get_img_timeout(hcam, &timeout);
    const Run run = current_run(hcam);
    const dv_receive_parameters record = {run.frame_bytes, AdwTotalBytes, run.circular ? 1u : 0u, 0,
                                          whole_milliseconds(timeout)};
    return call.result(dv_ioctl(hcam, DV_RECEIVE_IMAGE_DATA, &record, sizeof record, ApPixArray,
                                AdwTotalBytes, nullptr, nullptr));
}

boolean16 dv_driver_set_image_data_idle(int16 hcam) {
    Call call("dv_driver_set_image_data_idle", arg("hcam", hcam));
    orvex_device* device = dv_device(hcam);
    if (!device) return bv::OZ_OK;
    orvex_callbacks_begin_abort(device);
    uns16 status = 0;
    const boolean16 idle = dv_ioctl(hcam, DV_SET_IMAGE_DATA_IDLE, nullptr, 0, &status,
                                    sizeof status, nullptr, nullptr);
    if (!idle) call.warn("IOCTL DV_SET_IMAGE_DATA_IDLE failed, error ignored");
    await_abort_ack(call, device);
    if (!dv_ioctl(hcam, DV_CLEANUP_IMAGE_DATA_IDLE, nullptr, 0, &status, sizeof status, nullptr,
                  nullptr))
        call.warn("IOCTL DV_CLEANUP_IMAGE_DATA_IDLE failed, error ignored");
    orvex_callbacks_end_abort(device);
    call.ok();
    return idle;
}

boolean16 dv_driver_stop_data_transfer(int16 hcam, int32 max_wait_time_ms) {
    Call call("dv_driver_stop_data_transfer", arg("hcam", hcam),
              arg("max_wait_time_ms", max_wait_time_ms));
    orvex_device* device = dv_device(hcam);
    if (!device) return call.ok();
    orvex_callbacks_begin_abort(device);
    uns16 status = 0;
    const boolean16 stopped =
        dv_ioctl(hcam, DV_STOP_DATA_TRANSFER, &max_wait_time_ms, sizeof max_wait_time_ms, &status,
                 sizeof status, nullptr, nullptr);
    if (!stopped) call.warn("IOCTL DV_STOP_DATA_TRANSFER failed, error ignored");
    await_abort_ack(call, device);
    orvex_callbacks_end_abort(device);
    call.ok();
    return stopped;
}

boolean16 dv_driver_is_image_data_active(int16 hcam) {
    Call call("dv_driver_is_image_data_active", arg("hcam", hcam));
    uns32 byte_count = 0;
    const int16 status = driver_get_status(hcam, &byte_count);
    const bool active = status == EXPOSURE_IN_PROGRESS || status == READOUT_IN_PROGRESS;
    call.returns(arg("active", active));
    return active;
}

int16 driver_get_status(int16 hcam, uns32* pByteCnt) {
    Call call("driver_get_status", arg("hcam", hcam), arg("pByteCnt", pByteCnt));
    const bv::ErrorHold hold;
    int16 status = READOUT_NOT_ACTIVE;
    dv_status_record record{};
    *pByteCnt = 0;
    if (dv_ioctl(hcam, DV_GET_IMAGE_DATA_STATUS, nullptr, 0, &record, sizeof record, nullptr,
                 nullptr)) {
        *pByteCnt = record.bytes;
        status = read_status(record.status);
    } else {
        ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
    }
    call.returns(arg("status", status), arg("*pByteCnt", *pByteCnt));
    return status;
}

boolean16 dv_driver_get_image_data_status(int16 hcam, uns32* pByteCnt, FRAME_INFO* pFrameInfo,
                                          int16* pStatus) {
    Call call("dv_driver_get_image_data_status", arg("hcam", hcam), arg("pByteCnt", pByteCnt),
              arg("pFrameInfo", pFrameInfo), arg("pStatus", pStatus));
    const int16 status = driver_get_status(hcam, pByteCnt);
    if (status == READOUT_FAILED)
        return call.fail(C7_DRIVER_COM_ERROR, "Image data status is READOUT_FAILED");
    *pStatus = status;
    orvex_device* device = dv_device(hcam);
    if (!device || !orvex_callbacks_get_latest_frame_info(device, pFrameInfo)) return call.failed();
    return call.ok(arg("*pByteCnt", *pByteCnt), arg("*pStatus", *pStatus));
}

boolean16 dv_exp_wait_start_xfer(int16 hcam, uns32 tlimit) {
    return wait_for_transfer({"dv_exp_wait_start_xfer", "BOF", &orvex_device::bof}, hcam, tlimit);
}

boolean16 dv_exp_wait_end_xfer(int16 hcam, uns32 tlimit) {
    return wait_for_transfer({"dv_exp_wait_end_xfer", "EOF", &orvex_device::eof}, hcam, tlimit);
}
