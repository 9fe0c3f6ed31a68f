// The software camera measured as an instrument: what its data sheet says, out of its frames alone.
// Bounds are five standard errors of what is estimated.
#include <cmath>
#include <gtest/gtest.h>

#include "run_camera.h"

namespace {

constexpr uns16 side = 256;
constexpr double pixels = side * side;
constexpr double flux = 20;  // electrons per second and unit of brightness

// Two exposures, and what their sum and difference tell. The difference has no fixed pattern in it.
struct Pair {
    double mean = 0;
    double variance = 0;    // of one frame
    double covariance = 0;  // of the two, which is that of the pattern

    double MeanError() const { return std::sqrt(variance / 2 / pixels); }
    double VarianceError() const { return variance * std::sqrt(2 / pixels); }
};

class Bench {
  public:
    explicit Bench(const std::string& model) : camera_(model) {
        camera_.Console("noise on");
        camera_.Console("seed 20");
    }

    void Light(unsigned level) const { camera_.Console("scene flat " + std::to_string(level)); }
    template <typename Value>
    void Set(uns32 id, Value value) const {
        EXPECT_EQ(ox_set_param(camera_.handle(), id, &value), 1) << ox_error_code();
    }
    double Get(uns32 id) const {
        uns16 value = 0;
        EXPECT_EQ(ox_get_param(camera_.handle(), id, ATTR_CURRENT, &value), 1) << ox_error_code();
        return value;
    }

    Pair Snap(uns32 exposure_ms, uns16 bin = 1) const {
        const auto last = static_cast<uns16>(side * bin - 1);
        const rgn_type region{.s1 = 0, .s2 = last, .sbin = bin, .p1 = 0, .p2 = last, .pbin = bin};
        uns32 bytes = 0;
        EXPECT_EQ(
            ox_exp_setup_seq(camera_.handle(), 2, 1, &region, TIMED_MODE, exposure_ms, &bytes), 1)
            << ox_error_code();
        std::vector<uns16> frames(bytes / 2);
        EXPECT_EQ(ox_exp_start_seq(camera_.handle(), frames.data()), 1);
        EXPECT_TRUE(support::Eventually([&] {
            int16 status = 0;
            uns32 arrived = 0;
            return ox_exp_check_status(camera_.handle(), &status, &arrived) &&
                   status == READOUT_COMPLETE;
        }));
        EXPECT_EQ(ox_exp_finish_seq(camera_.handle(), frames.data(), 0), 1);
        return Compare(frames);
    }

  private:
    static Pair Compare(const std::vector<uns16>& frames) {
        const uns16* const a = frames.data();
        const uns16* const b = a + frames.size() / 2;
        double sum = 0, sum_squares = 0, difference = 0, difference_squares = 0;
        for (size_t i = 0; i < frames.size() / 2; ++i) {
            const double both = (a[i] + b[i]) / 2.0;
            const double apart = a[i] - b[i];
            sum += both;
            sum_squares += both * both;
            difference += apart;
            difference_squares += apart * apart;
        }
        Pair pair;
        pair.mean = sum / pixels;
        pair.variance = (difference_squares / pixels - std::pow(difference / pixels, 2)) / 2;
        pair.covariance = sum_squares / pixels - pair.mean * pair.mean - pair.variance / 2;
        return pair;
    }

    RunCamera camera_;
};

// Of normal deviates around a whole number that are rounded to one.
double RoundedVariance(double sigma) {
    const auto below = [&](double x) { return 0.5 * std::erfc(-x / sigma / std::sqrt(2.0)); };
    double variance = 0;
    for (double k = -99; k < 100; ++k) variance += k * k * (below(k + 0.5) - below(k - 0.5));
    return variance;
}

struct Sheet {
    const char* model;
    int32 port;
    int16 gain;
    uns16 bin;
    double electrons_per_count;
    double read_noise;  // of one pixel
    unsigned level;
    double prnu;
};

class PhotonTransfer : public testing::TestWithParam<Sheet> {};

// Variance over signal is a line: its slope is the gain, its start the read noise.
TEST_P(PhotonTransfer, GivesGainReadNoiseAndLinearity) {
    const Sheet& sheet = GetParam();
    const Bench bench(sheet.model);
    bench.Set(PARAM_READOUT_PORT, sheet.port);
    bench.Set(PARAM_GAIN_INDEX, sheet.gain);
    bench.Light(sheet.level);
    const double gain = sheet.electrons_per_count;
    const Pair bias = bench.Snap(0, sheet.bin);
    const double reads = sheet.bin * sheet.bin;
    EXPECT_NEAR(bias.variance, RoundedVariance(std::sqrt(reads) * sheet.read_noise / gain),
                5 * bias.VarianceError());

    // Weighted least squares of both lines: signal over time, variance over signal.
    double weights = 0, time_signal = 0, times = 0, signals = 0, variances = 0;
    std::vector<std::pair<double, Pair>> points;
    for (const uns32 exposure_ms : {5u, 10u, 20u, 40u, 80u}) {
        Pair pair = bench.Snap(exposure_ms, sheet.bin);
        pair.mean -= bias.mean;
        const double weight = 1 / std::pow(pair.VarianceError(), 2);
        weights += weight * pair.mean * pair.mean;
        variances += weight * pair.mean * (pair.variance - bias.variance);
        const double time_weight = 1 / std::pow(pair.MeanError(), 2);
        times += time_weight * exposure_ms * exposure_ms;
        time_signal += time_weight * exposure_ms * pair.mean;
        signals += weight * pair.mean;
        points.emplace_back(exposure_ms, pair);
    }
    const double slope = variances / weights;
    const double slope_error =
        std::hypot(1 / std::sqrt(weights), signals / weights * bias.VarianceError());
    EXPECT_NEAR(slope, 1 / gain, 5 * slope_error);

    const double rate = time_signal / times;
    const double rate_error = 1 / std::sqrt(times);
    for (const auto& [ms, pair] : points)
        EXPECT_NEAR(pair.mean, rate * ms,
                    5 * std::hypot(pair.MeanError(), rate_error * ms, bias.MeanError()))
            << ms << " ms";
    // The mean of the pattern over the region belongs to the rate.
    const double expected = reads * flux * sheet.level / 1000 / gain;
    EXPECT_NEAR(rate, expected,
                5 * std::hypot(rate_error, expected * sheet.prnu / std::sqrt(pixels * reads)) +
                    expected * 1e-4);

    const Pair& brightest = points.back().second;
    const double spread = brightest.covariance - bias.covariance;
    const double spread_error = std::hypot(brightest.variance, spread) * std::sqrt(2 / pixels);
    EXPECT_NEAR(spread, std::pow(brightest.mean * sheet.prnu, 2) / reads, 5 * spread_error);
}

INSTANTIATE_TEST_SUITE_P(All, PhotonTransfer,
                         testing::Values(Sheet{"cmos", 0, 1, 1, 1.0, 1.6, 1000, 0.005},
                                         Sheet{"cmos", 0, 1, 2, 1.0, 1.6, 400, 0.005},
                                         Sheet{"cmos", 0, 2, 1, 11.3, 5.0, 4095, 0.005},
                                         Sheet{"cmos", 1, 1, 1, 0.7, 1.8, 4095, 0.005},
                                         Sheet{"ccd", 0, 1, 1, 4.0, 6.5, 4095, 0.01}));

// Pixels with amplifiers of their own differ in the dark, until the camera corrects for it.
TEST(OffsetPattern, IsTakenOffByTheCorrection) {
    const Bench bench("cmos");
    bench.Light(0);
    bench.Set<int16>(PARAM_GAIN_INDEX, 1);
    for (const auto& [corrected, spread] : {std::pair{uns16{0}, 0.3}, {uns16{1}, 0.0}}) {
        bench.Set(PARAM_SENSOR_CORRECTION_STATE, corrected);
        const Pair dark = bench.Snap(0);
        EXPECT_NEAR(dark.covariance, spread * spread, 5 * dark.variance / side);
    }
}

TEST(DarkCurrent, DoublesEverySevenDegrees) {
    const Bench bench("cmos");
    bench.Light(0);
    constexpr uns32 seconds = 300;
    double before = 0, error_before = 0;
    for (const int degrees : {-15, -8, -1, 6, 13}) {
        bench.Set<int16>(PARAM_TEMP_SETPOINT, static_cast<int16>(100 * degrees));
        const Pair bias = bench.Snap(0);
        const Pair dark = bench.Snap(1000 * seconds);
        const double electrons = dark.mean - bias.mean;
        const double error = std::hypot(dark.MeanError(), bias.MeanError());
        const double expected = 5 * seconds * std::exp2((degrees - 20) / 7.0);
        // Pixels differ by 30 percent, and none has less than nothing.
        EXPECT_NEAR(electrons, expected,
                    5 * std::hypot(error, 0.3 / side * expected) + 1e-4 * expected);
        if (before > 0) {
            EXPECT_NEAR(electrons, 2 * before, 5 * std::hypot(error, 2 * error_before));
        }
        before = electrons;
        error_before = error;
    }
}

}  // namespace
