// Statistics of the sensor with fixed seeds, filters, and the centroid finder.

#include <cmath>
#include <gmock/gmock.h>

#include "softcam/centroid_finder.h"
#include "softcam/filters.h"
#include "softcam/noise.h"

#include "module_fixture.h"

namespace {

struct Statistics {
    double mean = 0;
    double variance = 0;
};

template <typename Values>
Statistics Of(const Values& values) {
    double sum = 0;
    double squares = 0;
    for (const auto value : values) {
        sum += value;
        squares += static_cast<double>(value) * value;
    }
    const auto count = static_cast<double>(values.size());
    return {.mean = sum / count, .variance = squares / count - sum / count * (sum / count)};
}

class PoissonMeans : public testing::TestWithParam<float> {};

TEST_P(PoissonMeans, MeanAndVarianceAreEqual) {
    constexpr size_t count = 400000;
    softcam::Noise noise(42);
    std::vector<uint32_t> values(count);
    for (uint32_t& value : values) value = noise.Poisson(GetParam());
    const Statistics found = Of(values);
    const double mean = GetParam();
    // Four standard errors, and the grain of the tables.
    EXPECT_NEAR(found.mean, mean, 4 * std::sqrt(mean / count) + 0.01);
    EXPECT_NEAR(found.variance / mean, 1.0, 0.03);
}

INSTANTIATE_TEST_SUITE_P(All, PoissonMeans,
                         testing::Values(0.3F, 1.0F, 3.3F, 12.0F, 29.9F, 33.0F, 400.0F, 9000.0F));

TEST(Noise, NormalDeviatesAreNormal) {
    softcam::Noise noise(1);
    std::vector<float> values(400000);
    size_t outside = 0;
    for (float& value : values) {
        value = noise.Normal();
        if (std::fabs(value) > 2.0F) ++outside;
    }
    EXPECT_NEAR(Of(values).mean, 0.0, 0.008);
    EXPECT_NEAR(Of(values).variance, 1.0, 0.02);
    EXPECT_NEAR(static_cast<double>(outside) / 400000.0, 0.0455, 0.002);
}

class Physics : public ModuleTest {
  protected:
    // A frame of a flat scene of 1000 units, at 20 electrons per unit and second.
    std::vector<uint16_t> Flat(client::Connection& camera, uint32_t exposure_ms, uint16_t bin = 1) {
        const uint32_t side = 256u / bin;
        const client::Run run{.regions = {{0, 255, bin, 0, 255, bin}}, .exposure = exposure_ms};
        return client::Pixels(
            camera.RunProgram(CLASS_SIMPLIFIED_CCL, run.Program(), side * side * 2));
    }
    static constexpr const char* noisy =
        R"({"time_scale": 0, "scene": {"kind": "flat", "level": 1000}, "seed": 9,
            "cameras": [{"model": "cmos"}, {"model": "cmos", "name": "Twin"},
                        {"model": "cmos", "name": "Other", "seed": 10}]})";
};

TEST_F(Physics, SignalAndNoiseFollowTheDataSheet) {
    ASSERT_TRUE(Configure(noisy));
    client::Connection& camera = Camera();
    // 20 electrons per unit and second: 200 in 10 ms; bias 100, 1.6 electrons read noise, one
    // electron a count. The fraction of a count adds a twelfth.
    const Statistics one = Of(Flat(camera, 10));
    EXPECT_NEAR(one.mean, 100 + 200, 0.5);
    EXPECT_NEAR(one.variance, 200 + 1.6 * 1.6 + 1.0 / 12, 8);
    const Statistics binned = Of(Flat(camera, 10, 2));
    EXPECT_NEAR(binned.mean, 100 + 4 * 200, 1.0);
    EXPECT_NEAR(binned.variance, 4 * (200 + 1.6 * 1.6), 60);
    // Twice the gain: half as many electrons in a count.
    ASSERT_TRUE(camera.Tell(SET_SPD_GAIN, 2, 1));
    const Statistics gained = Of(Flat(camera, 10));
    EXPECT_NEAR(gained.mean, 100 + 400, 1.0);
    EXPECT_NEAR(gained.variance, 4 * (200 + 1.6 * 1.6), 32);
}

// Sums of pixels are not held to it: what each of them can show adds up, to the last of 16 bits.
TEST_F(Physics, CountsEndAtTheBitDepthOfEachPixel) {
    ASSERT_TRUE(Configure(noisy));
    client::Connection& camera = Camera();
    EXPECT_THAT(Flat(camera, 10000), testing::Each(4095));
    EXPECT_THAT(Flat(camera, 10000, 2), testing::Each(testing::Gt(4 * 3900)));
    EXPECT_THAT(Flat(camera, 10000, 2), testing::Each(testing::Lt(4 * 4095)));
    EXPECT_THAT(Flat(camera, 10000, 8), testing::Each(65535));
}

// A command that comes behind the start, even in the same message, is for the next run.
TEST_F(Physics, ARunKeepsTheSettingsThatItBeganWith) {
    ASSERT_TRUE(Configure(noisy));
    client::Connection& camera = Camera();
    ASSERT_TRUE(camera.Send(CLASS_HOST_COMMANDS, {SET_PP_PARAM_IDX, 0, 1, SET_PP_PARAM, 0, 0, 0,
                                                  250, SET_PP_PARAM_IDX, 0, 0}));
    const client::Run run{.regions = {{0, 255, 1, 0, 255, 1}}};
    client::Bytes frame(256 * 256 * 2);
    for (const double mean : {300, 50}) {
        ASSERT_TRUE(camera.Send(CLASS_SIMPLIFIED_CCL, run.Program()));
        ASSERT_TRUE(camera.Receive(frame, 256 * 256 * 2, false));
        ASSERT_TRUE(camera.Send(CLASS_HOST_COMMANDS,
                                {EXECUTE_CCL, SET_PP_PARAM, 0, 0, 0, 1, SET_TEMP, 0, 0}));
        EXPECT_EQ(camera.Console("seed 5"), "ok");
        ASSERT_TRUE(camera.WaitComplete());
        EXPECT_NEAR(Of(client::Pixels(frame)).mean, mean, 1.0);
    }
}

TEST_F(Physics, TheSameSeedRepeatsAFrame) {
    ASSERT_TRUE(Configure(noisy));
    const auto first = Flat(Camera(0), 10);
    EXPECT_EQ(first, Flat(Camera(1), 10));
    EXPECT_NE(first, Flat(Camera(2), 10));
}

std::vector<std::vector<uint32_t>> FilterValues(size_t feature, std::vector<uint32_t> values) {
    auto all = softcam::InitialSettings(*softcam::FindModel("cmos")).filter_values;
    all[feature] = std::move(values);
    return all;
}

softcam::Image Row(const std::vector<uint16_t>& pixels) {
    softcam::Image image(static_cast<uint32_t>(pixels.size()), 1);
    image.pixels = pixels;
    return image;
}

TEST(Filters, DoWhatTheirNamesSay) {
    const softcam::Model& model = *softcam::FindModel("cmos");
    softcam::Settings settings = softcam::InitialSettings(model);
    const std::vector<uint16_t> source = {10, 10, 90, 10, 25};
    const auto filtered = [&](size_t feature, std::vector<uint32_t> values) {
        settings.filter_values = FilterValues(feature, std::move(values));
        softcam::Image image = Row(source);
        softcam::FilterChain(model, settings).Apply(image);
        return image.pixels;
    };
    EXPECT_EQ(filtered(0, {0, 100}), source);
    EXPECT_EQ(filtered(0, {1, 15}), (std::vector<uint16_t>{0, 0, 75, 0, 10}));
    EXPECT_EQ(filtered(1, {1, 300}), (std::vector<uint16_t>{10, 10, 10, 10, 25}));
    EXPECT_EQ(filtered(2, {1}), (std::vector<uint16_t>{10, 10, 10, 25, 25}));

    settings.filter_values = FilterValues(3, {2});
    softcam::FilterChain average(model, settings);
    softcam::Image image = Row({10, 20});
    average.Apply(image);
    image = Row({30, 40});
    average.Apply(image);
    EXPECT_EQ(image.pixels, (std::vector<uint16_t>{20, 30}));
}

TEST(Centroids, FindsSpotsWhereTheyAre) {
    softcam::Image image(100, 80);
    std::fill(image.pixels.begin(), image.pixels.end(), uint16_t{50});
    const auto spot = [&](uint32_t x, uint32_t y, uint16_t peak) {
        for (uint32_t dy = 0; dy < 3; ++dy)
            for (uint32_t dx = 0; dx < 3; ++dx)
                image.At(x + dx - 1, y + dy - 1) =
                    static_cast<uint16_t>(dx == 1 && dy == 1 ? peak : peak / 2 + 25);
    };
    spot(20, 30, 1000);
    spot(70, 60, 2000);
    spot(23, 30, 500);  // within the first one's diameter
    spot(50, 10, 100);  // too faint
    const auto spots = softcam::FindSpots(image, 3, 10, 200);
    ASSERT_EQ(spots.size(), 2u);
    EXPECT_EQ(spots[0].column, 70u);
    EXPECT_EQ(spots[0].row, 60u);
    EXPECT_NEAR(spots[1].column, 20, 1);
    EXPECT_EQ(spots[1].row, 30u);
    EXPECT_EQ(softcam::FindSpots(image, 3, 1, 200).size(), 1u);
}

TEST(Centroids, TheAverageOfTheFramesBeforeIsTakenOff) {
    softcam::BackgroundFrames background(4);
    std::vector<uint16_t> left;
    for (const uint16_t pixel : std::vector<uint16_t>{90, 0, 0, 90, 90, 90})
        left.push_back(background.Without(Row({pixel})).pixels[0]);
    EXPECT_EQ(left, (std::vector<uint16_t>{90, 0, 0, 60, 60, 30}));
}

TEST(Centroids, ATrackedSpotKeepsItsNumber) {
    softcam::SpotTracker tracker;
    std::vector<softcam::Spot> spots(2);
    spots[0].column = 10;
    spots[1].column = 50;
    tracker.Number(spots, 3);
    const uint32_t first = spots[0].id;
    const uint32_t second = spots[1].id;
    EXPECT_NE(first, second);
    spots[0].column = 54;
    spots[1].column = 12;
    tracker.Number(spots, 3);
    EXPECT_EQ(spots[0].id, second);
    EXPECT_EQ(spots[1].id, first);
    spots[0].column = 90;
    tracker.Number(spots, 3);
    EXPECT_GT(spots[0].id, second);
}

struct Seen {
    const char* scene;
    uint8_t background;  // choice of the count of background frames
    bool later;          // spots are found in the second frame too
};

class LocatedSpots : public Physics, public testing::WithParamInterface<Seen> {};
INSTANTIATE_TEST_SUITE_P(All, LocatedSpots,
                         testing::Values(Seen{"beads", 0, true}, Seen{"beads", 1, true},
                                         Seen{"stars", 0, true}, Seen{"stars", 1, false}));

// Each located square shows its brightest pixel in the middle. With background frames only what
// moves is found.
TEST_P(LocatedSpots, LieInTheMiddleOfTheirSquares) {
    ASSERT_TRUE(Configure(std::string(R"({"noise": false, "time_scale": 0, "seed": 4,
                              "scene": {"count": 30, "speed": 5000, "kind": ")") +
                          GetParam().scene + R"("}, "cameras": [{"model": "cmos"}]})"));
    client::Connection& camera = Camera();
    constexpr uint32_t radius = 5, count = 5, side = 2 * radius + 1;
    camera.Tell(SET_METADATA_ENABLED, 1, 2);
    camera.Tell(SET_CENTROIDS_RADIUS, radius, 2);
    camera.Tell(SET_CENTROIDS_COUNT, count, 2);
    camera.Tell(SET_CENTROIDS_BG_COUNT, GetParam().background, 2);
    camera.Tell(SET_CENTROIDS_ENABLED, 1, 2);
    constexpr uint32_t block = 32 + 16 + side * side * 2, size = 48 + count * block;
    const client::Run run{.frames = 2, .regions = {{0, 2047, 1, 0, 2047, 1}}};
    const client::Bytes frames = camera.RunProgram(CLASS_SIMPLIFIED_CCL, run.Program(), size, 2);
    ASSERT_FALSE(frames.empty());
    EXPECT_EQ(frames[size + 48 + 22] == 0, GetParam().later);
    const std::span frame = std::span(frames).first(size);
    for (uint32_t i = 0; i < count; ++i) {
        const uint8_t* header = &frame[48 + i * block];
        rgn_type square{};
        std::memcpy(&square, header + 10, sizeof(square));
        ASSERT_EQ(header[22], 0);
        EXPECT_EQ(square.s2 - square.s1, 2 * static_cast<int>(radius));
        const auto pixels = client::Pixels({header + 48, side * side * 2});
        const auto brightest = std::max_element(pixels.begin(), pixels.end()) - pixels.begin();
        EXPECT_GT(*std::max_element(pixels.begin(), pixels.end()), 200);
        if (square.s1 == 0 || square.p1 == 0 || square.s2 == 2047 || square.p2 == 2047) continue;
        EXPECT_NEAR(static_cast<double>(brightest % side), radius, 1);
        EXPECT_NEAR(static_cast<double>(brightest / side), radius, 1);
    }
}

}  // namespace
