#include "notify/frame_info.h"

#include <algorithm>
#include <gtest/gtest.h>

#include "support/core/trace_capture.h"

namespace {

TEST(FrameInfo, IsBornZeroAndClearedBehindItsTag) {
    FRAME_INFO* info = nullptr;
    ASSERT_EQ(bv_create_frame_info_struct(&info), 1);
    const auto* bytes = reinterpret_cast<const uns8*>(info);
    EXPECT_TRUE(std::all_of(bytes, bytes + sizeof *info, [](uns8 byte) { return byte == 0; }));
    std::fill_n(reinterpret_cast<uns8*>(info), sizeof *info, uns8{7});
    ASSERT_EQ(bv_clear_frame_info_struct(info), 1);
    for (uns8 byte : info->FrameInfoTag.bytes) EXPECT_EQ(byte, 7);
    EXPECT_EQ(info->hCam | info->FrameNr | info->ReadoutTime, 0);
    EXPECT_EQ(info->TimeStampEOF | info->TimeStampBOF, 0);
    EXPECT_EQ(bv_release_frame_info_struct(info), 1);
}

}  // namespace
