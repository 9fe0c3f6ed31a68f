// The sample plug-in for frame accumulation behind its host: what is asked for is done, and the
// results are the reverse of what they tell.
#include <gtest/gtest.h>

#include "orvex/orvex_errors.h"

#include "plugins/accumulation_host.h"
#include "state/api_global.h"
#include "state/camera_tables.h"
#include "support/environment.h"

namespace {

class AccumulationSample : public testing::Test {
  protected:
    AccumulationSample() {
        orvex_initialized = 1;
        total_cams = 2;
        pg_cam_info = std::make_unique<cam_info_type[]>(2);
        pg_cam_info[0].open = 1;
        pg_cam_info[1].open = 1;
    }
    ~AccumulationSample() override {
        ffUnloadLibrary();
        orvex_initialized = 0;
        total_cams = 0;
        pg_cam_info.reset();
    }

    static void ExpectCarriedOut(boolean16 result) {
        EXPECT_EQ(result, 0);
        EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C0_NULL_POINTER);
    }

    support::Environment path_{"ORVEX_MODULE_PATH", ORVEX_LIBRARY_DIR "/plugins"};
};

TEST_F(AccumulationSample, KeepsTheSettingsOfEachCamera) {
    uns16 flag = 0;
    uns32 number = 0;
    ExpectCarriedOut(t_ox_ff_get_accum_capable(0, &flag));
    EXPECT_EQ(flag, 1);
    ExpectCarriedOut(t_ox_ff_get_accum_num(0, &number));
    EXPECT_EQ(number, 1U);

    ExpectCarriedOut(t_ox_ff_set_accum_mode(0, 1));
    ExpectCarriedOut(t_ox_ff_set_accum_num(0, 12));
    ExpectCarriedOut(t_ox_ff_set_accum_num(0, 0));  // not taken
    ExpectCarriedOut(t_ox_ff_set_paired_mode(1, 5));

    const struct {
        int16 hcam;
        uns16 accumulate, paired;
        uns32 frames;
    } expected[] = {{0, 1, 0, 12}, {1, 0, 1, 1}};
    for (const auto& camera : expected) {
        ExpectCarriedOut(t_ox_ff_get_accum_mode(camera.hcam, &flag));
        EXPECT_EQ(flag, camera.accumulate);
        ExpectCarriedOut(t_ox_ff_get_paired_mode(camera.hcam, &flag));
        EXPECT_EQ(flag, camera.paired);
        ExpectCarriedOut(t_ox_ff_get_accum_num(camera.hcam, &number));
        EXPECT_EQ(number, camera.frames);
    }
}

// The same calls without the plug-in tell success, and nothing is written.
TEST_F(AccumulationSample, WithoutItTheSameCallsSucceed) {
    const support::Environment nowhere("ORVEX_MODULE_PATH", ORVEX_LIBRARY_DIR "/orvex");
    uns32 number = 77;
    EXPECT_EQ(t_ox_ff_set_accum_num(0, 12), 1);
    EXPECT_EQ(t_ox_ff_get_accum_num(0, &number), 1);
    EXPECT_EQ(number, 77U);
}

}  // namespace
