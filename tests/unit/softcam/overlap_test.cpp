// When frames of a moving scene were exposed can be seen in them.
#include "orvex/orvex_types.h"

#include "softcam/scene.h"

#include "module_fixture.h"

namespace {

struct Timing {
    uint32_t clear_mode;
    uint32_t clear_count;
    uint32_t exposure_ms;
    double period;  // between exposures, seconds
};

class Overlap : public ModuleTest, public testing::WithParamInterface<Timing> {};

// 200 rows are read in 2 ms, a clear takes 2.048.
INSTANTIATE_TEST_SUITE_P(All, Overlap,
                         testing::Values(Timing{CLEAR_NEVER, 2, 50, 0.050},
                                         Timing{CLEAR_NEVER, 2, 1, 0.002},
                                         Timing{CLEAR_PRE_SEQUENCE, 2, 50, 0.050},
                                         Timing{CLEAR_PRE_EXPOSURE, 0, 50, 0.050},
                                         Timing{CLEAR_PRE_EXPOSURE, 2, 50, 0.052 + 2 * 0.002048}));

TEST_P(Overlap, ExposureRunsDuringReadoutUnlessCleared) {
    ASSERT_TRUE(Configure(R"({"noise": false, "time_scale": 0, "seed": 4,
        "scene": {"kind": "beads", "speed": 5000}, "cameras": [{"model": "cmos"}]})"));
    const Timing& timing = GetParam();
    constexpr uint32_t columns = 400, rows = 200, frames = 4;
    const client::Bytes bytes =
        Camera().RunProgram(CLASS_SIMPLIFIED_CCL,
                            client::Simplified({{OP_FRAME_COUNT, frames},
                                                {OP_EXPOSURETIME, timing.exposure_ms},
                                                {OP_SENSOR_CLEAR_MODE, timing.clear_mode},
                                                {OP_SENSOR_CLEAR_COUNT, timing.clear_count},
                                                {OP_SUB_ROI_COUNT, 1},
                                                {OP_BIN_X, 1},
                                                {OP_BIN_Y, 1},
                                                {OP_IMGCOORD_TOPL_X, 0},
                                                {OP_IMGCOORD_TOPL_Y, 0},
                                                {OP_IMGCOORD_BOTR_X, columns - 1},
                                                {OP_IMGCOORD_BOTR_Y, rows - 1}}),
                            columns * rows * 2, frames);
    ASSERT_FALSE(bytes.empty());
    const std::vector<uint16_t> pixels = client::Pixels(bytes);

    constexpr auto frame_pixels = std::ptrdiff_t{columns} * rows;
    EXPECT_FALSE(
        std::equal(pixels.begin(), pixels.begin() + frame_pixels, pixels.begin() + frame_pixels))
        << "nothing moved";

    std::string message;
    softcam::SceneChoice choice;
    choice.kind = softcam::SceneKind::beads;
    choice.speed = 5000;
    const auto scene = softcam::MakeScene(choice, 2048, 2048, 4, message);
    const double first = timing.clear_mode == CLEAR_NEVER ? 0 : timing.clear_count * 0.002048;
    for (uint32_t frame = 0; frame < frames; ++frame) {
        const softcam::Image& image = scene->At(first + frame * timing.period);
        for (uint32_t row = 0; row < rows; ++row) {
            const auto* expected = &image.pixels[size_t{row} * image.columns];
            const auto* seen = &pixels[(size_t{frame} * rows + row) * columns];
            ASSERT_TRUE(std::equal(seen, seen + columns, expected))
                << "frame " << frame << ", row " << row;
        }
    }
}

}  // namespace
