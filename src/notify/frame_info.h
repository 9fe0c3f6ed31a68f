#pragma once

#include <memory>

#include "orvex/orvex_types.h"

// A zeroed record on the heap.
boolean16 bv_create_frame_info_struct(FRAME_INFO** pNewFrame);
// Accepts null.
boolean16 bv_release_frame_info_struct(FRAME_INFO* pFrameInfo);
// Zeroes everything behind FrameInfoTag.
boolean16 bv_clear_frame_info_struct(FRAME_INFO* pFrameInfo);

namespace bv {

struct FrameInfoRelease {
    void operator()(FRAME_INFO* info) const { bv_release_frame_info_struct(info); }
};
using FrameInfoOwner = std::unique_ptr<FRAME_INFO, FrameInfoRelease>;

// Empty, with the error set, when there is no memory.
FrameInfoOwner MakeFrameInfo();

}  // namespace bv
