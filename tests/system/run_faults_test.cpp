// What goes wrong while a camera runs: every case ends in a state and an error, never in a hang,
// and the camera works again afterwards.
#include <atomic>
#include <functional>
#include <gmock/gmock.h>
#include <string>
#include <tuple>

#include "run_camera.h"

namespace {

using support::Eventually;
using testing::Each;
using testing::ElementsAre;
using testing::Le;

// --- a camera that goes away

struct Loss {
    const char* name;
    const char* model;
    const char* fault;
    bool tells_last_frame;  // a driver that dies takes with it what it had not told
};

class LostCamera : public testing::TestWithParam<Loss> {};

TEST_P(LostCamera, RefusesEverythingUntilItIsOpenedAgain) {
    const Loss& loss = GetParam();
    RunCamera camera(loss.model);
    const Listener& frames = camera.Listen(OX_CALLBACK_EOF);
    const Listener& removal = camera.Listen(OX_CALLBACK_CAM_REMOVED);
    camera.SetUpRing();
    camera.Console(std::string("fault ") + loss.fault + " 20");
    ASSERT_EQ(camera.StartRing(), 1);
    ASSERT_TRUE(Eventually([&] { return removal.count() > 0; }));
    EXPECT_THAT(frames.heard(), Each(Le(21)));
    EXPECT_TRUE(frames.Heard(21) || !loss.tells_last_frame);

    // What was received can still be had; behind it the run is over.
    camera.TakeNewest();
    int16 status = -1;
    EXPECT_GE(camera.Frames(&status), 0);
    EXPECT_EQ(status, READOUT_NOT_ACTIVE);
    Listener another(nullptr);
    const std::pair<const char*, std::function<boolean16()>> refused[] = {
        {"abort", [&] { return camera.Abort(); }},
        {"message", [&] { return camera.AskTemperature(); }},
        {"start", [&] { return camera.StartRing(); }},
        {"registration", [&] { return another.Register(camera.handle(), OX_CALLBACK_BOF); }}};
    for (const auto& [name, call] : refused) {
        EXPECT_EQ(call(), 0) << name;
        EXPECT_EQ(ox_error_code(), C7_DRIVER_COM_ERROR) << name;
    }
    EXPECT_EQ(camera.Abort(), 1) << "nothing is left to end";
    const int16 lost = camera.handle();
    EXPECT_EQ(camera.Open(), 0);
    EXPECT_EQ(ox_error_code(), C0_CAM_ALREADY_OPEN);
    EXPECT_EQ(removal.count(), 1u);
    EXPECT_EQ(ox_cam_close(lost), 1);
    EXPECT_EQ(ox_cam_check(lost), 0);
    ASSERT_EQ(camera.Open(), 1);
    camera.ExpectWorks();
}

INSTANTIATE_TEST_SUITE_P(Ways, LostCamera,
                         testing::Values(Loss{"Unplugged", by_requests, "unplug", true},
                                         Loss{"UnpluggedByCalls", by_calls, "unplug", true},
                                         Loss{"DeadDriver", by_requests, "driver_death", false}),
                         [](const auto& test) { return test.param.name; });

// --- a transfer that stops

class BrokenTransfer : public testing::TestWithParam<std::tuple<const char*, const char*>> {};

TEST_P(BrokenTransfer, StaysWhereItIsUntilItIsAborted) {
    const auto& [model, fault] = GetParam();
    RunCamera camera(model);
    camera.SetUpRing();
    camera.Console(std::string("fault ") + fault + " 5");
    ASSERT_EQ(camera.StartRing(), 1);
    if (fault == std::string("failed_transfer")) {
        ASSERT_TRUE(Eventually([&] { return camera.Frames() == -1; }));
        EXPECT_EQ(ox_error_code(), C7_DRIVER_COM_ERROR);
    } else {
        ASSERT_TRUE(camera.AwaitFrames(5));
        EXPECT_EQ(camera.TakeNewest(), 1);
        int16 status = -1;
        EXPECT_EQ(camera.Frames(&status), 5);
        EXPECT_EQ(status, EXPOSURE_IN_PROGRESS);
    }
    EXPECT_EQ(camera.Abort(), 1);
    EXPECT_EQ(ox_error_code(), 0);
    camera.ExpectWorks();
}

INSTANTIATE_TEST_SUITE_P(Models, BrokenTransfer,
                         testing::Combine(testing::Values("cmos", "ccd", "plain"),
                                          testing::Values("stuck_transfer", "failed_transfer")),
                         [](const auto& test) {
                             return std::string(std::get<0>(test.param)) + "_" +
                                    std::get<1>(test.param);
                         });

class LateFrame : public testing::TestWithParam<const char*> {};

TEST_P(LateFrame, ComesInItsPlaceOrNotAtAll) {
    RunCamera camera(GetParam());
    const Listener& frames = camera.Listen(OX_CALLBACK_EOF);
    uns32 bytes = 0;
    ASSERT_EQ(ox_exp_setup_seq(camera.handle(), 6, 1, &RunCamera::place, TIMED_MODE, 1, &bytes), 1);
    std::vector<uns8> pixels(bytes);
    camera.Console("fault late_completion 3");
    ASSERT_EQ(ox_exp_start_seq(camera.handle(), pixels.data()), 1);
    EXPECT_TRUE(Eventually([&] { return frames.count() == 6; }));
    EXPECT_THAT(frames.heard(), ElementsAre(1, 2, 3, 4, 5, 6));

    camera.SetUpRing();
    camera.Console("fault late_completion 3");
    ASSERT_EQ(camera.StartRing(), 1);
    ASSERT_TRUE(camera.AwaitFrames(3));
    EXPECT_EQ(camera.Abort(), 1);
    camera.ExpectWorks();
}

INSTANTIATE_TEST_SUITE_P(Models, LateFrame, testing::Values(by_requests, by_calls),
                         [](const auto& test) { return std::string(test.param); });

// --- an acknowledge that gets lost

struct LostAcknowledge {
    const char* name;
    const char* model;
    const char* fault;  // counts messages to the camera, or those that it answers
    bool at_start;      // of the run; otherwise at the abort that a message begins with
};

class SilentRun : public testing::TestWithParam<LostAcknowledge> {};

TEST_P(SilentRun, FailsOneCallAndGoesOn) {
    const LostAcknowledge& loss = GetParam();
    RunCamera camera(loss.model);
    camera.SetUpRing();
    camera.Console(std::string("fault ") + loss.fault);
    if (loss.at_start) {
        EXPECT_EQ(camera.StartRing(), 0);
        EXPECT_EQ(ox_error_code(), C7_DRIVER_COM_ERROR);
        EXPECT_EQ(camera.StartRing(), 1);
        EXPECT_TRUE(camera.AwaitFrames(1));
        EXPECT_EQ(camera.Abort(), 1);
    } else {
        ASSERT_EQ(camera.StartRing(), 1);
        ASSERT_TRUE(camera.AwaitFrames(1));
        EXPECT_EQ(camera.AskTemperature(), 0);
        EXPECT_EQ(ox_error_code(), C7_DRIVER_COM_ERROR);
        EXPECT_EQ(camera.AskTemperature(), 1) << "the run counts as ended";
    }
    camera.ExpectWorks();
}

INSTANTIATE_TEST_SUITE_P(
    Exchanges, SilentRun,
    testing::Values(LostAcknowledge{"StartNotTaken", "cmos", "lost_write_ack 0", true},
                    LostAcknowledge{"StartNotAnswered", "em", "lost_read_ack 0", true},
                    LostAcknowledge{"AbortNotTaken", "plain", "lost_write_ack 1", false},
                    LostAcknowledge{"AbortNotAnswered", "cmos", "lost_read_ack 0", false}),
    [](const auto& test) { return test.param.name; });

// --- notification requests

// A driver that cancels what the library left with it has ended the delivery; frames still arrive,
// and the camera is opened anew to hear of them.
TEST(CancelledRequests, EndTheDeliveryAndNothingElse) {
    RunCamera camera(by_requests);
    const Listener& frames = camera.Listen(OX_CALLBACK_EOF);
    camera.SetUpRing();
    camera.Console("fault cancelled_requests 200");
    ASSERT_EQ(camera.StartRing(1000), 1);
    ASSERT_TRUE(Eventually([&] { return camera.Received() > 1000; }));
    EXPECT_EQ(camera.Abort(), 1);
    EXPECT_THAT(frames.heard(), Each(Le(201)));
    EXPECT_EQ(ox_cam_close(camera.handle()), 1);
    ASSERT_EQ(camera.Open(), 1);
    camera.ExpectWorks();
}

// A driver that found no request for a frame keeps it for the next one, which may come of a new
// registration; a frame of a run that is over is none of its business.
class FramesOfARunBefore : public testing::TestWithParam<const char*> {};

TEST_P(FramesOfARunBefore, AreNotHeard) {
    Listener* next = nullptr;
    std::atomic<bool> done = false;
    RunCamera camera(GetParam());
    camera.Listen(OX_CALLBACK_EOF, [&](int32) {
        if (done) return;
        // As many frames are told as there are requests; the others find none.
        EXPECT_TRUE(Eventually([&] { return camera.Frames() == -1; }));
        EXPECT_EQ(camera.Abort(), 1);
        next = &camera.Listen(OX_CALLBACK_EOF);
        done = true;
    });
    camera.SetUpRing();
    camera.Console("fault failed_transfer 20");
    ASSERT_EQ(camera.StartRing(), 1);
    ASSERT_TRUE(Eventually([&] { return done.load(); }));
    camera.Console("fault stuck_transfer 5");
    ASSERT_EQ(camera.StartRing(), 1);
    EXPECT_TRUE(Eventually([&] { return next->Heard(5); }));
    EXPECT_THAT(next->heard(), ElementsAre(1, 2, 3, 4, 5));
}

INSTANTIATE_TEST_SUITE_P(Models, FramesOfARunBefore, testing::Values("cmos", "ccd", "em"),
                         [](const auto& test) { return std::string(test.param); });

}  // namespace
