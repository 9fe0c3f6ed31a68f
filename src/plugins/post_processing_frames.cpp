#include <cstring>
#include <new>

#include "acquisition/metadata.h"
#include "device/image_transfer.h"
#include "platform/system.h"
#include "plugins/post_processing_host.h"
#include "state/call.h"
#include "state/camera_rows.h"

// Frames on their way through the plug-in. In a continuous run the camera writes into a private
// ring and the plug-in moves each frame from there into the application's ring.

using bv::arg;
using bv::Call;

namespace {

bool Process(int16 hcam, void* input, void* output, uns16 ser_pixels, uns16 par_pixels,
             int16 flag) {
    return bv::LoadedPostProcessing().process(hcam, input, output, ser_pixels, par_pixels, flag,
                                              0) == 1;
}

// Processes the pixels of the first region of a metadata frame where they lie.
bool ProcessFirstRegion(Call& call, int16 hcam, void* source, uns16 ser_pixels, uns16 par_pixels,
                        int16 flag) {
    const uns32 frame_bytes = bv::DecodeOf(hcam).frame_bytes;
    md_frame* frame = nullptr;
    if (!bv_md_create_frame_struct_for(call, &frame, source, frame_bytes)) return false;
    bool done = bv_md_frame_decode(call, frame, source, frame_bytes) && frame->roiCount > 0 &&
                frame->roiArray[0].data;
    if (done) {
        void* pixels = frame->roiArray[0].data;
        done = Process(hcam, pixels, pixels, ser_pixels, par_pixels, flag);
    }
    bv_md_release_frame_struct(call, frame);
    return done;
}

bool ProcessFromRing(Call& call, int16 hcam, void* output, uns32 offset, uns16 ser_pixels,
                     uns16 par_pixels) {
    constexpr int16 flag = 1;
    uns8* source = bv::ConfigOf(hcam).alt_buffer.get() + offset;
    if (!bv::ConfigOf(hcam).md_frames) {
        return Process(hcam, source, output, ser_pixels, par_pixels, flag);
    }
    const bool done = ProcessFirstRegion(call, hcam, source, ser_pixels, par_pixels, flag);
    std::memcpy(output, source, bv::DecodeOf(hcam).frame_bytes);
    return done;
}

}  // namespace

boolean16 bv_pop_get_module_enabled_status(int16 hcam) {
    Call call("bv_pop_get_module_enabled_status", arg("hcam", hcam));
    bool enabled = false;
    if (bv_pop_ismoduleavailable(hcam)) {
        flt64 minimum = 0, maximum = 0, standard = 0, current = 0;
        char name[ORVEX_PLUGIN_TEXT_ROOM];
        name[0] = 0;
        if (!bv::LoadedPostProcessing().get_module_parameter(hcam, 0, 0, &minimum, &maximum,
                                                             &standard, &current, name)) {
            return call.fail_silently(C2_INDEX_OUT_OF_RANGE);
        }
        enabled = std::strcmp(name, "ENABLED") == 0 && current != 0.0;
    }
    call.returns(bv::words(enabled ? "TRUE" : "FALSE"));
    return enabled ? 1 : 0;
}

boolean16 bv_pop_setup_alt_buffer(int16 hcam, void** driver_buffer, uns32 num_buffers,
                                  uns32 exp_bytes) {
    Call call("bv_pop_setup_alt_buffer", arg("hcam", hcam), arg("driver_buffer", driver_buffer),
              arg("num_buffers", num_buffers), arg("exp_bytes", exp_bytes));
    if (!bv_pop_ismoduleavailable(hcam)) {
        call.error("KELMO module not available");
        return call.failed();
    }
    cam_cfg_type& cfg = bv::ConfigOf(hcam);
    const size_t bytes = size_t{num_buffers} * exp_bytes;
    cfg.alt_buffer.reset();
    cfg.alt_buffer.reset(new (std::nothrow) uns8[bytes]());
    if (!cfg.alt_buffer) {
        return call.fail(C2_CANNOT_ALLOCATE_MEMORY, "Cannot allocate %u buffer(s), %u bytes each",
                         num_buffers, exp_bytes);
    }
    cfg.user_buffer = static_cast<uns8*>(*driver_buffer);
    *driver_buffer = cfg.alt_buffer.get();
    cfg.alt_frame_bytes = exp_bytes;
    cfg.alt_frame_count = num_buffers;
    cfg.alt_frame_index = 0;
    cfg.last_frame_nr = 0;
    return call.ok(arg("*driver_buffer", *driver_buffer));
}

boolean16 bv_pop_clear_alt_buffer(int16 hcam, void* user_buffer) {
    Call call("bv_pop_clear_alt_buffer", arg("hcam", hcam), arg("user_buffer", user_buffer));
    cam_cfg_type& cfg = bv::ConfigOf(hcam);
    cfg.user_buffer = static_cast<uns8*>(user_buffer);
    cfg.alt_frame_bytes = 0;
    cfg.alt_frame_count = 0;
    cfg.alt_frame_index = 0;
    decode_info_type& decode = bv::DecodeOf(hcam);
    if (cfg.alt_buffer && decode.pixel_stream == cfg.alt_buffer.get()) {
        // When the library shuts down in the middle of a run, the camera still writes into it.
        uns32 byte_cnt = 0;
        if (driver_get_status(hcam, &byte_cnt) != READOUT_NOT_ACTIVE) {
            dv_driver_set_image_data_idle(hcam);
        }
        decode.pixel_stream = nullptr;
    }
    cfg.alt_buffer.reset();
    return call.ok();
}

void bv_pop_forget_run(int16 hcam) {
    cam_cfg_type& cfg = bv::ConfigOf(hcam);
    cfg.alt_buffer.reset();
    cfg.user_buffer = nullptr;
    cfg.alt_frame_bytes = 0;
    cfg.alt_frame_count = 0;
    cfg.alt_frame_index = 0;
    cfg.last_frame_nr = 0;
}

void* bv_pop_copy_unprocessed(int16 hcam, uns32 offset) {
    const cam_cfg_type& cfg = bv::ConfigOf(hcam);
    const bool in_ring =
        uns64{offset} + cfg.alt_frame_bytes <= uns64{cfg.alt_frame_count} * cfg.alt_frame_bytes;
    if (!cfg.alt_buffer || !cfg.user_buffer || !in_ring) return nullptr;
    return std::memcpy(cfg.user_buffer + offset, cfg.alt_buffer.get() + offset,
                       cfg.alt_frame_bytes);
}

boolean16 bv_pop_retrieve_user_buffer(int16 hcam, void** frame, uns32 frame_count) {
    Call call("bv_pop_retrieve_user_buffer", arg("hcam", hcam), arg("frame", frame),
              arg("frame_count", frame_count));
    cam_cfg_type& cfg = bv::ConfigOf(hcam);
    const bool is_new = frame_count > cfg.last_frame_nr;
    if (is_new) {
        // The application's ring runs on its own count, whatever frames were skipped.
        cfg.alt_frame_index =
            cfg.alt_frame_index + 1 < cfg.alt_frame_count ? cfg.alt_frame_index + 1 : 0;
        cfg.last_frame_nr = frame_count;
    }
    if (!cfg.user_buffer || cfg.alt_frame_bytes == 0) return call.fail_silently(C2_NOT_AVAILABLE);
    *frame = cfg.user_buffer + size_t{cfg.alt_frame_index} * cfg.alt_frame_bytes;
    call.returns(bv::words(is_new ? "TRUE" : "FALSE"), arg("*frame", *frame));
    return is_new ? 1 : 0;
}

boolean16 bv_pop_process(int16 hcam, void* input, void* output, uns32 offset, uns16 ser_pixels,
                         uns16 par_pixels, int16 flag) {
    Call call("bv_pop_process", arg("hcam", hcam), arg("input", input), arg("output", output),
              arg("offset", offset), arg("ser_pixels", ser_pixels), arg("par_pixels", par_pixels),
              arg("flag", flag));
    if (!bv_pop_ismoduleavailable(hcam) || !input || !output) {
        return call.fail_silently(C2_NOT_AVAILABLE);
    }
    const cam_cfg_type& cfg = bv::ConfigOf(hcam);
    bool done = true;
    if (bv::InfoOf(hcam).buf_mode != CIRC_NONE) {
        // A run that was armed while the module was off has no private ring: nothing to move.
        if (cfg.alt_buffer) {
            done = ProcessFromRing(call, hcam, output, offset, ser_pixels, par_pixels);
        }
    } else if (cfg.md_frames) {
        done = ProcessFirstRegion(call, hcam, input, ser_pixels, par_pixels, flag);
    } else {
        done = Process(hcam, input, output, ser_pixels, par_pixels, flag);
    }
    return call.result(done ? bv::OZ_OK : bv::OZ_FAIL);
}

boolean16 bv_pop_start_kelmo_processing(int16 hcam) {
    Call call("bv_pop_start_kelmo_processing", arg("hcam", hcam));
    bv::ConfigOf(hcam).kelmo_processing = 1;
    platform::DebugOutput("Start kelmo plug in processing");
    return call.ok();
}

boolean16 bv_pop_stop_kelmo_processing(int16 hcam) {
    Call call("bv_pop_stop_kelmo_processing", arg("hcam", hcam));
    bv::ConfigOf(hcam).kelmo_processing = 0;
    platform::DebugOutput("Stop kelmo plug in processing");
    return call.ok();
}
