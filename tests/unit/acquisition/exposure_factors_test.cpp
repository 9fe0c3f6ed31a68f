#include <gtest/gtest.h>
#include <string>

#include "acquisition/generator.h"

struct FactorCase {
    const char* name;
    int32 resolution;
    int16 exp_mode;
    uns32 exposure_time;
    uns16 scale;
    uns16 count;
    uns16 shtr_open_mode = OPEN_PRE_EXPOSURE;
};

class ExposureFactors : public testing::TestWithParam<FactorCase> {};

TEST_P(ExposureFactors, Split) {
    active_camera_type camera;
    camera.exp_res = GetParam().resolution;
    camera.shtr_open_mode = GetParam().shtr_open_mode;
    camera.shtr_open_delay = 20;
    camera.shtr_close_delay = 30;
    const bv::ExposureFactors factors =
        bv::SplitExposure(camera, GetParam().exp_mode, GetParam().exposure_time);
    EXPECT_EQ(factors.scale, GetParam().scale);
    EXPECT_EQ(factors.count, GetParam().count);
}

constexpr int32 ms = EXP_RES_ONE_MILLISEC;
constexpr int32 us = EXP_RES_ONE_MICROSEC;

INSTANTIATE_TEST_SUITE_P(
    Cases, ExposureFactors,
    testing::Values(FactorCase{"None", ms, TIMED_MODE, 0, 0, 0},
                    FactorCase{"Bulb", ms, BULB_MODE, 500, 0, 0},
                    FactorCase{"Flash", ms, FLASH_MODE, 500, 500, 1},
                    FactorCase{"LargestSingle", ms, TIMED_MODE, 65535, 65535, 1},
                    FactorCase{"SmallestHalved", ms, TIMED_MODE, 65536, 32768, 2},
                    FactorCase{"Seconds", ms, TIMED_MODE, 70000, 1000, 70},
                    FactorCase{"Minutes", ms, TIMED_MODE, 120000, 60000, 2},
                    FactorCase{"OddTimeLosesABit", ms, TIMED_MODE, 70001, 35000, 2},
                    FactorCase{"LastExactSecond", ms, TIMED_MODE, 65534000, 1000, 65534},
                    FactorCase{"SecondsTooMany", ms, TIMED_MODE, 65535000, 63999, 1024},
                    FactorCase{"CountWrapsWhenHalved", ms, TIMED_MODE, 0xFFFFFFFF, 65535, 0},
                    FactorCase{"MicrosecondsHaveNoMinutes", us, TIMED_MODE, 120000, 1000, 120},
                    FactorCase{"MicrosecondsHaveNoLimit", us, TIMED_MODE, 65537000, 1000, 1},
                    FactorCase{"DarkFrame", ms, TIMED_MODE, 65480, 65530, 1, OPEN_NEVER},
                    FactorCase{"DarkFrameGrowsPastTheLimit", ms, TIMED_MODE, 69950, 1000, 70,
                               OPEN_NEVER}),
    [](const auto& test) { return std::string(test.param.name); });
