#include <gtest/gtest.h>

#include "orvex/orvex_errors.h"

#include "acquisition/sequence.h"
#include "support/core/camera_test.h"

namespace {

class ExposureTime : public support::CameraTest<> {
  protected:
    flt64 Milliseconds() {
        flt64 time = -1;
        EXPECT_EQ(bv_exp_get_exp_time_msec(hcam, &time), 1);
        return time;
    }
    flt64 Timeout() {
        flt64 timeout = -1;
        EXPECT_EQ(bv_exp_get_img_timeout(hcam, &timeout), 1);
        return timeout;
    }
};

constexpr flt64 never = 4294967295.0;

}  // namespace

TEST_F(ExposureTime, ByResolution) {
    camera_.cache().exposure_time = 2500;
    EXPECT_EQ(Milliseconds(), 2500.0);
    camera_.cfg().exp_res_index = EXP_RES_ONE_MICROSEC;
    EXPECT_EQ(Milliseconds(), 2.5);
    camera_.cfg().exp_res_index = EXP_RES_ONE_SEC;
    EXPECT_EQ(Milliseconds(), 2500000.0);
    camera_.cfg().exp_res_index = 3;
    flt64 time = -1;
    EXPECT_EQ(bv_exp_get_exp_time_msec(hcam, &time), 0);
    EXPECT_TRUE(trace_.failed_with(C2_INDEX_OUT_OF_RANGE, "Unknown exposure resolution"));
    flt64 timeout = -1;
    EXPECT_EQ(bv_exp_get_img_timeout(hcam, &timeout), 0);
    EXPECT_EQ(timeout, -1);
}

TEST_F(ExposureTime, VariableAndCycled) {
    acq_cache_type& last = camera_.cache();
    last.exposure_time = 20;
    camera_.cam_info().var_exp_time = 30;
    EXPECT_EQ(Milliseconds(), 20.0);
    last.exp_mode = VARIABLE_TIMED_MODE;
    EXPECT_EQ(Milliseconds(), 30.0);

    last.tidal_exp_params = {5, 7, 90, 6};
    EXPECT_EQ(Milliseconds(), 30.0);  // not enabled
    last.tidal_stream_enabled = 1;
    last.exp_total = 2;
    EXPECT_EQ(Milliseconds(), 7.0);
    last.exp_total = 9;
    EXPECT_EQ(Milliseconds(), 90.0);
    last.exp_total = 2;
    last.buf_mode = CIRC_OVERWRITE;
    EXPECT_EQ(Milliseconds(), 90.0);
}

TEST_F(ExposureTime, TimeoutByHand) {
    camera_.cache().exposure_time = 10;
    // 512 columns at 100 ns, 256 rows of 0.015 ms (in single precision), two clears of 1.2 times
    // that, and the exposure.
    EXPECT_DOUBLE_EQ(Timeout(), 13.1072 + 3.8399999141693115 + 9.215999794006348 + 10);
    camera_.cfg().prescan = 10;
    camera_.cfg().postscan = 20;
    camera_.cfg().premask = 30;
    camera_.cfg().postmask = 40;
    camera_.cfg().clear_cycles = 0;
    // 542 columns; 326 rows shift, 256 are read.
    EXPECT_NEAR(Timeout(), 542 * 0.0001 * 256 + 326 * 0.014999999664723873 + 10, 1e-9);
    camera_.cfg().spdtab_time = 0xFFFF;  // a negative pixel time, as cameras with none report
    EXPECT_NEAR(Timeout(), -542 * 1e-6 * 256 + 326 * 0.014999999664723873 + 10, 1e-9);
}

TEST_F(ExposureTime, TriggersAndPostProcessingHaveNoTimeout) {
    acq_cache_type& last = camera_.cache();
    for (int16 mode : {TIMED_MODE, FLASH_MODE, VARIABLE_TIMED_MODE, EXT_TRIG_INTERNAL}) {
        last.exp_mode = mode;
        EXPECT_LT(Timeout(), never) << mode;
    }
    for (int16 mode : {STROBED_MODE, BULB_MODE, TRIGGER_FIRST_MODE, INT_STROBE_MODE,
                       EXT_TRIG_TRIG_FIRST, EXT_TRIG_EDGE_RISING}) {
        last.exp_mode = mode;
        EXPECT_EQ(Timeout(), never) << mode;
    }

    last.exp_mode = TIMED_MODE;
    for (int32 id : {120, 160}) {
        auto& parameters = camera_.cache().pp_param_cache;
        parameters.clear();
        parameters[id].value = 0;
        EXPECT_LT(Timeout(), never);
        parameters[id].value = 1;
        EXPECT_EQ(Timeout(), never);
        parameters.clear();
        parameters[id + 1].value = 1;
        EXPECT_LT(Timeout(), never);
    }
}
