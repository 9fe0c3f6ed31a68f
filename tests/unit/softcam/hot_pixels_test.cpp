#include "softcam/hot_pixels.h"

#include <set>

#include "module_fixture.h"

namespace {

using HotPixels = ModuleTest;

constexpr uint32_t x = 100, y = 200, side = 256;

// Places, in binned pixels of the region, whose counts stand far above the dark scene.
std::set<std::pair<uint32_t, uint32_t>> Bright(client::Connection& camera, uint32_t bin) {
    const auto b = static_cast<uint16_t>(bin);
    const client::Run run{.regions = {{x, x + side - 1, b, y, y + side - 1, b}}, .exposure = 2000};
    const auto pixels = client::Pixels(
        camera.RunProgram(CLASS_SIMPLIFIED_CCL, run.Program(), side / bin * side / bin * 2));
    std::set<std::pair<uint32_t, uint32_t>> places;
    for (uint32_t i = 0; i < pixels.size(); ++i)
        if (pixels[i] > 1000) places.emplace(i / (side / bin), i % (side / bin));
    return places;
}

TEST_F(HotPixels, GlowWhereTheSeedSaysAtEveryBinning) {
    ASSERT_TRUE(Configure(R"({"time_scale": 0, "scene": {"kind": "flat", "level": 0}, "seed": 3,
                              "hot_pixels": 20000, "cameras": [{"model": "cmos"}]})"));
    client::Connection& camera = Camera();
    for (const uint32_t bin : {1u, 2u}) {
        std::set<std::pair<uint32_t, uint32_t>> expected;
        for (const softcam::HotPixel& hot :
             softcam::MakeHotPixels(softcam::FindType("cmos")->model.geometry, 20000, 3)) {
            if (hot.column < x || hot.column >= x + side || hot.row < y || hot.row >= y + side)
                continue;
            expected.emplace((hot.row - y) / bin, (hot.column - x) / bin);
        }
        EXPECT_GT(expected.size(), 200u);
        EXPECT_EQ(Bright(camera, bin), expected) << "binning " << bin;
    }
    cameras_.clear();
    ASSERT_TRUE(Configure(R"({"time_scale": 0, "scene": {"kind": "flat", "level": 0}, "seed": 3,
                              "noise": false, "hot_pixels": 20000, "cameras": [{"model": "cmos"}]})"));
    EXPECT_TRUE(Bright(Camera(), 1).empty());
}

}  // namespace
