#include "acquisition/continuous.h"

#include "orvex/orvex_errors.h"

#include "acquisition/abort.h"
#include "acquisition/sequence.h"
#include "acquisition/setup.h"
#include "acquisition/upcalls.h"
#include "device/image_transfer.h"
#include "log/enum_texts.h"
#include "messages/host_command_message.h"
#include "state/call.h"
#include "state/camera_rows.h"

using bv::arg;
using bv::Call;

boolean16 bv_exp_setup_cont(int16 hcam, uns16 rgn_total, const rgn_type* rgn_array, int16 exp_mode,
                            uns32 exposure_time, uns32* exp_bytes, int16 buf_mode) {
    Call call("bv_exp_setup_cont", arg("hcam", hcam), arg("rgn_total", rgn_total),
              arg("rgn_array", rgn_array),
              bv::enumerated("exp_mode", exp_mode, bv_text_exp_mode_combined),
              arg("exposure_time", exposure_time), arg("exp_bytes", exp_bytes),
              bv::enumerated("buf_mode", buf_mode, bv_text_circ));
    if (!bv_exp_abort(hcam, CCS_HALT)) return call.failed();
    if (!pg_decode_info) return call.fail(C3_NOT_INITIALIZED, "Null decode_desc structure");

    cam_info_type& info = bv::InfoOf(hcam);
    decode_info_type& decode = bv::DecodeOf(hcam);
    info.buf_mode = static_cast<uns16>(buf_mode);
    const bv::SetupRequest request{.hcam = hcam,
                                   .exp_total = 1,
                                   .rgn_total = rgn_total,
                                   .rgn_array = rgn_array,
                                   .exp_mode = exp_mode,
                                   .exposure_time = exposure_time,
                                   .buf_mode = buf_mode};
    if (!bv::MatchesLastSetup(request)) {
        info.script_valid = 0;
    } else if (info.script_valid) {
        *exp_bytes = decode.frame_bytes;
        return call.ok(arg("*exp_bytes", *exp_bytes));
    }

    bv::ScriptOwner script;
    if (!bv::GenerateProgram(request, script, exp_bytes)) return call.failed();
    decode.frame_bytes = *exp_bytes;
    if (!bv::LoadProgram(request, script)) return call.failed();
    // The next sequence is not to take a program without a ring for its own.
    if (buf_mode == CIRC_NONE) {
        bv::ForgetSetup(hcam);
    } else {
        bv::RememberSetup(request);
    }
    return call.ok(arg("*exp_bytes", *exp_bytes));
}

boolean16 bv_exp_start_cont(int16 hcam, void* pixel_stream, uns32 size) {
    Call call("bv_exp_start_cont", arg("hcam", hcam), arg("pixel_stream", pixel_stream),
              arg("size", size));
    cam_info_type& info = bv::InfoOf(hcam);
    if (info.buf_mode == CIRC_NONE) {
        return call.fail(C3_CIRC_NOT_ENABLED, "Continuous mode not enabled");
    }
    if (!pg_decode_info) return call.fail(C3_NOT_INITIALIZED, "Null decode_desc structure");
    if (!info.script_valid) return call.fail(C3_INVALID_SCRIPT, "Script not valid");
    const uns32 frame_bytes = bv::DecodeOf(hcam).frame_bytes;
    if (size != 0 && frame_bytes == 0) {
        return call.fail(C3_ILLEGAL_BUFFER_SIZE, "The data size is zero");
    }
    if (size == 0 || size % frame_bytes != 0) {
        return call.fail(C3_ILLEGAL_BUFFER_SIZE, "Illegal buffer size");
    }
    // The message of the start would end a run that goes on, and with it this one's transfer.
    if (info.exp_started && !bv_exp_abort(hcam, CCS_HALT)) return call.failed();
    if (!bv_exp_set_bytes(hcam, size / frame_bytes, size, pixel_stream)) return call.failed();
    const bool has_plugin = bv_pop_ismoduleavailable(hcam) != 0;
    // Without a module this returns at once; the trace of every start shows the call.
    if (!has_plugin) bv_pop_periodic_parameters(hcam);
    if (has_plugin) {
        bv_pop_stop_kelmo_processing(hcam);
        if (!bv_pop_start_kelmo_processing(hcam)) return call.fail_silently(C0_INVALID_HANDLE);
    }
    bv::HostCommandMessage message(hcam);
    message.AddCommand(EXECUTE_CCL);
    message.AddReadLength();
    if (!message.Execute()) {
        bv_exp_abort(hcam, CCS_HALT_CLOSE_SHTR);
        return call.failed();
    }
    info.exp_started = 1;
    return call.ok();
}

boolean16 bv_exp_check_cont_status(int16 hcam, int16* status, uns32* byte_cnt, uns32* buffer_cnt,
                                   FRAME_INFO* pFrameInfo) {
    Call call("bv_exp_check_cont_status", arg("hcam", hcam), arg("status", status),
              arg("byte_cnt", byte_cnt), arg("buffer_cnt", buffer_cnt),
              arg("pFrameInfo", pFrameInfo));
    *byte_cnt = 0;
    *buffer_cnt = 0;
    if (!pg_decode_info) return call.fail(C3_NOT_INITIALIZED, "Null decode_desc structure");
    const decode_info_type& decode = bv::DecodeOf(hcam);
    const uns32 frame_count = decode.frame_count;
    if (frame_count == 0) return call.fail(C3_ILLEGAL_BUFFER_SIZE, "Zero frames in buffer");
    if (!dv_driver_get_image_data_status(hcam, byte_cnt, pFrameInfo, status)) {
        return call.failed();
    }
    const auto frame_nr = static_cast<uns32>(pFrameInfo->FrameNr);
    if (frame_nr > decode.oldest_frame) *status = FRAME_AVAILABLE;
    *buffer_cnt = frame_nr / frame_count;
    *byte_cnt = frame_nr % frame_count * decode.frame_bytes;
    return call.ok(bv::enumerated("*status", *status, bv_text_read_status),
                   arg("*byte_cnt", *byte_cnt), arg("*buffer_cnt", *buffer_cnt),
                   arg("pFrameInfo->FrameNr", pFrameInfo->FrameNr));
}
