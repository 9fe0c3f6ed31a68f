#include "notify/frame_info.h"

#include <algorithm>
#include <gtest/gtest.h>

#include "notify/callback_event.h"
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
    EXPECT_EQ(info->hCam, 0);
    EXPECT_EQ(info->FrameNr, 0);
    EXPECT_EQ(info->TimeStampEOF, 0);
    EXPECT_EQ(info->ReadoutTime, 0);
    EXPECT_EQ(info->TimeStampBOF, 0);
    EXPECT_EQ(bv_release_frame_info_struct(info), 1);
}

TEST(FrameInfo, NullIsReleasedButNotCleared) {
    support::TraceCapture trace;
    EXPECT_EQ(bv_release_frame_info_struct(nullptr), 1);
    EXPECT_EQ(bv_clear_frame_info_struct(nullptr), 0);
    EXPECT_TRUE(trace.failed_with(C0_NULL_POINTER, "Given null pointer"));
}

struct ShareCase {
    uns32 frames;
    bool is_sequence;
    uns32 in_flight;
};

void PrintTo(const ShareCase& row, std::ostream* out) {
    *out << row.frames << (row.is_sequence ? " of a sequence" : " of a ring");
}

class FramesInFlight : public testing::TestWithParam<ShareCase> {};

TEST_P(FramesInFlight, IsAllOfASequenceAndFourFifthsOfARing) {
    const auto [frames, is_sequence, in_flight] = GetParam();
    EXPECT_EQ(bv::FramesInFlight(frames, is_sequence), in_flight);
}

INSTANTIATE_TEST_SUITE_P(Counts, FramesInFlight,
                         testing::Values(ShareCase{0, true, 1}, ShareCase{1, true, 1},
                                         ShareCase{100, true, 100}, ShareCase{0, false, 1},
                                         ShareCase{1, false, 1}, ShareCase{2, false, 1},
                                         ShareCase{5, false, 4}, ShareCase{6, false, 5},
                                         ShareCase{10, false, 8}, ShareCase{1000, false, 800},
                                         ShareCase{50'000, false, 40'000},
                                         ShareCase{0xFFFFFFFF, false, 3435973836}));

}  // namespace
