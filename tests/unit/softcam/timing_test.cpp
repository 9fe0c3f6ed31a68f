// When frames of a moving scene were exposed can be seen in them, however fast the test runs.
#include "orvex/orvex_types.h"

#include "softcam/scene.h"

#include "module_fixture.h"

namespace {

using client::Bytes;
using Starts = std::array<double, 4>;  // of exposures, in milliseconds since the start of the run

constexpr const char* moving = R"({"noise": false, "time_scale": 0, "seed": 4,
    "scene": {"kind": "beads", "speed": 5000, "count": 2000}, "cameras": [{"model": "cmos"}, {"model": "em"}]})";

class Timing : public ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        ASSERT_TRUE(Configure(moving));
    }

    static void ExpectExposed(const Bytes& frames, const Starts& starts, uint16_t side,
                              uint32_t columns, uint32_t height) {
        ASSERT_EQ(frames.size(), starts.size() * columns * height * 2);
        const std::vector<uint16_t> pixels = client::Pixels(frames);
        std::string message;
        softcam::SceneChoice choice;
        choice.kind = softcam::SceneKind::beads;
        choice.speed = 5000;
        choice.count = 2000;
        const auto scene = softcam::MakeScene(choice, side, side, 4, message);
        ASSERT_GT(*std::max_element(pixels.begin(), pixels.end()), 0) << "nothing is seen";
        auto seen = pixels.begin();
        for (const double start : starts) {
            const softcam::Image& image = scene->At(start / 1000);
            for (uint32_t row = 0; row < height; ++row, seen += columns) {
                ASSERT_TRUE(
                    std::equal(seen, seen + columns, &image.pixels[size_t{row} * image.columns]))
                    << "exposure of " << start << " ms, row " << row;
            }
        }
    }
};

struct Simplified {
    const char* name;
    uint32_t clear_mode;
    uint32_t clear_count;
    uint32_t exposure_ms;
    Starts starts;
    uint32_t mode = EXT_TRIG_INTERNAL;
    Bytes settings = {CLEAR_STAT_BUF};  // commands ahead of the run
};

Bytes Speed(uint8_t port, uint8_t speed) {
    return {SET_OUTPUT_PORT, 0, port, SELECT_SPD, speed};
}

// One or two entries a list, in milliseconds.
Bytes Lists(const std::vector<uint8_t>& exposures, const std::vector<uint8_t>& delays,
            uint8_t delivery = OX_FRAME_DELIVERY_MODE_MAX_FPS) {
    Bytes commands = {SET_TIDAL_STREAM_ENABLED, 0, 1, SET_FRAME_DELIVERY_MODE, 0, delivery};
    const auto add = [&](uint8_t command, const std::vector<uint8_t>& list) {
        commands.push_back(command);
        client::Append(commands, list.size(), 2);
        for (const uint8_t entry : list) client::Append(commands, entry, 4);
    };
    add(SET_TIDAL_STREAM_EXP_PARAMS, exposures);
    add(SET_TIDAL_STREAM_DLY_PARAMS, delays);
    return commands;
}

// 200 rows of 10 us are read in 2 ms, a clear takes 2.048; a trigger comes every 10 ms.
const std::vector<Simplified> simplified = {
    {"exposes during readout", CLEAR_NEVER, 2, 50, {0, 50, 100, 150}},
    {"readout is longer", CLEAR_NEVER, 2, 1, {0, 2, 4, 6}},
    {"clears once", CLEAR_PRE_SEQUENCE, 2, 50, {4.096, 54.096, 104.096, 154.096}},
    {"clears each", CLEAR_PRE_EXPOSURE, 2, 50, {4.096, 60.192, 116.288, 172.384}},
    {"faster rows", CLEAR_NEVER, 0, 1, {0, 1, 2, 3}, EXT_TRIG_INTERNAL, Speed(0, 1)},
    {"slower rows",
     CLEAR_PRE_SEQUENCE,
     1,
     1,
     {4.096, 8.096, 12.096, 16.096},
     EXT_TRIG_INTERNAL,
     Speed(1, 0)},
    {"trigger", CLEAR_NEVER, 0, 1, {10, 20, 30, 40}, EXT_TRIG_EDGE_RISING},
    {"trigger missed", CLEAR_NEVER, 0, 12, {10, 30, 50, 70}, EXT_TRIG_EDGE_RISING},
    {"trigger after clear", CLEAR_PRE_EXPOSURE, 1, 5, {10, 20, 30, 40}, EXT_TRIG_EDGE_RISING},
    {"trigger first", CLEAR_NEVER, 0, 3, {10, 13, 16, 19}, EXT_TRIG_TRIG_FIRST},
    {"list", CLEAR_NEVER, 0, 1, {0, 5, 25, 30}, EXT_TRIG_INTERNAL, Lists({5, 20}, {})},
    {"delays", CLEAR_NEVER, 0, 1, {10, 25, 55, 70}, EXT_TRIG_INTERNAL, Lists({5, 20}, {10})},
    {"delay in readout", CLEAR_NEVER, 0, 1, {0, 3, 5, 8}, EXT_TRIG_INTERNAL, Lists({1}, {0, 2})},
    {"trigger, delay", CLEAR_NEVER, 0, 1, {12, 22, 32, 42}, EXT_TRIG_EDGE_RISING, Lists({5}, {2})},
    {"constant intervals",
     CLEAR_NEVER,
     0,
     1,
     {0, 5, 40, 45},
     EXT_TRIG_INTERNAL,
     Lists({5, 20}, {}, OX_FRAME_DELIVERY_MODE_CONSTANT_INTERVALS)},
};

class SimplifiedTiming : public Timing, public testing::WithParamInterface<Simplified> {};
INSTANTIATE_TEST_SUITE_P(All, SimplifiedTiming, testing::ValuesIn(simplified));

TEST_P(SimplifiedTiming, ExposesWhenTheSettingsSay) {
    const Simplified& row = GetParam();
    SCOPED_TRACE(row.name);
    client::Connection& camera = Camera(0);
    ASSERT_TRUE(camera.Send(CLASS_HOST_COMMANDS, row.settings));
    constexpr uint32_t columns = 400, height = 200;
    const client::Run run{.frames = 4,
                          .regions = {{0, columns - 1, 1, 0, height - 1, 1}},
                          .exposure = row.exposure_ms,
                          .exposure_mode = row.mode,
                          .clear_mode = row.clear_mode,
                          .clear_count = row.clear_count};
    ExpectExposed(camera.RunProgram(CLASS_SIMPLIFIED_CCL, run.Program(), columns * height * 2, 4),
                  row.starts, 2048, columns, height);
}

struct Exposing {
    uint8_t wait;  // ahead of the exposure
    client::Operation expose;
    Starts starts;
};

// 528 shifts of 1 us, two flushes of a line of 520 at 20 ns, then each row: a shift, 512 pixels of
// 100 ns, and the rest of its line at 20 ns.
constexpr uint16_t rows = 32;
constexpr double readout = 0.528 + 0.0208 + rows * (0.001 + 0.0512 + 0.00016);

// The shutter takes 5 ms each way; a trigger comes every 10 ms and lasts 5.
class FullTiming : public Timing, public testing::WithParamInterface<Exposing> {};
INSTANTIATE_TEST_SUITE_P(
    All, FullTiming,
    testing::Values(Exposing{OP_SERIAL_LATCH,
                             {OP_EXPOSE, 3},
                             {5, 18 + readout, 31 + 2 * readout, 44 + 3 * readout}},
                    Exposing{OP_CLEAR_UNTIL_TRIG, {OP_EXPOSE, 3}, {10, 30, 50, 70}},
                    Exposing{OP_SERIAL_LATCH,
                             {OP_EXPOSE_UNTIL_TRIG},
                             {5, 20 + readout, 40 + readout, 60 + readout}},
                    Exposing{OP_SERIAL_LATCH, {OP_EXPOSE_WHILE_TRIG}, {10, 30, 50, 70}}));

// Frames of the lowest rows, at each turn of the loop one.
Bytes FullProgram(uint8_t wait, client::Operation expose, uint16_t frames) {
    return client::Full({{OP_SET_SERIAL_BIN, 1},
                         {OP_EXPOSE_SCALE, 1},
                         {OP_DO_LOOP, frames},
                         {OP_CLEAR},
                         {OP_OPEN_SHUTTER},
                         {wait},
                         expose,
                         {OP_CLOSE_SHUTTER},
                         {OP_PARALLEL_DIS, 528},
                         {OP_STORAGE_ONLY},
                         {OP_SERIAL_DISCARD, 1040},
                         {OP_DO_LOOP, rows},
                         {OP_PARALLEL_BIN, 1},
                         {OP_SERIAL_DISCARD, 4},
                         {OP_SERIAL_CONVERT, 512},
                         {OP_SERIAL_DISCARD, 4},
                         {OP_END_DO},
                         {OP_EOF},
                         {OP_IMAGE_AND_STORAGE},
                         {OP_END_DO},
                         {OP_TERMINATE}});
}

TEST_P(FullTiming, ExposesWhenTheOperationsSay) {
    client::Connection& camera = Camera(1);
    const Bytes program = FullProgram(GetParam().wait, GetParam().expose, 4);
    ExpectExposed(camera.RunProgram(CLASS_CCL_SCRIPT, program, 512 * rows * 2, 4),
                  GetParam().starts, 512, 512, rows);
    // The host can know ahead how long that takes, at any speed.
    const auto told_us = [&] {
        return client::Big(camera.Ask(GET_IMAGE_SENSOR_READOUT_TIME, 5), 1, 4);
    };
    EXPECT_EQ(told_us(), static_cast<uint64_t>(readout * 1000));
    camera.Send(CLASS_HOST_COMMANDS, {SELECT_SPD, 1});
    EXPECT_EQ(told_us(), static_cast<uint64_t>((readout + rows * 0.0512) * 1000));
}

// As long as the hand takes, which no test can know: an attempt that was too quick is made again.
TEST_F(Timing, AnExposureUntilATriggerByHandCollectsMeanwhile) {
    ASSERT_TRUE(Configure(R"({"time_scale": 0, "trigger": {"manual": true}, "flux": 10000,
                              "scene": {"kind": "flat"}, "cameras": [{"model": "em"}]})"));
    client::Connection& camera = Camera();
    constexpr uint32_t size = 512 * rows * 2;
    const Bytes program = FullProgram(OP_SERIAL_LATCH, {OP_EXPOSE_UNTIL_TRIG}, 1);
    std::chrono::milliseconds patience{0};
    EXPECT_TRUE(support::Eventually([&] {
        Bytes frame(size);
        if (!camera.Send(CLASS_CCL_SCRIPT, program) || !camera.Receive(frame, size, false) ||
            !camera.Execute())
            return false;
        std::this_thread::sleep_for(patience++);
        camera.Console("trigger");
        // The bias is 300; 12 electrons are a count, of 10 million a second.
        return camera.WaitComplete() && client::Pixels(frame)[0] > 400;
    }));
}

}  // namespace
