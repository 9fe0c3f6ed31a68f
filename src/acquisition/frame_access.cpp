#include "orvex/orvex_errors.h"

#include "acquisition/continuous.h"
#include "acquisition/upcalls.h"
#include "device/image_transfer.h"
#include "state/call.h"
#include "state/camera_rows.h"

using bv::arg;
using bv::Call;

namespace {

struct Ring {
    const decode_info_type& decode;
    uns32 frame_nr;  // finished frames

    // Frames are counted from 1; frame n lies in slot n - 1.
    uns32 OffsetOfSlot(uns32 slot) const {
        const uns32 count = decode.frame_count;
        return count == 0 ? 0 : decode.frame_bytes * (slot % count);
    }
    bool IsOverrun() const {
        return uns64{decode.oldest_frame.get()} + decode.frame_count.get() < frame_nr;
    }
};

// Points *frame at a slot of the ring, by way of the post-processing plug-in when it is on.
void PickFrame(int16 hcam, const Ring& ring, uns32 offset, void** frame) {
    *frame = static_cast<uns8*>(ring.decode.pixel_stream.get()) + offset;
    if (!bv_pop_ismoduleavailable(hcam) || !bv_pop_get_module_enabled_status(hcam)) {
        // Switched off in the middle of a run, the plug-in has left the frame in its private ring.
        if (void* copy = bv_pop_copy_unprocessed(hcam, offset)) *frame = copy;
        return;
    }
    if (bv::InfoOf(hcam).buf_mode != CIRC_NONE &&
        (!bv_pop_retrieve_user_buffer(hcam, frame, ring.frame_nr) ||
         !bv::ConfigOf(hcam).kelmo_processing)) {
        return;
    }
    bv_pop_process(hcam, *frame, *frame, offset, ring.decode.ser_pixels, ring.decode.par_pixels, 1);
}

enum class Slot { latest, oldest };

boolean16 GetFrame(Call& call, int16 hcam, Slot slot, void** frame, FRAME_INFO* pFrameInfo) {
    if (!pg_decode_info) return call.fail(C3_NOT_INITIALIZED, "Null decode_desc structure");
    decode_info_type& decode = bv::DecodeOf(hcam);
    if (!decode.pixel_stream) return call.fail(C0_NO_IMG_DATA, "Buffer is null");
    uns32 byte_cnt = 0;
    int16 status = 0;
    if (!dv_driver_get_image_data_status(hcam, &byte_cnt, pFrameInfo, &status)) {
        return call.failed();
    }
    const Ring ring{.decode = decode, .frame_nr = static_cast<uns32>(pFrameInfo->FrameNr)};
    if (ring.frame_nr == 0) {
        return call.fail(C3_FRAME_NOT_RETURNED, "Frame number 0 returned");
    }
    const uns32 slot_number = slot == Slot::latest ? ring.frame_nr - 1 : decode.oldest_frame.get();
    PickFrame(hcam, ring, ring.OffsetOfSlot(slot_number), frame);
    if (bv::InfoOf(hcam).buf_mode == CIRC_NO_OVERWRITE && ring.IsOverrun()) {
        return call.fail(C3_BUFFER_OVERRUN, "Buffer overrun");
    }
    if (slot == Slot::latest) decode.oldest_frame = ring.frame_nr;
    return call.ok(arg("*frame", *frame), arg("pFrameInfo->FrameNr", pFrameInfo->FrameNr));
}

}  // namespace

boolean16 bv_exp_get_latest_frame(int16 hcam, void** frame, FRAME_INFO* pFrameInfo) {
    Call call("bv_exp_get_latest_frame", arg("hcam", hcam), arg("frame", frame),
              arg("pFrameInfo", pFrameInfo));
    return GetFrame(call, hcam, Slot::latest, frame, pFrameInfo);
}

boolean16 bv_exp_get_oldest_frame(int16 hcam, void** frame, FRAME_INFO* pFrameInfo) {
    Call call("bv_exp_get_oldest_frame", arg("hcam", hcam), arg("frame", frame),
              arg("pFrameInfo", pFrameInfo));
    return GetFrame(call, hcam, Slot::oldest, frame, pFrameInfo);
}

boolean16 bv_exp_unlock_oldest_frame(int16 hcam) {
    Call call("bv_exp_unlock_oldest_frame", arg("hcam", hcam));
    bv::DecodeOf(hcam).oldest_frame.add(1);
    return call.ok();
}
