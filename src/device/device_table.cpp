#include "device/device_table.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "device/command_io.h"
#include "device/ddi.h"
#include "device/upcalls.h"
#include "platform/system.h"
#include "state/api_locks.h"
#include "state/call.h"
#include "state/camera_tables.h"

using bv::ApiGlobal;
using bv::arg;
using bv::Call;

namespace {

constexpr int settle_rounds = 50;
constexpr uns32 settle_round_ms = 100;

struct EventRow {
    dv_event* orvex_device::* slot;
    const char* suffix;
    boolean16 auto_reset;
};

// The events of a device, in the order in which they are created and closed.
constexpr EventRow event_rows[] = {
    {&orvex_device::write_ack, "WriteAck", 0},
    {&orvex_device::read_ack, "ReadAck", 0},
    {&orvex_device::bof, "BOF", 1},
    {&orvex_device::eof, "EOF", 1},
    {&orvex_device::abort_ack, "AbortAck", 1},
    {&orvex_device::flush_ack, "FlushAck", 1},
};

// A module that left one out can't be used; nothing asks again once the camera is open.
bool has_all_operations(const orvex_device& device) {
    return device.open && device.close && device.read && device.write && device.ioctl;
}

}  // namespace

int16 GetHcam(const char* camName) {
    Call call("GetHcam", bv::quoted("camName", camName));
    int16 found = -1;
    if (camName) {
        std::string_view wanted(camName, strnlen(camName, ORVEX_DEVICE_NAME_LEN));
        // Those that a module counts later have no row in the library's tables.
        const int16 count = std::min(g_orvex_ddi.camCount, total_cams.get());
        for (int16 hcam = 0; hcam < count && found < 0; ++hcam) {
            const orvex_device* device = dv_device(hcam);
            if (device && dv_device_name(device) == wanted) found = hcam;
        }
    }
    call.returns(arg("hcam", found));
    return found;
}

boolean16 CamIsOpen(int16 hcam) {
    Call call("CamIsOpen", arg("hcam", hcam));
    orvex_device* device = dv_device(hcam);
    if (!device) return call.failed();
    for (int round = 0; round < settle_rounds && dv_device_state(device) == DEVICE_SUSPENDED;
         ++round)
        platform::SleepMs(settle_round_ms);

    // A close on another thread may be faster, and must not be undone.
    uns32 state = dv_device_state(device);
    if (state == DEVICE_SUSPENDED)
        state = dv_device_change_state(device, state, DEVICE_REMOVED);
    else if (state == DEVICE_RESUMED)
        state = dv_device_change_state(device, state, DEVICE_OPEN);
    // A removed camera can't be opened again before the application has closed it.
    return call.result(state == DEVICE_OPEN || state == DEVICE_REMOVED);
}

boolean16 create_camera_events(orvex_device* device) {
    Call call("create_camera_events", arg("device", device));
    const std::string camera_name(dv_device_name(device));
    for (const EventRow& row : event_rows) {
        const std::string name =
            bv::FormatText("%d_%s_%s", device->hcam, camera_name.c_str(), row.suffix);
        if (dv_event_create(&(device->*row.slot), 0, row.auto_reset, name.c_str())) {
            if (!dv_event_has_its_name(device->*row.slot))
                call.warn("The name of event %s is another user's, only the driver can reach it",
                          name.c_str());
            continue;
        }
        call.error("Failed to create event %s", name.c_str());
        close_camera_events(device);
        // The module is told to close although it was not opened yet: this is what frees a device
        // whose own open failed before.
        device->close(device);
        return call.fail_silently(C0_RESOURCE_ALLOCATION_FAILED);
    }
    return call.ok();
}

void close_camera_events(orvex_device* device) {
    for (const EventRow& row : event_rows) dv_event_close(&(device->*row.slot));
}

boolean16 driver_open_camera(orvex_device* device) {
    Call call("driver_open_camera", arg("device", device));
    dv_open_record record{};
    record.hcam = device->hcam;
    record.write_ack = dv_event_get_handle(device->write_ack);
    record.read_ack = dv_event_get_handle(device->read_ack);
    record.bof = dv_event_get_handle(device->bof);
    record.eof = dv_event_get_handle(device->eof);
    record.abort_ack = dv_event_get_handle(device->abort_ack);
    uns16 status = 0;
    if (!dv_ioctl(device->hcam, DV_CAM_OPEN, &record, sizeof record, &status, sizeof status,
                  nullptr, nullptr))
        return call.failed();
    if (status != 0)
        return call.fail(C7_DRIVER_COM_ERROR, "An error status %d reported by driver", status);
    dv_device_set_state(device, DEVICE_OPEN);
    return call.result(start_callbacks(device));
}

boolean16 start_callbacks(orvex_device* device) {
    Call call("start_callbacks", arg("device", device));
    return call.result(orvex_callbacks_create(device) && orvex_callbacks_start(device));
}

void stop_callbacks(orvex_device* device) {
    Call call("stop_callbacks", arg("device", device));
    orvex_callbacks_stop(device);
    orvex_callbacks_destroy(device);
    ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
    call.ok();
}

boolean16 dv_cam_open(const char* ApCamName, int16* pHcam,
                      std::unique_lock<platform::ErrorCheckingMutex>* camera) {
    Call call("dv_cam_open", bv::quoted("ApCamName", ApCamName), arg("pHcam", pHcam));
    if (!pHcam) return call.fail(C0_NULL_POINTER, "Output argument for camera handle is null");

    const int16 hcam = GetHcam(ApCamName);
    *pHcam = hcam;
    if (hcam < 0) return call.fail(C0_CAM_NAME_NOT_FOUND, "Camera name not found");
    if (CamIsOpen(hcam)) return call.fail(C0_CAM_ALREADY_OPEN, "Camera already open");
    // Threads with the handle of an earlier open wait until this one is done, or the close that is
    // about to end. An open camera is told of without its mutex: whoever holds that may wait for a
    // callback, and that for the caller of this.
    if (camera) *camera = std::unique_lock(api_camera_mutexes[row_of(hcam)]);

    orvex_device* device = dv_device(hcam);
    if (!has_all_operations(*device))
        return call.fail(C7_DRIVER_COM_ERROR, "Failed to open camera device");
    device->hcam = hcam;
    if (!create_camera_events(device)) return call.failed();
    // After a failed open the events stay: the next attempt trips over them and cleans up, so that
    // the one after it starts fresh.
    if (device->open(device) != 1)
        return call.fail(C7_DRIVER_COM_ERROR, "Failed to open camera device");
    if (!driver_open_camera(device)) {
        // The application has no handle by which it could close what is open.
        if (dv_device_state(device) != DEVICE_CLOSED) {
            dv_close_keeping_error(hcam, dv_cam_close);
        } else {  // a driver that refused DV_CAM_OPEN gets no DV_CAM_CLOSE
            close_camera_events(device);
            device->close(device);
        }
        return call.failed();
    }
    return call.ok(arg("*pHcam", *pHcam));
}

void dv_close_keeping_error(int16 hcam, boolean16 (*close)(int16)) {
    const bv::ErrorHold hold;
    const int16 code = ApiGlobal::GetErrorCode();
    close(hcam);
    ApiGlobal::SetErrorCode(EXT_OPEN_EXCLUSIVE, code);
}

boolean16 dv_cam_close(int16 hcam) {
    Call call("dv_cam_close", arg("hcam", hcam));
    orvex_device* device = dv_device(hcam);
    if (!device) return call.ok();

    const bv::ErrorHold hold;
    // No notification may run while the events go away.
    stop_callbacks(device);
    close_camera_events(device);
    if (!dv_ioctl(hcam, DV_CAM_CLOSE, nullptr, 0, nullptr, 0, nullptr, nullptr))
        call.warn("IOCTL DV_CAM_CLOSE failed, error ignored");
    if (device->close(device) != 1) call.warn("Failed to close device, error ignored");
    // The state comes last: it is what the next open waits for.
    device->hcam = -1;
    dv_device_set_state(device, DEVICE_CLOSED);
    ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
    return call.ok();
}
