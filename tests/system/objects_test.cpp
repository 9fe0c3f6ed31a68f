// The C++ objects over the interface: what they own, what they throw, and which frames they give.
#include <array>
#include <atomic>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "orvex/orvex.hpp"

#include "support/eventually.h"
#include "support/scene_image.h"
#include "support/soft_cameras.h"

namespace {

using orvex::Milliseconds;
using support::Eventually;

const rgn_type place = orvex::make_region(16, 32, 16, 16);
const orvex::RunSetUp small{Milliseconds(1), {place}};

// Cameras without noise, whose frames begin and end with their numbers.
class Objects : public testing::Test {
  protected:
    static void Console(const orvex::Camera& camera, std::string line) {
        line.resize(64, ' ');
        std::array<char, 80> answer{};
        ASSERT_EQ(oz_cam_send_debug(camera.handle(), line.data(), answer.size(), answer.data()), 1);
    }
    // So many frames come at once, and then no more.
    static void RunTo(orvex::ContinuousRun& run, const orvex::Camera& camera, uns32 frames) {
        Console(camera, "fault stuck_transfer " + std::to_string(frames));
        run.start();
        ASSERT_TRUE(Eventually([&] { return run.newest() == frames; }));
    }

    support::SoftCameras cameras_{R"({"time_scale": 0, "noise": false, "stamp": true,
        "scene": {"kind": "ramp"}, "trigger": {"manual": true}, "cameras": [
        {"model": "cmos", "name": "cmos"}, {"model": "ccd", "name": "ccd"},
        {"model": "plain", "name": "plain"}]})"};
    orvex::Library library_;
};

template <class T>
orvex::Value AsValue(T value) {
    using V = orvex::Value;
    if constexpr (std::is_same_v<T, bool> || !std::is_arithmetic_v<T>) {
        return V(value);
    } else if constexpr (std::is_floating_point_v<T>) {
        return V(static_cast<double>(value));
    } else if constexpr (std::is_signed_v<T>) {
        return V(static_cast<int64>(value));
    } else {
        return V(static_cast<uns64>(value));
    }
}

// What the id says of a value is what the camera says of it. Values that change by themselves are
// left out.
template <uns32 Id>
void ExpectSameTyped(const orvex::Camera& camera, orvex::ParameterId id) {
    if (Id == PARAM_TEMP || Id == PARAM_CURRENT_OZTIME) return;
    const auto reflected = orvex::Parameter(camera, id).find();
    if (!camera.available(Id) || !reflected) return;
    const orvex::Value typed = AsValue(camera.get<Id>());
    EXPECT_TRUE(typed == *reflected) << camera.name() << ' ' << id.name;
}

TEST_F(Objects, ParametersAreOfTheTypesThatTheCamerasTell) {
    for (const std::string& name : library_.cameras()) {
        const orvex::Camera camera(library_, name);
#define COMPARE(parameter, id) ExpectSameTyped<parameter>(camera, {#parameter, id});
        ORVEX_PARAMS(COMPARE)
#undef COMPARE
    }
}

TEST_F(Objects, ParametersTakeWhatTheirTypesHold) {
    const orvex::Camera camera(library_, "cmos");
    const orvex::Parameter setpoint = camera.parameter("temp_setpoint");
    setpoint.set_amount(0.29);
    EXPECT_EQ(camera.get<PARAM_TEMP_SETPOINT>(), 29);
    for (const double wrong : {1.5, 32768.0, -32769.0, std::nan("")}) {
        EXPECT_THROW(setpoint.set(wrong), std::invalid_argument) << wrong;
    }
    EXPECT_THROW(setpoint.set_amount(0.295), std::invalid_argument);
    EXPECT_EQ(camera.get<PARAM_TEMP_SETPOINT>(), 29);
    camera.parameter("PARAM_FAN_SPEED_SETPOINT").set("Low");
    EXPECT_EQ(camera.get<PARAM_FAN_SPEED_SETPOINT>(), 2);
    EXPECT_THROW(camera.parameter("FAN_SPEED_SETPOINT").set("Lower"), std::invalid_argument);
    EXPECT_THROW(camera.parameter("CHIP_NAME").set(1), std::invalid_argument);
    EXPECT_THROW(camera.parameter("CHIP"), std::invalid_argument);
    const std::vector<uns32> exposures{3, 5, 7};
    camera.parameter("TIDAL_STREAM_EXP_PARAMS").set(exposures);
    EXPECT_EQ(camera.get<PARAM_TIDAL_STREAM_EXP_PARAMS>(), exposures);
    EXPECT_FALSE(camera.parameter("CHIP_NAME").writable());
    EXPECT_EQ(camera.get_or<PARAM_IO_ADDR>(77), 77) << "it has no ports";
}

TEST_F(Objects, SequencesShowTheSceneAndMoveWhileTheyRun) {
    orvex::Library library = std::move(library_);
    orvex::Camera first(library, "ccd");
    orvex::Sequence begun(first, {Milliseconds(1), {orvex::make_region(10, 20, 64, 32, 2, 2)}}, 3);
    begun.start();
    const orvex::Camera camera = std::move(first);
    orvex::Sequence sequence = std::move(begun);
    ASSERT_TRUE(sequence.wait_for(Milliseconds(60000)));
    EXPECT_EQ(sequence.arrived(), 3u);
    sequence.finish();
    sequence.run();
    const std::vector<uns16> scene = support::RampRegion(sequence.regions()[0]);
    for (uns32 number = 1; number <= 3; ++number) {
        const orvex::Pixels pixels = sequence.pixels(number);
        EXPECT_EQ(pixels[0], number);
        // Frames end with their numbers, too.
        EXPECT_TRUE(std::equal(pixels.begin() + 2, pixels.end() - 2, scene.begin() + 2));
    }
    library_ = std::move(library);
}

// Of a ring of 10 the camera has filled 50; half of the ring is given up, so that the rest is safe.
TEST_F(Objects, SlowLoopsLoseOldFramesAndKnowIt) {
    orvex::Camera camera(library_, "cmos");
    for (const bool copied : {false, true}) {
        orvex::ContinuousRun begun(camera, small, {10, true});
        RunTo(begun, camera, 50);
        orvex::Camera moved = std::move(camera);
        orvex::ContinuousRun run = std::move(begun);
        std::vector<uns16> copy(16 * 16);
        uns32 expected = 46;
        for (; expected <= 50; ++expected) {
            if (copied) {
                ASSERT_EQ(run.copy_next(copy.data()), expected);
            } else {
                const std::optional<orvex::Frame> frame = run.next();
                ASSERT_TRUE(frame);
                ASSERT_EQ(frame->number(), expected);
                EXPECT_EQ(frame->lost(), expected == 46 ? 45u : 0u);
                EXPECT_TRUE(frame->intact());
                copy.assign(frame->pixels().begin(), frame->pixels().end());
            }
            EXPECT_EQ(copy[0], expected);
            EXPECT_EQ(copy[100], support::RampRegion(place)[100]);
        }
        EXPECT_FALSE(run.next());
        EXPECT_EQ(run.taken(), 50u);
        EXPECT_EQ(run.lost(), 45u);
        ASSERT_EQ(run.gaps().size(), 1u);
        EXPECT_EQ(run.gaps()[0].first, 1u);
        EXPECT_EQ(run.gaps()[0].count, 45u);
        run.stop();
        camera = std::move(moved);
    }
}

TEST_F(Objects, LoopsEndWithTheRing) {
    const orvex::Camera camera(library_, "cmos");
    orvex::ContinuousRun full(camera, small, {10, false});
    RunTo(full, camera, 50);
    try {
        for (const orvex::Frame& frame : full) ADD_FAILURE() << frame.number();
        ADD_FAILURE() << "an overrun is no end";
    } catch (const orvex::Error& error) {
        EXPECT_EQ(error.code(), C3_BUFFER_OVERRUN);
    }
    EXPECT_TRUE(full.overran());
    full.stop();

    std::atomic<uns32> told{0};
    orvex::ContinuousRun run(camera, small, {60, true}, [&](const FRAME_INFO&) { ++told; });
    RunTo(run, camera, 50);
    uns32 last = 0;
    for (const orvex::Frame& frame : run) {
        if (frame.number() == 1) run.stop();  // what is in the ring can still be taken
        EXPECT_EQ(frame.number(), last + 1);
        last = frame.number();
    }
    EXPECT_EQ(last, 50u);
    EXPECT_GE(told, 1u);
    EXPECT_THROW(orvex::ContinuousRun(camera, small, {0xFFFFFFFF, true}), std::invalid_argument);
}

TEST_F(Objects, FramesThatDoNotComeAreTold) {
    orvex::Camera camera(library_, "cmos");
    orvex::Sequence waiting(camera, {Milliseconds(1), {place}, EXT_TRIG_EDGE_RISING});
    EXPECT_FALSE(waiting.time_limit());
    EXPECT_THROW(waiting.run(Milliseconds(50)), orvex::TimeOut);
    EXPECT_EQ(orvex::snap(camera, small).pixels[1], 0)
        << "the camera works; the number has 4 bytes";

    std::atomic<int> removals{0};
    camera.on(OX_CALLBACK_CAM_REMOVED, [&](const FRAME_INFO&) { removals += 10; });
    camera.on(OX_CALLBACK_CAM_REMOVED, [&](const FRAME_INFO&) { ++removals; });
    EXPECT_FALSE(camera.removed());
    {
        orvex::ContinuousRun run(camera, small, {1000, true});
        Console(camera, "fault unplug 20");
        EXPECT_THROW(for (const orvex::Frame& frame : run) EXPECT_TRUE(frame.number()),
                     orvex::CameraGone);
    }
    EXPECT_TRUE(camera.removed());
    EXPECT_EQ(removals, 1);
    EXPECT_THROW(orvex::snap(camera, small), orvex::CameraGone);
}

TEST_F(Objects, WhatCannotBeMeantIsRefusedBeforeTheCameraIsAsked) {
    const orvex::Camera camera(library_, "plain");
    EXPECT_THROW(orvex::Camera(library_, 3), std::out_of_range);
    EXPECT_THROW(orvex::Camera(library_, "plain"), orvex::Error) << "it is open";
    EXPECT_THROW(orvex::make_region(0, 0, 0, 5), std::invalid_argument);
    EXPECT_THROW(orvex::make_region(65535, 0, 2, 5), std::invalid_argument);
    EXPECT_EQ(orvex::make_region(65535, 0, 1, 65536).p2, 65535);
    EXPECT_THROW(orvex::snap(camera, {Milliseconds(-1)}), std::invalid_argument);
    EXPECT_THROW(orvex::snap(camera, {Milliseconds(0.5)}), std::invalid_argument);
    EXPECT_THROW(orvex::Sequence(camera, small, 0), std::invalid_argument);
    EXPECT_THROW(camera.on(99, {}), orvex::Error);
}

}  // namespace
