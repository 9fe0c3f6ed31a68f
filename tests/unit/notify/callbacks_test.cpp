#include "notify/callbacks.h"

#include <functional>
#include <gmock/gmock.h>

#include "state/api_locks.h"
#include "support/core/test_camera.h"
#include "support/core/trace_capture.h"

#include "heard_events.h"

namespace {

using testing::ElementsAre;

constexpr int16 hcam = support::TestCamera::hcam;

// A camera whose module delivers its events itself.
class CallbacksTest : public testing::Test {
  protected:
    support::ScriptedCamera& camera() { return camera_.camera(); }
    orvex_device* device() { return camera_.device(); }
    orvex_callbacks& record() { return *static_cast<orvex_callbacks*>(device()->callbacks); }
    support::TraceCapture trace_;
    tests::HeardEvents heard_;  // outlives the threads that call it
    support::TestCamera camera_;
};

using Operation = std::function<boolean16(orvex_device*)>;

const std::vector<Operation> needing_start = {
    orvex_callbacks_stop,
    orvex_callbacks_wait_ready,
    orvex_callbacks_reset,
    [](orvex_device* device) { return orvex_callbacks_register(device, 0, nullptr, nullptr, 0); },
    [](orvex_device* device) { return orvex_callbacks_deregister(device, 0); },
    [](orvex_device* device) { return orvex_callbacks_set_frame_count(device, 1, 1); },
    [](orvex_device* device) {
        FRAME_INFO info;
        return orvex_callbacks_get_latest_frame_info(device, &info);
    },
    [](orvex_device* device) { return orvex_callbacks_set_latest_frame_info(device, 1, 2, 3); },
    [](orvex_device* device) { return orvex_callbacks_invoke(device, 0); },
};

TEST_F(CallbacksTest, OperationsKeepToTheOrderOfLife) {
    const auto refused = [&](const Operation& operation, const char* words) {
        bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
        EXPECT_TRUE(trace_.refused(operation(device()), C7_GEN_COM_ERROR, words));
    };
    refused(orvex_callbacks_create, "Callbacks already created");
    refused(orvex_callbacks_start, "Callbacks already started");
    ASSERT_EQ(orvex_callbacks_stop(device()), 1);
    for (const Operation& operation : needing_start) refused(operation, "Callbacks not started");
    ASSERT_EQ(orvex_callbacks_destroy(device()), 1);
    EXPECT_EQ(device()->callbacks, nullptr);
    for (const Operation& operation : needing_start) refused(operation, "Callbacks not created");
    refused(orvex_callbacks_start, "Callbacks not created");
    refused(orvex_callbacks_destroy, "Callbacks not created");
    ASSERT_EQ(orvex_callbacks_create(device()), 1);
    ASSERT_EQ(orvex_callbacks_start(device()), 1);
}

TEST_F(CallbacksTest, ReadoutTimeIsCutToThirtyTwoBits) {
    const std::pair<int64, int32> rows[] = {{(int64{1} << 32) + 5, 5}, {int64{1} << 31, INT32_MIN}};
    for (const auto& [eof, readout] : rows) {
        ASSERT_EQ(orvex_callbacks_set_latest_frame_info(device(), 1, 0, eof), 1);
        FRAME_INFO latest{};
        ASSERT_EQ(orvex_callbacks_get_latest_frame_info(device(), &latest), 1);
        EXPECT_EQ(latest.ReadoutTime, readout);
        EXPECT_EQ(latest.TimeStampEOF, eof);
    }
}

TEST_F(CallbacksTest, UnknownEventsAreRefusedAndChangeNothing) {
    ASSERT_EQ(heard_.listen(hcam, OX_CALLBACK_CAM_RESUMED), 1);
    EXPECT_EQ(bv_cam_register_callback(hcam, 5, nullptr, nullptr, CB_TYPE_ORIG), 0);
    EXPECT_TRUE(trace_.failed_with(C3_EVENT_NOT_SUPPORTED, "Unknown callback event 5"));
    EXPECT_EQ(bv_cam_deregister_callback(hcam, 0xFFFFFFFF), 0);
    EXPECT_TRUE(trace_.failed_with(C3_EVENT_NOT_SUPPORTED, "Unknown callback event 4294967295"));
    EXPECT_EQ(orvex_callbacks_invoke(device(), 5), 0);
    EXPECT_EQ(orvex_callbacks_invoke(device(), OX_CALLBACK_CAM_RESUMED), 1);
    EXPECT_TRUE(heard_.wait_for(1));
}

TEST_F(CallbacksTest, QueueIsBoundedByTheFramesOfTheRun) {
    struct Row {
        uns32 frames;
        boolean16 is_sequence;
        uns32 limit;
    };
    // All frames of a sequence and four fifths of a ring, but never more than 128.
    for (const Row& row : {Row{0, 1, 1}, Row{128, 1, 128}, Row{129, 1, 128}, Row{1, 0, 1},
                           Row{6, 0, 5}, Row{10, 2, 8}, Row{1000, 0, 128}}) {
        ASSERT_EQ(orvex_callbacks_set_frame_count(device(), row.frames, row.is_sequence), 1);
        EXPECT_EQ(record().callback_thread->Bof().limit, row.limit) << row.frames;
        EXPECT_EQ(record().callback_thread->Eof().limit, row.limit) << row.frames;
    }
    EXPECT_EQ(bv::FramesInFlight(0xFFFFFFFF, false), 3435973836u);
}

TEST_F(CallbacksTest, RefusedFlushFailsARegistration) {
    camera().refuse(DV_EVENT_NOTIFICATION_FLUSH);
    EXPECT_EQ(heard_.listen(hcam, OX_CALLBACK_EOF), 0);
    EXPECT_EQ(orvex_callbacks_invoke(device(), OX_CALLBACK_EOF), 1);
    // A stop goes on without it and leaves no error.
    bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
    EXPECT_EQ(orvex_callbacks_stop(device()), 1);
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), 0);
    EXPECT_THAT(
        trace_.messages(bv::log_warning),
        testing::Contains("orvex_callbacks_stop: Cannot flush notifications, error ignored"));
    // A start does not.
    EXPECT_EQ(orvex_callbacks_start(device()), 0);
    EXPECT_FALSE(record().started);
    EXPECT_EQ(record().callback_thread, nullptr);
    EXPECT_TRUE(heard_.all().empty());
}

TEST_F(CallbacksTest, MissingFlushEventIsTold) {
    dv_event* flush_ack = std::exchange(device()->flush_ack, nullptr);
    EXPECT_EQ(orvex_callbacks_wait_ready(device()), 0);
    EXPECT_TRUE(trace_.failed_with(C7_DRIVER_COM_ERROR, "Cannot reset flush event"));
    device()->flush_ack = flush_ack;
}

TEST_F(CallbacksTest, PlugInLearnsWhoIsCalledBack) {
    ASSERT_EQ(heard_.listen(hcam, OX_CALLBACK_EOF), 1);
    EXPECT_EQ(camera_.cfg().callback_registered, 1);
    EXPECT_EQ(bv_cam_register_callback(hcam, 9, nullptr, nullptr, 0), 0);
    EXPECT_EQ(camera_.cfg().callback_registered, 0);
    ASSERT_EQ(heard_.listen(hcam, OX_CALLBACK_EOF), 1);
    EXPECT_EQ(bv_cam_deregister_callback(hcam, 9), 0);
    EXPECT_EQ(camera_.cfg().callback_registered, 1);
    EXPECT_EQ(bv_cam_deregister_callback(hcam, OX_CALLBACK_EOF), 1);
    EXPECT_EQ(camera_.cfg().callback_registered, 0);
}

// --- A caller holds the camera, as every exported function does, while a callback that has begun
// wants it, with more frames behind it.

struct CallerStep {
    const char* name;
    boolean16 (*run)(orvex_device* device, tests::HeardEvents& others);
    bool awaits_callback = false;  // the callback is over at the end of the step
};

constexpr uns32 run_frames = 4;

boolean16 NextRun(orvex_device* device, uns32 frames) {
    return orvex_callbacks_set_frame_count(device, frames, 1) && orvex_callbacks_reset(device);
}

constexpr CallerStep caller_steps[] = {
    {"Deregister",
     [](orvex_device*, tests::HeardEvents&) {
         return bv_cam_deregister_callback(hcam, OX_CALLBACK_EOF);
     },
     true},
    {"Replace",
     [](orvex_device*, tests::HeardEvents& others) { return others.listen(hcam, OX_CALLBACK_EOF); },
     true},
    {"SameRun", [](orvex_device* device, auto&) { return NextRun(device, run_frames); }},
    {"OtherRun", [](orvex_device* device, auto&) { return NextRun(device, 7); }},
    {"Close", [](orvex_device*, tests::HeardEvents&) { return dv_cam_close(hcam); }}};

class CallbackBehindItsCaller : public testing::TestWithParam<std::tuple<bool, CallerStep>> {
  protected:
    // Of the frames behind the first one none is told, though a later event is.
    void ExpectNoOtherFrames() {
        ASSERT_EQ(others_.listen(hcam, OX_CALLBACK_CHECK_CAMS), 1);
        ASSERT_TRUE(camera_.camera().report(NOTIFICATION_BUS_RESET));
        ASSERT_TRUE(support::eventually([&] {
            return testing::Value(others_.events(), testing::Contains(OX_CALLBACK_CHECK_CAMS));
        }));
        EXPECT_THAT(heard_.frames(), ElementsAre(1));
    }

    tests::HeardEvents heard_, others_;
    support::TestCamera camera_{1, std::get<0>(GetParam())};
};

TEST_P(CallbackBehindItsCaller, IsNotWaitedForInVain) {
    const CallerStep& step = std::get<1>(GetParam());
    platform::ErrorCheckingMutex& mutex = api_camera_mutexes[hcam];
    std::atomic<bool> begun = false, ended = false;
    const auto begin = [&] {
        begun = true;
        const std::lock_guard guard(mutex);
        ended = true;
    };
    ASSERT_EQ(heard_.listen(hcam, OX_CALLBACK_EOF, begin), 1);
    ASSERT_EQ(NextRun(camera_.device(), run_frames), 1);
    if (std::get<0>(GetParam())) {
        ASSERT_TRUE(camera_.camera().notifications().wait_for_pending(run_frames));
    }
    std::unique_lock held(mutex);
    for (uns32 frame = 1; frame <= run_frames; ++frame)
        ASSERT_TRUE(camera_.camera().report(NOTIFICATION_EOF, frame));
    ASSERT_TRUE(support::eventually([&] { return begun.load(); }));

    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(step.run(camera_.device(), others_), 1) << bv::ApiGlobal::GetErrorCode();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
    EXPECT_EQ(ended, step.awaits_callback);
    EXPECT_TRUE(mutex.IsHeldByThisThread());
    held.unlock();
    ASSERT_TRUE(support::eventually([&] { return ended.load(); }));

    int16 handle = hcam;
    if (camera_.camera().state() == DEVICE_CLOSED) {
        EXPECT_EQ(dv_cam_open("Camera 0", &handle), 1);
    }
    FRAME_INFO latest{};
    EXPECT_EQ(orvex_callbacks_get_latest_frame_info(camera_.device(), &latest), 1);
    if (!step.awaits_callback) {
        EXPECT_EQ(latest.FrameNr, 0);
    }
    ExpectNoOtherFrames();
}

INSTANTIATE_TEST_SUITE_P(Steps, CallbackBehindItsCaller,
                         testing::Combine(testing::Bool(), testing::ValuesIn(caller_steps)),
                         [](const auto& test) {
                             return std::string(std::get<1>(test.param).name) +
                                    (std::get<0>(test.param) ? "ByRequests" : "ByCalls");
                         });

// A module's thread can have read the address just before the camera closed.
TEST_F(CallbacksTest, AddressOfTheDeliveryOutlivesTheClose) {
    ASSERT_EQ(heard_.listen(hcam, OX_CALLBACK_EOF), 1);
    const auto* former = static_cast<const orvex_delivery*>(device()->callbacks);
    ASSERT_EQ(dv_cam_close(hcam), 1);
    EXPECT_EQ(former->set_latest_frame_info(device(), 1, 2, 3), 0);
    EXPECT_EQ(former->invoke(device(), OX_CALLBACK_EOF), 0);
    int16 handle = -1;
    ASSERT_EQ(dv_cam_open("Camera 0", &handle), 1);
    FRAME_INFO info{};
    EXPECT_EQ(orvex_callbacks_get_latest_frame_info(device(), &info), 1);
    EXPECT_EQ(info.FrameNr, 0);
    EXPECT_EQ(former->invoke(device(), OX_CALLBACK_EOF), 1) << "nobody is registered any more";
    EXPECT_TRUE(heard_.all().empty());
}

TEST_F(CallbacksTest, ModuleMayDeliverBesideEverything) {
    std::atomic<bool> stop{false};
    std::vector<std::thread> modules;
    for (int i = 0; i < 2; ++i)
        modules.emplace_back([&] {
            for (uns32 frame = 1; !stop; ++frame) {
                orvex_callbacks_set_latest_frame_info(device(), frame, 0, frame);
                orvex_callbacks_invoke(device(), OX_CALLBACK_EOF);
                orvex_callbacks_invoke(device(), OX_CALLBACK_BOF);
            }
        });
    for (uns32 round = 0; round < 50; ++round) {
        ASSERT_EQ(heard_.listen(hcam, round % 2), 1);
        ASSERT_EQ(orvex_callbacks_set_frame_count(device(), round, 1), 1);
        if (round % 10 == 0) {
            ASSERT_EQ(orvex_callbacks_stop(device()), 1);
            ASSERT_EQ(orvex_callbacks_start(device()), 1);
        }
        if (round % 10 == 5) {
            int16 handle = -1;
            ASSERT_EQ(dv_cam_close(hcam), 1);
            ASSERT_EQ(dv_cam_open("Camera 0", &handle), 1);
        }
    }
    stop = true;
    for (std::thread& module : modules) module.join();
}

}  // namespace
