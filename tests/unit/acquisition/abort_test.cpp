#include "acquisition/abort.h"

#include <chrono>
#include <gmock/gmock.h>

#include "orvex/orvex_errors.h"

#include "support/core/camera_test.h"

using support::hex;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Abort : public support::CameraTest<> {
  protected:
    boolean16 Run(int16 cam_state) {
        camera_.cam_info().exp_started = 1;
        camera_.camera().forget();
        bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
        return bv_exp_abort(hcam, cam_state);
    }
    double MillisecondsOf(int16 cam_state) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(Run(cam_state), 1);
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
            .count();
    }
};

}  // namespace

TEST_F(Abort, HaltsByTheStateThatIsWanted) {
    const std::pair<int16, const char*> cases[] = {
        {CCS_HALT, "3F 00 03 33 00 00"},      {CCS_HALT_CLOSE_SHTR, "3F 00 03 33 00 02"},
        {CCS_CLEAR, "3F 00 03 33 00 01"},     {CCS_CLEAR_CLOSE_SHTR, "3F 00 03 33 00 03"},
        {CCS_OPEN_SHTR, "3F 00 03 33 00 04"}, {CCS_CLEAR_OPEN_SHTR, "3F 00 03 33 00 05"},
    };
    for (const auto& [state, bytes] : cases) {
        ASSERT_EQ(Run(state), 1);
        EXPECT_THAT(camera_.writes(), ElementsAre(hex(bytes)));
        EXPECT_EQ(camera_.cam_info().exp_started, 0);
    }
}

TEST_F(Abort, StopsAnAcquisition) {
    camera_.reads().cap_stop_acquisition = 1;
    camera_.firmware().reply(STOP_ACQUISITION, 4, 1);
    ASSERT_EQ(Run(CCS_CLEAR_OPEN_SHTR), 1);
    EXPECT_THAT(camera_.writes(), ElementsAre(hex("3F 00 09 26 BD 00 00 00 00 28 00 04")));
    EXPECT_THAT(camera_.camera().ioctls(), IsEmpty());

    // A camera that leaves the end of the transfer to the host.
    camera_.firmware().reply(STOP_ACQUISITION, 4, 0);
    camera_.cache().exposure_time = 1234;
    ASSERT_EQ(Run(CCS_HALT), 1);
    EXPECT_THAT(camera_.camera().ioctl_codes(), ElementsAre(DV_STOP_DATA_TRANSFER));
    EXPECT_EQ(camera_.camera().ioctls()[0].in, hex("A2 0C 00 00"));  // 3234, low byte first

    // The exposure is unknown: the transfer ends all the same, the abort tells of it.
    camera_.cfg().exp_res_index = 3;
    EXPECT_EQ(Run(CCS_HALT), 0);
    EXPECT_EQ(camera_.camera().ioctls()[0].in, hex("58 1B 00 00"));
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C2_INDEX_OUT_OF_RANGE);
    EXPECT_EQ(camera_.cam_info().exp_started, 0);
}

TEST(PostAbortWait, IsWhatIsLeftAndNeverLong) {
    const std::tuple<int64, uns32, uns32> cases[] = {
        {50'999'999, 20, 30},        {50'000'000, 50, 0},         {5'000'000, 10, 0},
        {-1'000'000'000, 0, 0},      {10'000'000'000, 0, 10'000}, {11'000'000'000, 10, 9'990},
        {int64{1} << 62, 0, 10'000},
    };
    for (const auto& [delay, waited_ms, wait_ms] : cases) {
        EXPECT_EQ(bv::PostAbortWaitMs(delay, waited_ms), wait_ms) << delay;
    }
}

// Success means that nothing is written into the buffer any more, so a failure is no end.
TEST_F(Abort, RefusedStopIsTakenAgain) {
    struct Case {
        uns16 stops;  // the camera knows how to stop
        void (*refuse)(support::ScriptedCamera& camera, bool refused);
        uint32_t disarmed_by;
    };
    const Case cases[] = {
        {1, [](support::ScriptedCamera& camera, bool refused) { camera.fail_write(refused); },
         DV_STOP_DATA_TRANSFER},
        {1,
         [](support::ScriptedCamera& camera, bool refused) {
             camera.refuse(DV_STOP_DATA_TRANSFER, refused);
         },
         DV_STOP_DATA_TRANSFER},
        {0,
         [](support::ScriptedCamera& camera, bool refused) {
             camera.refuse(DV_SET_IMAGE_DATA_IDLE, refused);
         },
         DV_SET_IMAGE_DATA_IDLE},
    };
    camera_.firmware().reply(STOP_ACQUISITION, 4, 0);
    camera_.camera().driver_status(DRIVER_STATUS_EXPOSING, 0);
    for (const Case& row : cases) {
        SCOPED_TRACE(testing::Message() << row.stops << " by " << row.disarmed_by);
        camera_.reads().cap_stop_acquisition = row.stops;
        row.refuse(camera_.camera(), true);
        EXPECT_EQ(Run(CCS_HALT), 0);
        row.refuse(camera_.camera(), false);
        camera_.camera().forget();
        bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
        EXPECT_EQ(bv_exp_abort(hcam, CCS_HALT), 1);
        EXPECT_EQ(camera_.writes().size(), 1u);
        EXPECT_THAT(camera_.camera().ioctl_codes(), testing::Contains(row.disarmed_by));
        EXPECT_EQ(bv_exp_abort(hcam, CCS_HALT), 1);
        EXPECT_EQ(camera_.writes().size(), 1u);
    }
}

// Lower bounds only: a slow machine may take longer.
TEST_F(Abort, LeavesTheCameraAlone) {
    EXPECT_GE(MillisecondsOf(CCS_HALT), 10.0);
    camera_.cam_info().post_abort_delay = 50999999;
    EXPECT_LT(MillisecondsOf(CCS_NO_CHANGE), 50.0);  // the camera doesn't ask for it
    camera_.reads().cap_post_abort_delay = 1;
    EXPECT_GE(MillisecondsOf(CCS_HALT), 50.0);
    EXPECT_GE(MillisecondsOf(CCS_NO_CHANGE), 50.0);
    camera_.reads().cap_stop_acquisition = 1;
    EXPECT_GE(MillisecondsOf(CCS_HALT), 50.0);
}
