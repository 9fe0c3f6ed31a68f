#include "acquisition/sequence.h"

#include <algorithm>
#include <functional>
#include <gmock/gmock.h>
#include <stdexcept>
#include <vector>

#include "orvex/orvex_errors.h"

#include "acquisition/continuous.h"
#include "support/core/camera_test.h"

#include "unit/acquisition/setup_camera.h"

using support::hex;
using testing::ElementsAre;

namespace {

class Sequence : public support::CameraTest<SetupCamera> {
  protected:
    struct Arguments {
        uns16 exp_total = 3;
        std::vector<rgn_type> regions{{0, 99, 1, 10, 19, 1}};
        int16 exp_mode = TIMED_MODE;
        uns32 exposure_time = 10;
    };

    boolean16 Prepare(const Arguments& a) {
        bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
        camera_.camera().forget();
        return bv_exp_setup_seq(hcam, a.exp_total, static_cast<uns16>(a.regions.size()),
                                a.regions.data(), a.exp_mode, a.exposure_time, &bytes_);
    }
    // Downloads since the last setup began.
    size_t Programs() {
        const auto writes = camera_.writes();
        return static_cast<size_t>(
            std::count_if(writes.begin(), writes.end(), [](const support::Bytes& frame) {
                return frame[0] == CLASS_CCL_SCRIPT || frame[0] == CLASS_SIMPLIFIED_CCL;
            }));
    }
    void Start() {
        ASSERT_EQ(bv_exp_start_seq(hcam, buffer_.data()), 1);
        camera_.camera().forget();
    }

    std::vector<uns16> buffer_ = std::vector<uns16>(64 * 1024);
    uns32 bytes_ = 0;
};

}  // namespace

// --- setup

// The camera then has another program than the sequence before and the one behind.
TEST_F(Sequence, SetupBetweenWithoutARingIsNoSequence) {
    const rgn_type small{0, 49, 1, 10, 19, 1};
    for (const rgn_type& next : {small, Arguments{}.regions[0]}) {
        ASSERT_EQ(Prepare({}), 1);
        const uns32 bytes = bytes_;
        uns32 frame_bytes = 0;
        ASSERT_EQ(bv_exp_setup_cont(hcam, 1, &small, TIMED_MODE, 10, &frame_bytes, CIRC_NONE), 1);
        ASSERT_EQ(Prepare({.regions = {next}}), 1);
        EXPECT_EQ(Programs(), 1u);
        EXPECT_EQ(bytes_, next.s2 == small.s2 ? bytes / 2 : bytes);
    }
}

TEST_F(Sequence, SameSetupTalksToNobody) {
    ASSERT_EQ(Prepare({}), 1);
    bytes_ = 0;
    ASSERT_EQ(Prepare({}), 1);
    EXPECT_EQ(bytes_, 6000u);
    EXPECT_TRUE(camera_.writes().empty());
    EXPECT_TRUE(camera_.camera().ioctls().empty());
}

TEST_F(Sequence, AnyDifferenceDownloadsAnew) {
    const std::function<void(Arguments&)> changes[] = {
        [](Arguments& a) { a.exp_total = 4; },
        [](Arguments& a) { a.exp_mode = STROBED_MODE; },
        [](Arguments& a) { a.exposure_time = 11; },
        [](Arguments& a) { a.regions[0].s1 = 1; },
        [](Arguments& a) { a.regions[0].s2 = 98; },
        [](Arguments& a) { a.regions[0].sbin = 2; },
        [](Arguments& a) { a.regions[0].p1 = 11; },
        [](Arguments& a) { a.regions[0].p2 = 18; },
        [](Arguments& a) { a.regions[0].pbin = 2; },
    };
    for (const auto& change : changes) {
        ASSERT_EQ(Prepare({}), 1);
        Arguments changed;
        change(changed);
        ASSERT_EQ(Prepare(changed), 1);
        EXPECT_EQ(Programs(), 1u);
    }
    // A continuous run of the same frames is another setup, in each mode, and so is the sequence
    // after it.
    ASSERT_EQ(Prepare({}), 1);
    const Arguments a;
    for (const auto& [mode, programs] : {std::pair<int16, size_t>{CIRC_OVERWRITE, 1},
                                         {CIRC_OVERWRITE, 0},
                                         {CIRC_NO_OVERWRITE, 1}}) {
        camera_.camera().forget();
        ASSERT_EQ(bv_exp_setup_cont(hcam, 1, a.regions.data(), a.exp_mode, a.exposure_time, &bytes_,
                                    mode),
                  1);
        EXPECT_EQ(Programs(), programs);
    }
    ASSERT_EQ(Prepare({}), 1);
    EXPECT_EQ(Programs(), 1u);
    // A setting that the program depends on has changed in between.
    camera_.cam_info().script_valid = 0;
    ASSERT_EQ(Prepare({}), 1);
    EXPECT_EQ(Programs(), 1u);
}

TEST_F(Sequence, RefusedSetups) {
    EXPECT_EQ(Prepare({.exp_total = 0}), 0);
    EXPECT_TRUE(trace_.failed_with(C2_NEED_POSITIVE_VAL, "Given zero size buffer"));
    ASSERT_EQ(Prepare({}), 1);
    EXPECT_EQ(support::ErrorOf(Prepare({.regions = {}})), C3_RGN_INVALID);
    EXPECT_EQ(bv_exp_setup_seq(hcam, 3, 1, nullptr, TIMED_MODE, 10, &bytes_), 0);
    EXPECT_EQ(camera_.cam_info().script_valid, 0);  // the setup differed
    EXPECT_EQ(camera_.cache().regions.size(), 1u);  // the cache keeps the last good one
    pg_decode_info.reset();
    EXPECT_TRUE(trace_.refused(Prepare({}), C3_NOT_INITIALIZED, "Null decode_desc structure"));
}

TEST_F(Sequence, FailedDownloadIsNotRemembered) {
    camera_.driver().fail_call(5);  // two exchanges for the shutter delays come first
    const boolean16 failed = Prepare({});
    EXPECT_TRUE(camera_.driver().fault_happened());
    EXPECT_EQ(failed, 0);
    EXPECT_EQ(camera_.cam_info().script_valid, 0);
    EXPECT_EQ(camera_.cache().valid, 0);
    ASSERT_EQ(Prepare({}), 1);
    EXPECT_EQ(Programs(), 1u);
}

// --- start

TEST_F(Sequence, StartArmsAndExecutes) {
    ASSERT_EQ(Prepare({}), 1);
    camera_.decode_info().oldest_frame = 9;
    camera_.decode_info().reserved = 9;
    camera_.camera().driver_status(DRIVER_STATUS_INACTIVE, 0);
    camera_.camera().forget();
    ASSERT_EQ(bv_exp_start_seq(hcam, buffer_.data()), 1);
    EXPECT_THAT(camera_.writes(), ElementsAre(hex("3F 00 01 2E")));
    EXPECT_THAT(camera_.camera().ioctl_codes(),
                ElementsAre(DV_GET_IMAGE_DATA_STATUS, DV_RECEIVE_IMAGE_DATA));
    EXPECT_EQ(camera_.camera().ioctls().back().out, buffer_.data());
    EXPECT_EQ(camera_.camera().ioctls().back().out_size, 6000u);
    EXPECT_EQ(camera_.cam_info().exp_started, 1);
    EXPECT_EQ(camera_.decode_info().oldest_frame, 0u);
    EXPECT_EQ(camera_.decode_info().reserved, 0u);
    EXPECT_EQ(camera_.decode_info().rgn_total, 1);
}

TEST_F(Sequence, VariableTimeGoesAheadOfEachStart) {
    (*camera_.reads().exp_range_map)[EXP_RES_ONE_MILLISEC] = {0, 10, 500};
    ASSERT_EQ(Prepare({.exp_mode = VARIABLE_TIMED_MODE}), 1);
    ASSERT_EQ(bv_exp_set_time_seq(hcam, 500), 1);
    ASSERT_EQ(bv_exp_start_seq(hcam, buffer_.data()), 1);
    EXPECT_EQ(camera_.writes().back(), hex("3F 00 04 39 01 F4 2E"));
    bv_exp_set_time_seq(hcam, 501);
    EXPECT_EQ(bv_exp_start_seq(hcam, buffer_.data()), 0);
    EXPECT_TRUE(trace_.failed_with(C0_EXPOSURE_OUT_OF_RANGE,
                                   "Exposure time (501) out of range (10 - 500)"));
    camera_.reads().exp_range_map->clear();
    EXPECT_THROW(bv_exp_start_seq(hcam, buffer_.data()), std::out_of_range);
}

TEST_F(Sequence, ArmingTests) {
    EXPECT_EQ(bv_dd_active(hcam, buffer_.data()), 0);
    EXPECT_TRUE(trace_.failed_with(C3_INVALID_SCRIPT, "The (s)CCL script is not valid"));
    camera_.cam_info().script_valid = 1;
    EXPECT_EQ(bv_exp_set_bytes(hcam, 0, 0, buffer_.data()), 0);
    EXPECT_TRUE(trace_.failed_with(C0_NO_IMG_DATA, "The data size is zero"));
    EXPECT_EQ(camera_.decode_info().pixel_stream, nullptr);

    // A transfer that still runs is ended first.
    camera_.camera().driver_status(DRIVER_STATUS_READING, 0);
    camera_.camera().forget();
    ASSERT_EQ(bv_exp_set_bytes(hcam, 4, 4000, buffer_.data()), 1);
    EXPECT_EQ(camera_.decode_info().frame_bytes, 1000u);
    EXPECT_THAT(camera_.camera().ioctl_codes(),
                ElementsAre(DV_GET_IMAGE_DATA_STATUS, DV_SET_IMAGE_DATA_IDLE,
                            DV_CLEANUP_IMAGE_DATA_IDLE, DV_RECEIVE_IMAGE_DATA));
}

// --- run

TEST_F(Sequence, FinishEndsTheRun) {
    int16 status = -1;
    uns32 bytes = 7;
    uns32 frames = 7;
    EXPECT_EQ(bv_exp_check_status(hcam, &status, &bytes, &frames), 0);
    EXPECT_TRUE(trace_.failed_with(C0_NO_IMG_DATA, "Buffer is null"));
    EXPECT_EQ(bv_exp_finish_seq(hcam, buffer_.data(), 0), 0);
    EXPECT_TRUE(trace_.failed_with(C3_ILLEGAL_BUFFER_SIZE, "The data size is zero"));
    ASSERT_EQ(Prepare({}), 1);
    Start();
    ASSERT_EQ(bv_exp_finish_seq(hcam, buffer_.data(), 0), 1);
    EXPECT_EQ(camera_.cam_info().exp_started, 0);
    EXPECT_TRUE(camera_.writes().empty());  // no change of the camera was asked for
}

// Whatever the driver or the camera refuses on the way, the next attempt works.
TEST_F(Sequence, AnyFaultLeavesAWorkingCamera) {
    for (unsigned n = 1;; ++n) {
        ASSERT_LT(n, 100u);
        camera_.cache().valid = 0;
        bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
        camera_.driver().fail_call(n);
        const bool done = Prepare({}) && bv_exp_start_seq(hcam, buffer_.data());
        const bool faulted = camera_.driver().fault_happened();
        camera_.driver().fail_call(0);
        bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
        if (!done) {
            EXPECT_EQ(camera_.cam_info().exp_started, 0) << n;
            ASSERT_EQ(Prepare({}), 1) << n;
            ASSERT_EQ(bv_exp_start_seq(hcam, buffer_.data()), 1) << n;
        }
        ASSERT_EQ(bv_exp_finish_seq(hcam, buffer_.data(), 0), 1) << n;
        if (!faulted) break;
    }
}
