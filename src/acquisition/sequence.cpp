#include "acquisition/sequence.h"

#include "orvex/orvex_errors.h"

#include "acquisition/abort.h"
#include "acquisition/exposure_range.h"
#include "acquisition/setup.h"
#include "acquisition/upcalls.h"
#include "device/image_transfer.h"
#include "log/enum_texts.h"
#include "messages/host_command_message.h"
#include "state/call.h"
#include "state/camera_rows.h"

using bv::arg;
using bv::Call;

boolean16 bv_exp_setup_seq(int16 hcam, uns16 exp_total, uns16 rgn_total, const rgn_type* rgn_array,
                           int16 exp_mode, uns32 exposure_time, uns32* exp_bytes) {
    Call call("bv_exp_setup_seq", arg("hcam", hcam), arg("exp_total", exp_total),
              arg("rgn_total", rgn_total), arg("rgn_array", rgn_array),
              bv::enumerated("exp_mode", exp_mode, bv_text_exp_mode_combined),
              arg("exposure_time", exposure_time), arg("exp_bytes", exp_bytes));
    if (!bv_exp_abort(hcam, CCS_HALT)) return call.failed();
    if (!pg_decode_info) return call.fail(C3_NOT_INITIALIZED, "Null decode_desc structure");
    if (exp_total == 0) return call.fail(C2_NEED_POSITIVE_VAL, "Given zero size buffer");

    cam_info_type& info = bv::InfoOf(hcam);
    decode_info_type& decode = bv::DecodeOf(hcam);
    acq_cache_type& last = bv::CacheOf(hcam);
    info.buf_mode = CIRC_NONE;
    const bv::SetupRequest request{.hcam = hcam,
                                   .exp_total = exp_total,
                                   .rgn_total = rgn_total,
                                   .rgn_array = rgn_array,
                                   .exp_mode = exp_mode,
                                   .exposure_time = exposure_time,
                                   .buf_mode = CIRC_NONE};
    if (last.exp_total != exp_total || last.rgn_total != rgn_total ||
        !bv::MatchesLastSetup(request)) {
        info.script_valid = 0;
    } else if (info.script_valid) {
        *exp_bytes = decode.seq_bytes;
        return call.ok(arg("*exp_bytes", *exp_bytes));
    }

    bv::ScriptOwner script;
    if (!bv::GenerateProgram(request, script, exp_bytes)) return call.failed();
    // The generator made sure that the product fits.
    *exp_bytes *= exp_total;
    decode.frame_count = exp_total;
    decode.rgn_total = rgn_total;
    decode.frame_bytes = *exp_bytes / exp_total;
    decode.seq_bytes = *exp_bytes;
    if (!bv::LoadProgram(request, script)) return call.failed();
    last.exp_total = exp_total;
    last.rgn_total = rgn_total;
    bv::RememberSetup(request);
    return call.ok(arg("*exp_bytes", *exp_bytes));
}

boolean16 bv_exp_start_seq(int16 hcam, void* pixel_stream) {
    Call call("bv_exp_start_seq", arg("hcam", hcam), arg("pixel_stream", pixel_stream));
    cam_info_type& info = bv::InfoOf(hcam);
    bv::HostCommandMessage message(hcam);
    if (info.exp_mode == VARIABLE_TIMED_MODE) {
        const exp_range_type& range = bv::CurrentExposureRange(hcam);
        if (!bv::InRange(range, info.var_exp_time)) {
            return call.fail(C0_EXPOSURE_OUT_OF_RANGE, "Exposure time (%u) out of range (%u - %u)",
                             unsigned{info.var_exp_time}, range.min, range.max);
        }
        message.AddWrite(SET_EXP_TIME, info.var_exp_time);
    }
    message.AddCommand(EXECUTE_CCL);
    message.AddReadLength();
    if (!info.script_valid) return call.fail(C3_INVALID_SCRIPT, "Script not valid");
    info.exp_started = 0;
    if (!pg_decode_info) return call.fail(C3_NOT_INITIALIZED, "Null decode_desc structure");
    const decode_info_type& decode = bv::DecodeOf(hcam);
    if (!bv_exp_set_bytes(hcam, decode.frame_count, decode.seq_bytes, pixel_stream)) {
        return call.failed();
    }
    if (!message.Execute()) {
        bv_exp_abort(hcam, CCS_HALT_CLOSE_SHTR);
        return call.failed();
    }
    info.exp_started = 1;
    return call.ok();
}

namespace {

// Runs the post-processing plug-in over every frame of a sequence, in place.
void ProcessSequence(int16 hcam, void* pixel_stream) {
    const decode_info_type& decode = bv::DecodeOf(hcam);
    const uns64 frame_bytes = decode.frame_bytes;
    if (frame_bytes == 0) return;
    for (uns64 offset = 0; offset < decode.seq_bytes; offset += frame_bytes) {
        uns8* frame = static_cast<uns8*>(pixel_stream) + offset;
        bv_pop_process(hcam, frame, frame, static_cast<uns32>(offset), decode.ser_pixels,
                       decode.par_pixels, 1);
    }
}

}  // namespace

boolean16 bv_exp_check_status(int16 hcam, int16* status, uns32* byte_cnt, uns32* frame_cnt) {
    Call call("bv_exp_check_status", arg("hcam", hcam), arg("status", status),
              arg("byte_cnt", byte_cnt), arg("frame_cnt", frame_cnt));
    *byte_cnt = 0;
    if (!pg_decode_info) return call.fail(C3_NOT_INITIALIZED, "Null decode_desc structure");
    void* pixel_stream = bv::DecodeOf(hcam).pixel_stream;
    if (!pixel_stream) return call.fail(C0_NO_IMG_DATA, "Buffer is null");
    FRAME_INFO frame_info{};
    if (!dv_driver_get_image_data_status(hcam, byte_cnt, &frame_info, status)) {
        return call.failed();
    }
    *frame_cnt = static_cast<uns32>(frame_info.FrameNr);
    // Without a callback this is where a finished sequence is processed.
    if (*status == READOUT_COMPLETE && bv::InfoOf(hcam).buf_mode == CIRC_NONE &&
        !bv_pop_check_callback(hcam) && bv_pop_ismoduleavailable(hcam)) {
        bv_pop_clear_alt_buffer(hcam, pixel_stream);
        if (bv_pop_get_module_enabled_status(hcam)) ProcessSequence(hcam, pixel_stream);
    }
    return call.ok(bv::enumerated("*status", *status, bv_text_read_status),
                   arg("*byte_cnt", *byte_cnt), arg("*frame_cnt", *frame_cnt));
}

boolean16 bv_exp_finish_seq(int16 hcam, void* pixel_stream, int16 hbuf) {
    Call call("bv_exp_finish_seq", arg("hcam", hcam), arg("pixel_stream", pixel_stream),
              arg("hbuf", hbuf));
    if (!pg_decode_info) return call.fail(C3_NOT_INITIALIZED, "Null decode_desc structure");
    bv_exp_abort(hcam, CCS_NO_CHANGE);
    bv_pop_clear_alt_buffer(hcam, pixel_stream);
    if (bv::InfoOf(hcam).buf_mode != CIRC_NONE) return call.ok();
    if (bv::DecodeOf(hcam).frame_bytes == 0) {
        return call.fail(C3_ILLEGAL_BUFFER_SIZE, "The data size is zero");
    }
    if (bv_pop_check_callback(hcam) && bv_pop_ismoduleavailable(hcam) &&
        bv_pop_get_module_enabled_status(hcam)) {
        ProcessSequence(hcam, pixel_stream);
    }
    return call.ok();
}

boolean16 bv_exp_get_time_seq(int16 hcam, uns16* exp_time) {
    Call call("bv_exp_get_time_seq", arg("hcam", hcam), arg("exp_time", exp_time));
    bv::SingleReadHostCommandMessage message(hcam, EXP_TIME);
    if (!message.Execute()) return call.failed();
    *exp_time = message.Reply<uns16>(EXP_TIME);
    return call.ok(arg("*exp_time", *exp_time));
}

boolean16 bv_exp_set_time_seq(int16 hcam, uns16 exp_time) {
    Call call("bv_exp_set_time_seq", arg("hcam", hcam), arg("exp_time", exp_time));
    bv::InfoOf(hcam).var_exp_time = exp_time;
    return call.ok();
}

boolean16 bv_exp_enable_ints(int16 hcam, int16 mode) {
    Call call("bv_exp_enable_ints", arg("hcam", hcam),
              bv::enumerated("mode", mode, bv_text_frame_irqs));
    if (mode >= NO_FRAME_IRQS && mode <= BEGIN_END_FRAME_IRQS) bv::InfoOf(hcam).irq_mask = mode;
    return call.ok();
}

boolean16 bv_exp_wait_start_xfer(int16 hcam, uns32 tlimit) {
    Call call("bv_exp_wait_start_xfer", arg("hcam", hcam), arg("tlimit", tlimit));
    return call.result(dv_exp_wait_start_xfer(hcam, tlimit));
}

boolean16 bv_exp_wait_end_xfer(int16 hcam, uns32 tlimit) {
    Call call("bv_exp_wait_end_xfer", arg("hcam", hcam), arg("tlimit", tlimit));
    return call.result(dv_exp_wait_end_xfer(hcam, tlimit));
}
