// Statistics of the sensor with fixed seeds, filters, and the centroid finder.

#include <array>
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

// Five standard errors of a mean and of a variance, from a distribution's central moments.
void ExpectMoments(const Statistics& found, size_t count, double mean, double variance,
                   double fourth) {
    const auto samples = static_cast<double>(count);
    EXPECT_NEAR(found.mean, mean, 5 * std::sqrt(variance / samples));
    EXPECT_NEAR(found.variance, variance,
                5 * std::sqrt((fourth - variance * variance) / samples) + 1e-6 * variance);
}

// Sum of the squared differences to expected numbers, in units of their variance; numbers that are
// rarer than ten are taken together.
void ExpectChiSquare(const std::vector<double>& found, const std::vector<double>& expected) {
    double sum = 0, freedom = -1, rare_found = 0, rare_expected = 0;
    const auto add = [&](double f, double e) {
        sum += (f - e) * (f - e) / e;
        ++freedom;
    };
    for (size_t i = 0; i < found.size(); ++i) {
        if (expected[i] >= 10) {
            add(found[i], expected[i]);
        } else {
            rare_found += found[i];
            rare_expected += expected[i];
        }
    }
    if (rare_expected > 1) add(rare_found, rare_expected);
    EXPECT_LT(sum, freedom + 5 * std::sqrt(2 * freedom) + 5);
}

TEST(Noise, PoissonNumbersAreThoseOfTheDistribution) {
    for (const double mean : {1e-6, 1e-4, 0.01, 0.11, 0.5, 3.3, 15.9, 16.1, 40.0, 900.0, 30000.0}) {
        SCOPED_TRACE(mean);
        const size_t rounds = mean < 1e-3 ? 2048 : 512;
        softcam::Noise noise(42);
        std::vector<float> values(4096);
        std::vector<double> found(static_cast<size_t>(mean + 12 * std::sqrt(mean) + 20));
        for (size_t round = 0; round < rounds; ++round) {
            std::ranges::fill(values, static_cast<float>(mean));
            noise.Poisson(values);
            for (const float value : values) ++found.at(static_cast<size_t>(value));
        }
        const auto samples = static_cast<double>(rounds * values.size());
        Statistics moments;
        std::vector<double> expected(found.size());
        for (size_t k = 0; k < found.size(); ++k) {
            const auto number = static_cast<double>(k);
            expected[k] =
                samples * std::exp(number * std::log(mean) - mean - std::lgamma(number + 1));
            moments.mean += found[k] / samples * number;
            moments.variance += found[k] / samples * (number - mean) * (number - mean);
        }
        ExpectMoments(moments, rounds * values.size(), mean, mean, mean + 3 * mean * mean);
        ExpectChiSquare(found, expected);
    }
}

// Dim and bright pixels side by side don't change each other.
TEST(Noise, EveryPixelHasItsOwnMean) {
    softcam::Noise noise(3);
    std::array<Statistics, 3> found{};
    constexpr size_t each = 100 * 300;
    for (int round = 0; round < 300; ++round) {
        std::array<float, 300> values{};
        for (size_t i = 0; i < 300; ++i) values[i] = std::array{0.0F, 2.0F, 500.0F}[i % 3];
        noise.Poisson(values);
        for (size_t i = 0; i < 300; ++i) found[i % 3].mean += values[i] / each;
    }
    EXPECT_EQ(found[0].mean, 0);
    EXPECT_NEAR(found[1].mean, 2, 5 * std::sqrt(2.0 / each));
    EXPECT_NEAR(found[2].mean, 500, 5 * std::sqrt(500.0 / each));
}

TEST(Noise, NormalDeviatesAreNormal) {
    softcam::Noise noise(1);
    std::vector<float> values(1 << 21);
    noise.Normal(values);
    ExpectMoments(Of(values), values.size(), 0, 1, 3);
    constexpr size_t cells = 100;
    std::vector<double> found(cells), expected(cells);
    const auto below = [](double z) { return 0.5 * std::erfc(-z / std::sqrt(2.0)); };
    for (const float value : values)
        ++found[static_cast<size_t>(std::clamp((value + 5.0) * 10, 0.0, cells - 1.0))];
    for (size_t i = 0; i < cells; ++i) {
        const double z = static_cast<double>(i) / 10 - 5;
        expected[i] = (below(z + 0.1) - below(z)) * static_cast<double>(values.size());
    }
    ExpectChiSquare(found, expected);
}

// What one electron becomes is geometrically distributed, what more become is a sum of that.
TEST(Noise, AMultiplierGivesEachElectronItsOwnAvalanche) {
    constexpr double gain = 50, count = 1 << 18;
    softcam::Noise noise(8);
    for (const int electrons : {0, 1, 3, 200}) {
        std::vector<float> values(1 << 18, static_cast<float>(electrons));
        noise.Multiply(values, gain);
        const double variance = gain * (gain - 1);
        const double fourth = variance * (9 * variance + 1);
        ExpectMoments(Of(values), values.size(), electrons * gain, electrons * variance,
                      electrons * (fourth + 3 * (electrons - 1) * variance * variance));
        if (electrons != 1) continue;
        const auto unchanged = static_cast<double>(std::ranges::count(values, 1.0F));
        EXPECT_NEAR(unchanged, count / gain, 5 * std::sqrt(count / gain));
    }
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

// The electrons of a full well, or the last count of the bit depth, whatever comes first.
TEST_F(Physics, CountsEndAtBitDepthOrFullWell) {
    ASSERT_TRUE(Configure(noisy));
    EXPECT_THAT(Flat(Camera(), 10000), testing::Each(4095));
    // Sums are not held to it: what each pixel can show adds up, to the last of 16 bits.
    EXPECT_THAT(Flat(*cameras_[0], 10000, 2),
                testing::Each(testing::AllOf(testing::Gt(4 * 3900), testing::Lt(4 * 4095))));
    EXPECT_THAT(Flat(*cameras_[0], 10000, 8), testing::Each(65535));
    ASSERT_TRUE(cameras_[0]->Tell(SET_SPD_GAIN, 2, 1));
    const Statistics full = Of(Flat(*cameras_[0], 10000));
    EXPECT_NEAR(full.mean, 100 + 45000 / 11.3, 0.1);
    EXPECT_LT(full.variance, 1);
}

// 0.7 electrons a second at the set-point fill a pixel in five days, the next 42 add nothing.
TEST_F(Physics, DarkChargeEndsAtTheFullWell) {
    ASSERT_TRUE(Configure(R"({"time_scale": 0, "scene": {"kind": "flat", "level": 0},
                              "cameras": [{"model": "plain"}]})"));
    const client::Bytes program = client::Full({{OP_EXPOSE_SCALE, 60000},
                                                {OP_EXPOSE, 60000},
                                                {OP_EXPOSE, 60000},
                                                {OP_PARALLEL_DIS, 1},
                                                {OP_SERIAL_DISCARD, 10},
                                                {OP_SERIAL_CONVERT, 500},
                                                {OP_EOF},
                                                {OP_TERMINATE}});
    const auto pixels = client::Pixels(Camera().RunProgram(CLASS_CCL_SCRIPT, program, 1000));
    const Statistics row = Of(pixels);
    EXPECT_NEAR(row.mean, 400 + 300000 / 8.0, 1);
    EXPECT_LT(row.variance, 100);
}

// Of a frame into which the camera may be writing, as its hardware would; a checker for data races
// can't know that this does no harm.
__attribute__((noinline, no_sanitize("thread"))) double MeanInPassing(const client::Bytes& frame) {
    const volatile uint8_t* bytes = frame.data();
    double sum = 0;
    for (size_t i = 0; i < frame.size(); i += 2) sum += bytes[i] + 256 * bytes[i + 1];
    return sum / static_cast<double>(frame.size() / 2);
}

// The dark current follows the sensor's temperature within a run.
TEST_F(Physics, EveryExposureHasItsOwnTemperature) {
    ASSERT_TRUE(Configure(R"({"time_scale": 0, "scene": {"kind": "flat", "level": 0},
                              "noise_frames": 0, "cameras": [{"model": "cmos"}]})"));
    client::Connection& camera = Camera();
    const client::Run run{
        .regions = {{0, 63, 1, 0, 63, 1}}, .buffer_mode = CIRC_OVERWRITE, .exposure = 100000};
    camera.Tell(SET_TEMP, 2000, 2);
    client::Bytes frame(64 * 64 * 2);
    ASSERT_TRUE(camera.Send(CLASS_SIMPLIFIED_CCL, run.Program(), 5000));
    ASSERT_TRUE(camera.Receive(frame, 64 * 64 * 2, true) && camera.Execute());
    EXPECT_TRUE(support::Eventually([&] { return MeanInPassing(frame) > 500; }));
    camera.Tell(SET_TEMP, static_cast<uint16_t>(-1500), 2);
    EXPECT_TRUE(support::Eventually([&] { return MeanInPassing(frame) < 150; }));
    camera.Idle();
}

TEST_F(Physics, FramesAtFullSpeedDifferAsOftenAsConfigured) {
    ASSERT_TRUE(
        Configure(R"({"time_scale": 0, "noise_frames": 3, "cameras": [{"model": "cmos"}]})"));
    const client::Run run{.frames = 5, .regions = {{0, 31, 1, 0, 31, 1}}};
    const client::Bytes all = Camera().RunProgram(CLASS_SIMPLIFIED_CCL, run.Program(), 2048, 5);
    ASSERT_EQ(all.size(), 5u * 2048);
    const auto equal = [&](size_t a, size_t b) {
        return std::equal(&all[a * 2048], &all[a * 2048] + 2048, &all[b * 2048]);
    };
    EXPECT_FALSE(equal(0, 1) || equal(1, 2) || equal(0, 2));
    EXPECT_TRUE(equal(0, 3) && equal(1, 4));
}

TEST_F(Physics, FramesThatComeTooLateAreCounted) {
    ASSERT_TRUE(Configure(R"({"time_scale": 1e-6, "cameras": [{"model": "cmos"}]})"));
    const client::Run run{.frames = 4, .regions = {{0, 2047, 1, 0, 2047, 1}}};
    ASSERT_FALSE(Camera().RunProgram(CLASS_SIMPLIFIED_CCL, run.Program(), 1 << 23, 4).empty());
    EXPECT_EQ(cameras_[0]->Console("pace").substr(0, 2), "4 ");
    cameras_[0]->Console("time_scale 0");
    ASSERT_FALSE(cameras_[0]->RunProgram(CLASS_SIMPLIFIED_CCL, run.Program(), 1 << 23, 4).empty());
    EXPECT_EQ(cameras_[0]->Console("pace"), "0 0");
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
    auto all = firmware::InitialSettings(softcam::FindType("cmos")->model).filter_values;
    all[feature] = std::move(values);
    return all;
}

softcam::Image Row(const std::vector<uint16_t>& pixels) {
    softcam::Image image(static_cast<uint32_t>(pixels.size()), 1);
    image.pixels = pixels;
    return image;
}

TEST(Filters, DoWhatTheirNamesSay) {
    const firmware::Model& model = softcam::FindType("cmos")->model;
    firmware::Settings settings = firmware::InitialSettings(model);
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
    for (const uint16_t pixel : std::vector<uint16_t>{90, 0, 0, 90, 90, 90}) {
        const softcam::Image row = Row({pixel});
        left.push_back(background.Without(row).pixels[0]);
    }
    EXPECT_EQ(left, (std::vector<uint16_t>{90, 0, 0, 60, 60, 30}));
}

TEST(Centroids, ATrackedSpotKeepsItsNumber) {
    softcam::SpotTracker tracker;
    std::vector<firmware::Spot> spots(2);
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
