#include <array>

#include "unit/plugins/installed_post_processing.h"

namespace {

class PostProcessingFrames : public tests::PostProcessing {
  protected:
    // A ring of three frames of two pixels, with the private one in its place.
    void SetUpRing() {
        void* buffer = ring_.data();
        ASSERT_EQ(bv_pop_setup_alt_buffer(0, &buffer, 3, 4), 1);
        private_ring_ = static_cast<uns16*>(buffer);
        pg_cam_info[0].buf_mode = CIRC_OVERWRITE;
    }

    // The slot that a frame number gets, or -1 for a number that is not new.
    int Retrieve(uns32 frame_nr) {
        void* frame = nullptr;
        const boolean16 is_new = bv_pop_retrieve_user_buffer(0, &frame, frame_nr);
        last_slot_ = static_cast<int>((static_cast<uns16*>(frame) - ring_.data()) / 2);
        return is_new ? last_slot_ : -1;
    }

    std::array<uns16, 6> ring_{};
    uns16* private_ring_ = nullptr;
    int last_slot_ = -1;
};

TEST_F(PostProcessingFrames, ApplicationsRingRunsOnItsOwnCount) {
    Load();
    SetUpRing();
    EXPECT_EQ(Retrieve(1), 1);
    EXPECT_EQ(Retrieve(2), 2);
    EXPECT_EQ(Retrieve(2), -1);
    EXPECT_EQ(last_slot_, 2);
    EXPECT_EQ(Retrieve(3), 0);
    EXPECT_EQ(Retrieve(4), 1);
    EXPECT_EQ(Retrieve(40), 2);
    EXPECT_EQ(Retrieve(39), -1);
    EXPECT_EQ(last_slot_, 2);
    SetUpRing();  // of the next run, whose frames are counted from 1 again
    EXPECT_EQ(Retrieve(1), 1);
}

TEST_F(PostProcessingFrames, RingModuleAndFramesAreNeeded) {
    void* frame = nullptr;
    EXPECT_EQ(bv_pop_retrieve_user_buffer(0, &frame, 1), 0);
    EXPECT_EQ(TakeError(), C2_NOT_AVAILABLE);
    EXPECT_EQ(frame, nullptr);

    EXPECT_EQ(bv_pop_process(0, ring_.data(), ring_.data(), 0, 2, 1, 1), 0);
    EXPECT_EQ(TakeError(), C2_NOT_AVAILABLE);
    Load();
    EXPECT_EQ(bv_pop_process(0, nullptr, ring_.data(), 0, 2, 1, 1), 0);
    EXPECT_EQ(TakeError(), C2_NOT_AVAILABLE);
}

TEST_F(PostProcessingFrames, FirstParameterSwitchesItOn) {
    auto& state = Load();
    auto& parameter = state.modules[0].parameters[0];
    EXPECT_EQ(bv_pop_get_module_enabled_status(0), 1);
    parameter.current = 0.0;
    EXPECT_EQ(bv_pop_get_module_enabled_status(0), 0);
    parameter.current = 0.25;
    EXPECT_EQ(bv_pop_get_module_enabled_status(0), 1);
    for (const char* name : {"Enabled", "ENABLED2", "ENABLE", ""}) {
        parameter.name = name;
        EXPECT_EQ(bv_pop_get_module_enabled_status(0), 0) << name;
    }
    EXPECT_FALSE(bv::ApiGlobal::IsErrorCodeSet());
    state.refuse_reads = true;
    EXPECT_EQ(bv_pop_get_module_enabled_status(0), 0);
    EXPECT_EQ(TakeError(), C2_INDEX_OUT_OF_RANGE);
}

}  // namespace
