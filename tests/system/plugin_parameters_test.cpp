// The modules of the sample plug-in as post-processing features behind those of the camera.
#include <array>
#include <gtest/gtest.h>

#include "plugin_camera.h"

namespace {

struct Expected {
    int16 module;
    const char* feature;
    const char* name;
    uns32 min, max, standard;
};

const Expected parameters[] = {{0, "Hot Pixel Removal", "THRESHOLD", 0, 65535, 200},
                               {1, "Running Average", "FRAMES", 1, 16, 4}};

TEST(PluginParameters, KeepWhatLiesInTheirRanges) {
    for (const Expected& expected : parameters) {
        const PluginCamera camera;
        const auto select = [&] {
            camera.Set(PARAM_PP_INDEX,
                       static_cast<int16>(PluginCamera::camera_features + expected.module));
            camera.Set(PARAM_PP_PARAM_INDEX, int16{1});
        };
        select();
        using Text = std::array<char, 256>;
        EXPECT_STREQ(camera.Get<Text>(PARAM_PP_FEAT_NAME).data(), expected.feature);
        EXPECT_STREQ(camera.Get<Text>(PARAM_PP_PARAM_NAME).data(), expected.name);
        EXPECT_EQ(camera.Get<uns32>(PARAM_PP_PARAM_INDEX, ATTR_COUNT), 2U);
        EXPECT_EQ(camera.Get<uns32>(PARAM_PP_PARAM, ATTR_MIN), expected.min);
        EXPECT_EQ(camera.Get<uns32>(PARAM_PP_PARAM, ATTR_MAX), expected.max);
        EXPECT_EQ(camera.Get<uns32>(PARAM_PP_PARAM, ATTR_DEFAULT), expected.standard);

        camera.Set(PARAM_PP_PARAM, expected.max);
        uns32 beyond = expected.max + 1;
        EXPECT_EQ(ox_set_param(camera.handle(), PARAM_PP_PARAM, &beyond), 0);
        EXPECT_EQ(camera.Get<uns32>(PARAM_PP_PARAM), expected.max);
        camera.Require(ox_pp_reset(camera.handle()), "reset");
        select();
        EXPECT_EQ(camera.Get<uns32>(PARAM_PP_PARAM), expected.standard);
    }
}

}  // namespace
