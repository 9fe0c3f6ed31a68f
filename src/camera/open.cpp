#include "camera/open.h"

#include "orvex/orvex_errors.h"
#include "orvex/orvex_protocol.h"

#include "camera/extended_capabilities.h"
#include "camera/reads.h"
#include "camera/upcalls.h"
#include "device/command_io.h"
#include "device/device_table.h"
#include "log/enum_texts.h"
#include "messages/host_command_message.h"
#include "state/call.h"
#include "state/camera_rows.h"

namespace {

bv::Word<void*> script_hook{nullptr};

// Pixel time that a camera gets before its own is known, ns.
constexpr uns16 initial_pixel_time = 1000;

void FillRow(int16 hcam, int16 o_mode) {
    cam_info_type& info = bv::InfoOf(hcam);
    info.o_mode = o_mode;
    info.open = uns16{1};
    info.script_valid = 0;
    info.reads_done = 0;
    info.rws_done = 0;
    info.script_hook = script_hook;
    info.buf_mode = uns16{CIRC_NONE};
    info.irq_mask = NO_FRAME_IRQS;
    info.exp_mode = TIMED_MODE;
    info.exp_started = uns16{0};
    // Firmware may have been replaced since the camera was open last.
    bv::ConfigOf(hcam).pp_entries = pp_entries_not_counted;
    bv::ReadsOf(hcam).cam_systems_info[0] = '\0';
}

// What a camera that is opened for use goes through once its row is filled.
boolean16 InitCamera(int16 hcam) {
    if (!bv_cam_post_open_init(hcam)) return 0;
    if (!bv_cam_do_reads(hcam)) {
        bv::ApiGlobal::SetErrorCode(EXT_OPEN_EXCLUSIVE, C0_ERR_OPEN_CAM);
        return 0;
    }
    bv_pop_open_camera(hcam);
    dv_send_transfer_speed_to_interface(hcam);
    // A camera whose defaults can't be applied is usable all the same.
    {
        const bv::ErrorHold hold;
        if (!bv_cam_reset_settings(hcam)) bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
    }
    if (!bv_cam_cache_update_all(hcam)) return 0;
    bv_cam_pp_cache_all_entries(hcam);
    return 1;
}

}  // namespace

boolean16 bv_cam_open(const char* camera_name, int16* hcam, int16 o_mode) {
    bv::Call call("bv_cam_open", bv::arg("camera_name", camera_name),
                  bv::enumerated("o_mode", o_mode, bv_text_open_mode));
    if (!orvex_initialized.load(std::memory_order_relaxed)) {
        return call.fail(C2_ORVEX_NOT_INITED, "ORVEX is not initialized");
    }
    if (o_mode != EXT_OPEN_EXCLUSIVE && o_mode != EXT_OPEN_FW_UPDATE) {
        return call.fail(C0_OPEN_MODE_UNAVAIL, "Unknown open mode");
    }
    // A hook set before the open is dropped here; only one that is set while the device opens
    // reaches the camera.
    script_hook = nullptr;

    int16 handle = -1;
    std::unique_lock<platform::ErrorCheckingMutex> camera;
    if (!dv_cam_open(camera_name, &handle, &camera)) return call.failed();
    cam_info_type& info = bv::InfoOf(handle);
    if (!info.bridge_caps->Read(handle)) {
        dv_close_keeping_error(handle, dv_cam_close);
        call.error("Failed to read bridge capabilities");
        return call.failed();
    }
    FillRow(handle, o_mode);
    if (o_mode == EXT_OPEN_EXCLUSIVE && !InitCamera(handle)) {
        // Nobody has the handle, so a device left open could not be closed any more.
        if (info.open) dv_close_keeping_error(handle, bv_cam_close);
        return call.failed();
    }
    *hcam = handle;
    return call.ok(bv::arg("*hcam", handle));
}

boolean16 bv_cam_post_open_init(int16 hcam) {
    bv::Call call("bv_cam_post_open_init", bv::arg("hcam", hcam));
    if (!dv_reset_interface(hcam)) return call.failed();

    // Any camera can say who its first board is.
    uns16 subsys_id = 0;
    uns8 subsys_minor_version = 0;
    if (!bv_subsys_get_id(hcam, 0, &subsys_id, &subsys_minor_version)) {
        dv_close_keeping_error(hcam, bv_cam_close);
        return call.failed();
    }
    bv::HostCommandMessage message(hcam);
    message.AddWrite(SET_TIME_PER_PIX, initial_pixel_time);
    message.AddReadLength();
    return call.result(message.Execute());
}

boolean16 bv_cam_close(int16 hcam) {
    bv::Call call("bv_cam_close", bv::arg("hcam", hcam));
    const bv::ErrorHold hold;
    bv_exp_abort(hcam, CCS_NO_CHANGE);
    bv_cam_release_extended_capabilities(hcam);
    // Ahead of the device, which can be opened again as soon as it is closed.
    cam_info_type& info = bv::InfoOf(hcam);
    info.open = uns16{0};
    info.script_valid = 0;
    info.reads_done = 0;
    info.rws_done = 0;
    info.buf_mode = uns16{CIRC_NONE};
    info.exp_started = uns16{0};
    dv_cam_close(hcam);
    bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
    return call.ok();
}

boolean16 bv_script_set_hook(void* pfn) {
    bv::Call call("bv_script_set_hook", bv::arg("pfn", pfn));
    script_hook = pfn;
    return call.ok();
}
