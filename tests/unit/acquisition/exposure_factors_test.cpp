#include <gtest/gtest.h>

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

constexpr int32 ms = EXP_RES_ONE_MILLISEC;
constexpr int32 us = EXP_RES_ONE_MICROSEC;

const FactorCase factor_cases[] = {
    {"None", ms, TIMED_MODE, 0, 0, 0},
    {"Bulb", ms, BULB_MODE, 500, 0, 0},
    {"Flash", ms, FLASH_MODE, 500, 500, 1},
    {"LargestSingle", ms, TIMED_MODE, 65535, 65535, 1},
    {"SmallestHalved", ms, TIMED_MODE, 65536, 32768, 2},
    {"Seconds", ms, TIMED_MODE, 70000, 1000, 70},
    {"Minutes", ms, TIMED_MODE, 120000, 60000, 2},
    {"OddTimeLosesABit", ms, TIMED_MODE, 70001, 35000, 2},
    {"LastExactSecond", ms, TIMED_MODE, 65534000, 1000, 65534},
    {"SecondsTooMany", ms, TIMED_MODE, 65535000, 63999, 1024},
    {"CountWrapsWhenHalved", ms, TIMED_MODE, 0xFFFFFFFF, 65535, 0},
    {"MicrosecondsHaveNoMinutes", us, TIMED_MODE, 120000, 1000, 120},
    {"MicrosecondsHaveNoLimit", us, TIMED_MODE, 65537000, 1000, 1},
    {"DarkFrame", ms, TIMED_MODE, 65480, 65530, 1, OPEN_NEVER},
    {"DarkFrameGrowsPastTheLimit", ms, TIMED_MODE, 69950, 1000, 70, OPEN_NEVER}};

TEST(ExposureFactors, Split) {
    for (const FactorCase& row : factor_cases) {
        SCOPED_TRACE(row.name);
        active_camera_type camera;
        camera.exp_res = row.resolution;
        camera.shtr_open_mode = row.shtr_open_mode;
        camera.shtr_open_delay = 20;
        camera.shtr_close_delay = 30;
        const auto factors = bv::SplitExposure(camera, row.exp_mode, row.exposure_time);
        EXPECT_EQ(factors.scale, row.scale);
        EXPECT_EQ(factors.count, row.count);
    }
}
