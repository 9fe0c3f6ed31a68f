// The modules of the sample plug-in as post-processing features behind those of the camera.
#include <gtest/gtest.h>
#include <string>

#include "plugin_camera.h"

namespace {

using Plugins = PluginCamera::Plugins;

constexpr int16 camera_features = 4;  // of the cmos model

TEST(PluginParameters, ModulesStandBehindTheFeaturesOfTheCamera) {
    const PluginCamera camera(Plugins::samples, {});
    EXPECT_EQ(camera.Get<uns32>(PARAM_PP_INDEX, ATTR_COUNT), camera_features + 2U);
    EXPECT_EQ(camera.Get<int16>(PARAM_PP_INDEX, ATTR_MAX), camera_features + 1);

    const char* names[] = {"Background Subtraction", "Despeckle Bright",  "Median Filter",
                           "Rolling Average",        "Hot Pixel Removal", "Running Average"};
    int16 index = 0;
    for (const char* name : names) {
        camera.Set(PARAM_PP_INDEX, index);
        EXPECT_EQ(camera.Text(PARAM_PP_FEAT_NAME), name);
        EXPECT_EQ(camera.Get<uns32>(PARAM_PP_FEAT_NAME, ATTR_COUNT), std::string(name).size() + 1);
        EXPECT_EQ(camera.Get<int16>(PARAM_PP_INDEX), index);
        EXPECT_EQ(camera.Get<uns32>(PARAM_PP_INDEX, ATTR_COUNT), camera_features + 2U) << name;
        ++index;
    }

    // Features of a plug-in have no ids.
    uns32 id = 0;
    EXPECT_EQ(ox_get_param(camera.handle(), PARAM_PP_FEAT_ID, ATTR_CURRENT, &id), 0);
    EXPECT_EQ(ox_error_code(), 0);
}

struct Expected {
    int16 module;
    int16 parameter;
    const char* name;
    uns32 min, max, standard;
};

class PluginParameter : public testing::TestWithParam<Expected> {};

INSTANTIATE_TEST_SUITE_P(All, PluginParameter,
                         testing::Values(Expected{0, 0, "ENABLED", 0, 1, 0},
                                         Expected{0, 1, "THRESHOLD", 0, 65535, 200},
                                         Expected{1, 0, "ENABLED", 0, 1, 0},
                                         Expected{1, 1, "FRAMES", 1, 16, 4}));

TEST_P(PluginParameter, KeepsWhatLiesInItsRange) {
    const Expected& expected = GetParam();
    const PluginCamera camera(Plugins::samples, {});
    camera.Set(PARAM_PP_INDEX, static_cast<int16>(camera_features + expected.module));
    EXPECT_EQ(camera.Get<uns32>(PARAM_PP_PARAM_INDEX, ATTR_COUNT), 2U);
    camera.Set(PARAM_PP_PARAM_INDEX, expected.parameter);
    EXPECT_EQ(camera.Text(PARAM_PP_PARAM_NAME), expected.name);
    EXPECT_EQ(camera.Get<uns32>(PARAM_PP_PARAM), expected.standard);
    EXPECT_EQ(camera.Get<uns32>(PARAM_PP_PARAM, ATTR_MIN), expected.min);
    EXPECT_EQ(camera.Get<uns32>(PARAM_PP_PARAM, ATTR_MAX), expected.max);
    EXPECT_EQ(camera.Get<uns32>(PARAM_PP_PARAM, ATTR_DEFAULT), expected.standard);

    camera.Set(PARAM_PP_PARAM, expected.max);
    EXPECT_EQ(camera.Get<uns32>(PARAM_PP_PARAM), expected.max);
    uns32 beyond = expected.max + 1;
    EXPECT_EQ(ox_set_param(camera.handle(), PARAM_PP_PARAM, &beyond), 0);
    EXPECT_EQ(camera.Get<uns32>(PARAM_PP_PARAM), expected.max);

    camera.Require(ox_pp_reset(camera.handle()), "reset");
    camera.Set(PARAM_PP_INDEX, static_cast<int16>(camera_features + expected.module));
    camera.Set(PARAM_PP_PARAM_INDEX, expected.parameter);
    EXPECT_EQ(camera.Get<uns32>(PARAM_PP_PARAM), expected.standard);
}

}  // namespace
