#include "orvex/orvex_errors.h"

#include "acquisition/sequence.h"
#include "acquisition/upcalls.h"
#include "device/image_transfer.h"
#include "state/call.h"
#include "state/camera_rows.h"

using bv::arg;
using bv::Call;

boolean16 bv_exp_set_bytes(int16 hcam, uns32 frame_count, uns32 seq_bytes, void* pixel_stream) {
    Call call("bv_exp_set_bytes", arg("hcam", hcam), arg("frame_count", frame_count),
              arg("seq_bytes", seq_bytes), arg("pixel_stream", pixel_stream));
    if (!pg_decode_info) return call.fail(C3_NOT_INITIALIZED, "Null decode_desc structure");
    decode_info_type& decode = bv::DecodeOf(hcam);
    decode.seq_bytes = seq_bytes;
    decode.frame_count = frame_count;
    decode.frame_bytes = frame_count != 0 ? seq_bytes / frame_count : 0;
    decode.reserved = 0;
    decode.oldest_frame = 0;
    return call.result(bv_dd_active(hcam, pixel_stream));
}

boolean16 bv_dd_active(int16 hcam, void* pixel_stream) {
    Call call("bv_dd_active", arg("hcam", hcam), arg("pixel_stream", pixel_stream));
    if (!pg_decode_info) return call.fail(C3_NOT_INITIALIZED, "Null decode_desc structure");
    const cam_info_type& info = bv::InfoOf(hcam);
    decode_info_type& decode = bv::DecodeOf(hcam);
    if (!info.script_valid) {
        decode.pixel_stream = nullptr;
        return call.fail(C3_INVALID_SCRIPT, "The (s)CCL script is not valid");
    }
    if (decode.seq_bytes == 0) {
        decode.pixel_stream = nullptr;
        return call.fail(C0_NO_IMG_DATA, "The data size is zero");
    }
    if (dv_driver_is_image_data_active(hcam)) dv_driver_set_image_data_idle(hcam);
    decode.pixel_stream = pixel_stream;
    const bool through_plugin = bv_pop_ismoduleavailable(hcam) && info.buf_mode != CIRC_NONE &&
                                bv_pop_get_module_enabled_status(hcam);
    if (through_plugin) {
        // The camera fills a private ring, from which processed frames go into the application's.
        void* driver_buffer = pixel_stream;
        if (!bv_pop_setup_alt_buffer(hcam, &driver_buffer, decode.frame_count,
                                     decode.frame_bytes)) {
            decode.pixel_stream = nullptr;
            return call.fail_silently(C2_CANNOT_ALLOCATE_MEMORY);
        }
        decode.pixel_stream = driver_buffer;
    }
    if (!dv_driver_set_image_data_active(hcam, decode.seq_bytes, decode.pixel_stream)) {
        decode.pixel_stream = nullptr;
        return call.failed();
    }
    if (!through_plugin) bv_pop_forget_run(hcam);
    return call.ok();
}
