// Callbacks in a running camera: slow ones, those that call the library, and the end of the run
// beside them.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <gmock/gmock.h>
#include <string>
#include <tuple>

#include "run_camera.h"

namespace {

using support::Eventually;
using testing::ElementsAre;

std::string NameOf(const char* model) {
    return model == std::string(by_requests) ? "ByRequests" : "ByCalls";
}

class EitherDelivery : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Cameras, EitherDelivery, testing::Values(by_requests, by_calls),
                         [](const auto& test) { return NameOf(test.param); });

// While a callback is busy the newest frames win: by calls in a queue of as many as the ring asks
// for, by requests at the driver, which completes those it has and keeps the newest for the next.
TEST_P(EitherDelivery, BusyCallbackLosesTheOldestFrames) {
    Gate gate;
    RunCamera camera(GetParam());
    const Listener& frames = camera.Listen(OX_CALLBACK_EOF, [&](int32) { gate.Pass(); });
    camera.SetUpRing();
    camera.Console("fault stuck_transfer 50");
    ASSERT_EQ(camera.StartRing(10), 1);
    EXPECT_TRUE(gate.AwaitReached());
    EXPECT_TRUE(Eventually([&] { return camera.Received() == 50; }));
    gate.Open();
    EXPECT_TRUE(Eventually([&] { return frames.Heard(50); }));
    std::vector<int32> heard = frames.heard();
    if (GetParam() == by_requests) {
        EXPECT_THAT(heard, ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 50));
    } else {
        heard.erase(heard.begin());  // the one that was held
        EXPECT_LE(heard.size(), 8u);
        EXPECT_TRUE(std::ranges::is_sorted(heard));
        EXPECT_EQ(heard.back() - heard.front() + 1, static_cast<int32>(heard.size()));
    }
    EXPECT_EQ(camera.Abort(), 1);
    camera.ExpectWorks();
}

// Frames that the callback was too slow for are no news of the next run, though its ring is alike.
TEST_P(EitherDelivery, NextRunHearsNothingOfTheOneBefore) {
    Gate gate;
    std::atomic<int> next = -1;
    RunCamera camera(GetParam());
    const Listener& frames = camera.Listen(OX_CALLBACK_EOF, [&](int32) {
        gate.Pass();
        if (next != -1) return;
        const boolean16 aborted = camera.Abort();
        camera.Console("fault stuck_transfer");
        next = aborted && camera.StartRing(10);
    });
    camera.SetUpRing();
    camera.Console("fault stuck_transfer 50");
    ASSERT_EQ(camera.StartRing(10), 1);
    EXPECT_TRUE(gate.AwaitReached());
    EXPECT_TRUE(Eventually([&] { return camera.Received() == 50; }));
    gate.Open();
    ASSERT_TRUE(Eventually([&] { return next != -1; }));
    EXPECT_EQ(next, 1);
    EXPECT_EQ(camera.Frames(), 0);
    EXPECT_EQ(camera.TakeNewest(), 0);
    EXPECT_EQ(camera.Abort(), 1);
    camera.ExpectWorks();
    EXPECT_TRUE(Eventually([&] { return frames.Heard(4); }));
    EXPECT_LE(std::ranges::max(frames.heard()), 4) << "the sequence has that many";
}

TEST_P(EitherDelivery, StartOfARunningCameraBeginsANewRun) {
    RunCamera camera(GetParam());
    camera.SetUpRing();
    for (const int32 frames : {7, 20, 20}) {
        ASSERT_EQ(camera.StartRing(), 1);
        EXPECT_TRUE(camera.AwaitFrames(frames));
    }
    EXPECT_EQ(camera.Abort(), 1);
    camera.ExpectWorks();
}

// The callback wants the camera all the time, and so does the application.
TEST_P(EitherDelivery, CallingCallbacksHoldNobodyUp) {
    RunCamera camera(GetParam());
    camera.Listen(OX_CALLBACK_EOF, [&](int32) { camera.TakeNewest(); });
    Listener& begins = camera.Listen(OX_CALLBACK_BOF, [&](int32) { camera.Frames(); });
    camera.SetUpRing();
    const auto start = std::chrono::steady_clock::now();
    for (uns32 round = 0; round < 15; ++round) {
        EXPECT_EQ(camera.StartRing(10 + round % 3 / 2), 1) << ox_error_code();
        EXPECT_TRUE(camera.AwaitFrames(1));
        EXPECT_EQ(ox_cam_deregister_callback(camera.handle(), OX_CALLBACK_BOF), 1);
        const size_t heard = begins.count();
        EXPECT_TRUE(camera.AwaitFrames(2));
        EXPECT_EQ(begins.count(), heard);
        EXPECT_EQ(begins.Register(camera.handle(), OX_CALLBACK_BOF), 1);
        EXPECT_EQ(camera.Abort(), 1);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
    camera.ExpectWorks();
}

// --- callbacks that call

struct InnerCall {
    const char* name;
    boolean16 (*call)(RunCamera& camera);
};

constexpr InnerCall inner_calls[] = {
    {"Status", [](RunCamera& camera) -> boolean16 { return camera.Frames() > 0; }},
    {"NewestFrame", [](RunCamera& camera) { return camera.TakeNewest(); }},
    {"Message", [](RunCamera& camera) { return camera.AskTemperature(); }},
    {"Deregister",
     [](RunCamera& camera) {
         return ox_cam_deregister_callback(camera.handle(), OX_CALLBACK_EOF);
     }},
    {"Abort", [](RunCamera& camera) { return camera.Abort(); }},
    {"NextRun",
     [](RunCamera& camera) -> boolean16 { return camera.Abort() && camera.StartRing(5); }},
    {"Close", [](RunCamera& camera) { return ox_cam_close(camera.handle()); }},
    {"Uninit", [](RunCamera&) { return ox_orvex_uninit(); }}};

class InCallback : public testing::TestWithParam<std::tuple<const char*, InnerCall>> {};

TEST_P(InCallback, LibraryMayBeCalled) {
    const auto& [model, inner] = GetParam();
    Gate started;  // no call may be in flight when the library ends
    std::atomic<int> result = -1;
    RunCamera camera(model);
    camera.Listen(OX_CALLBACK_EOF, [&, call = inner.call](int32) {
        started.Pass();
        if (result == -1) result = call(camera);
    });
    camera.SetUpRing();
    ASSERT_EQ(camera.StartRing(), 1);
    started.Open();
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(Eventually([&] { return result != -1; }));
    // The library waits for a thread for five seconds; its own is none to wait for.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
    EXPECT_EQ(result, 1);
    camera.OpenWhatIsClosed();
    camera.ExpectWorks();
}

INSTANTIATE_TEST_SUITE_P(Calls, InCallback,
                         testing::Combine(testing::Values(by_requests, by_calls),
                                          testing::ValuesIn(inner_calls)),
                         [](const auto& test) {
                             return std::get<1>(test.param).name + NameOf(std::get<0>(test.param));
                         });

// --- ends in the middle of a run

struct End {
    const char* name;
    boolean16 (*call)(int16 hcam);
    bool callback_calls;  // callbacks want the library and the camera meanwhile
};

boolean16 Uninit(int16) {
    return ox_orvex_uninit();
}

constexpr End ends[] = {{"Close", ox_cam_close, false},
                        {"Uninit", Uninit, false},
                        {"CloseBesideCalls", ox_cam_close, true},
                        {"UninitBesideCalls", Uninit, true}};

class EndOfTheRun : public testing::TestWithParam<std::tuple<const char*, End>> {};

TEST_P(EndOfTheRun, LeavesNobodyCalling) {
    const auto& [model, end] = GetParam();
    RunCamera camera(model);
    const Listener& frames = camera.Listen(OX_CALLBACK_EOF, [&, calls = end.callback_calls](int32) {
        int16 total = 0;
        if (calls && ox_cam_get_total(&total)) camera.Frames();
    });
    camera.SetUpRing();
    ASSERT_EQ(camera.StartRing(500), 1);
    ASSERT_TRUE(Eventually([&] { return frames.count() > 0; }));
    EXPECT_EQ(end.call(camera.handle()), 1);
    EXPECT_EQ(ox_cam_check(camera.handle()), 0);
    const size_t heard = frames.count();
    camera.OpenWhatIsClosed();
    camera.ExpectWorks();
    EXPECT_EQ(frames.count(), heard);
}

INSTANTIATE_TEST_SUITE_P(Ends, EndOfTheRun,
                         testing::Combine(testing::Values(by_requests, by_calls),
                                          testing::ValuesIn(ends)),
                         [](const auto& test) {
                             return std::get<1>(test.param).name + NameOf(std::get<0>(test.param));
                         });

}  // namespace
