#include "notify/frame_info.h"

#include <new>

#include "state/call.h"

using bv::arg;
using bv::Call;

boolean16 bv_create_frame_info_struct(FRAME_INFO** pNewFrame) {
    Call call("bv_create_frame_info_struct", arg("pNewFrame", pNewFrame));
    auto* created = new (std::nothrow) FRAME_INFO{};
    if (!created) return call.fail(C2_CANNOT_ALLOCATE_MEMORY, "Cannot allocate FRAME_INFO");
    *pNewFrame = created;
    return call.ok(arg("*pNewFrame", *pNewFrame));
}

boolean16 bv_release_frame_info_struct(FRAME_INFO* pFrameInfo) {
    Call call("bv_release_frame_info_struct", arg("pFrameInfo", pFrameInfo));
    delete pFrameInfo;
    return call.ok();
}

boolean16 bv_clear_frame_info_struct(FRAME_INFO* pFrameInfo) {
    Call call("bv_clear_frame_info_struct", arg("pFrameInfo", pFrameInfo));
    if (!pFrameInfo) return call.fail(C0_NULL_POINTER, "Given null pointer");
    // The tag is the application's mark on its record.
    *pFrameInfo = {.FrameInfoTag = pFrameInfo->FrameInfoTag,
                   .hCam = 0,
                   .FrameNr = 0,
                   .TimeStampEOF = 0,
                   .ReadoutTime = 0,
                   .TimeStampBOF = 0};
    return call.ok();
}

namespace bv {

FrameInfoOwner MakeFrameInfo() {
    FRAME_INFO* created = nullptr;
    return FrameInfoOwner(bv_create_frame_info_struct(&created) ? created : nullptr);
}

}  // namespace bv
