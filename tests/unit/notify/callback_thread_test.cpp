#include "notify/callback_thread.h"

#include <gtest/gtest.h>

#include "platform/event.h"
#include "platform/mutex.h"
#include "support/scripted_driver.h"

namespace {

using bv::CallbackEvent;
using bv::CallbackThread;
using platform::EventReset;
using platform::LocalEvent;

constexpr uint32_t wait_limit_ms = 10000;

// An application whose first callback lasts until it is let go, so that the queue fills up.
class LaggingApplication {
  public:
    void Block(CallbackThread& thread) {
        for (uns32 event = 0; event < OX_CALLBACK_MAX; ++event)
            thread.Callbacks().Set(event, {reinterpret_cast<void*>(&Hear), this, CB_TYPE_EX3});
        thread.Enqueue(Event(OX_CALLBACK_CHECK_CAMS, 0));
        ASSERT_TRUE(entered_.Wait(wait_limit_ms));
    }
    void LetGo() { gate_.Set(); }

    static CallbackEvent Event(uns32 event, int32 frame) {
        CallbackEvent made;
        made.event = event;
        made.frame_info.FrameNr = frame;
        // The kind travels with the frame information, as no form of callback tells it.
        made.frame_info.ReadoutTime = static_cast<int32>(event);
        return made;
    }

    std::vector<std::pair<int32, int32>> heard() const {
        const std::lock_guard guard(lock_);
        return heard_;
    }
    bool WaitFor(size_t count) {
        return support::eventually([&] { return heard().size() >= count; });
    }

  private:
    static void Hear(FRAME_INFO* info, void* context) {
        auto& own = *static_cast<LaggingApplication*>(context);
        if (info->ReadoutTime == OX_CALLBACK_CHECK_CAMS) {
            own.entered_.Set();
            own.gate_.Wait(wait_limit_ms);
        } else {
            const std::lock_guard guard(own.lock_);
            own.heard_.emplace_back(info->ReadoutTime, info->FrameNr);
        }
    }

    LocalEvent entered_{EventReset::automatic, false};
    LocalEvent gate_{EventReset::manual, false};
    mutable std::mutex lock_;
    std::vector<std::pair<int32, int32>> heard_;
};

struct CounterCase {
    uns32 limit;
    std::vector<int32> frames;
    uns32 queued, dropped, missed;
    std::vector<int32> left;
};

class CallbackCounters : public testing::TestWithParam<std::tuple<uns32, CounterCase>> {};

TEST_P(CallbackCounters, NewestFramesWin) {
    const auto& [event, row] = GetParam();
    LaggingApplication application;
    CallbackThread thread;
    application.Block(thread);
    thread.Reset(row.limit);
    for (int32 frame : row.frames) thread.Enqueue(application.Event(event, frame));
    thread.Enqueue(application.Event(OX_CALLBACK_CAM_REMOVED, 99));

    const bool bof = event == OX_CALLBACK_BOF;
    const CallbackThread::Counters counters = bof ? thread.Bof() : thread.Eof();
    EXPECT_EQ(counters.limit, row.limit);
    EXPECT_EQ(counters.queued, row.queued);
    EXPECT_EQ(counters.dropped, row.dropped);
    EXPECT_EQ(counters.missed, row.missed);
    EXPECT_EQ(counters.last, static_cast<uns32>(row.frames.back()));
    const CallbackThread::Counters other = bof ? thread.Eof() : thread.Bof();
    EXPECT_EQ(other.limit, row.limit);
    EXPECT_EQ(other.queued + other.dropped + other.missed + other.last, 0u);

    application.LetGo();
    ASSERT_TRUE(application.WaitFor(row.left.size() + 1));
    std::vector<std::pair<int32, int32>> expected;
    for (int32 frame : row.left) expected.emplace_back(event, frame);
    expected.emplace_back(OX_CALLBACK_CAM_REMOVED, 99);
    EXPECT_EQ(application.heard(), expected);
    const CallbackThread::Counters after = bof ? thread.Bof() : thread.Eof();
    EXPECT_EQ(after.queued + after.dropped, 0u);
}

INSTANTIATE_TEST_SUITE_P(
    Table, CallbackCounters,
    testing::Combine(testing::Values(OX_CALLBACK_BOF, OX_CALLBACK_EOF),
                     testing::Values(CounterCase{2, {1, 2, 3}, 2, 1, 0, {2, 3}},
                                     CounterCase{1, {1, 2, 3}, 1, 2, 0, {3}},
                                     CounterCase{8, {1, 1}, 2, 0, 0xFFFFFFFF, {1, 1}},
                                     CounterCase{8, {5, 6, 10}, 3, 0, 4 + 3, {5, 6, 10}})));

// What is not about frames is no matter of a run.
TEST(CallbackThread, ResetDropsTheFramesOfTheRunBefore) {
    LaggingApplication application;
    CallbackThread thread;
    application.Block(thread);
    thread.Reset(4);
    for (uns32 event : {OX_CALLBACK_EOF, OX_CALLBACK_CAM_REMOVED, OX_CALLBACK_BOF})
        thread.Enqueue(application.Event(event, 7));
    thread.Reset(4);
    thread.Enqueue(application.Event(OX_CALLBACK_EOF, 1));
    application.LetGo();
    ASSERT_TRUE(application.WaitFor(2));
    EXPECT_EQ(application.heard(), (std::vector<std::pair<int32, int32>>{
                                       {OX_CALLBACK_CAM_REMOVED, 7}, {OX_CALLBACK_EOF, 1}}));
    EXPECT_EQ(thread.Eof().queued, 0u);
}

TEST(CallbackThread, CallbackMayDestroyItsOwnThreadAndWhatIsQueued) {
    struct Context {
        std::unique_ptr<CallbackThread> thread = std::make_unique<CallbackThread>();
        LocalEvent queued{EventReset::manual, false};
        LocalEvent done{EventReset::manual, false};
        std::atomic<int> calls{0};
    } context;
    const auto end = reinterpret_cast<void*>(+[](void* argument) {
        auto& own = *static_cast<Context*>(argument);
        ++own.calls;
        own.queued.Wait(wait_limit_ms);
        own.thread.reset();
        own.done.Set();
    });
    context.thread->Callbacks().Set(OX_CALLBACK_EOF, {end, &context, CB_TYPE_EX});
    for (int32 frame : {1, 2})
        context.thread->Enqueue(LaggingApplication::Event(OX_CALLBACK_EOF, frame));
    context.queued.Set();
    EXPECT_TRUE(context.done.Wait(wait_limit_ms));
    EXPECT_FALSE(
        support::eventually([&] { return context.calls > 1; }, std::chrono::milliseconds(50)));
}

// A caller who holds the lock leaves the thread to itself at once, another one after a while.
TEST(DeliveryThread, ThreadBehindALockIsLeftToItself) {
    for (const bool held_by_caller : {true, false}) {
        auto mutex = std::make_shared<platform::ErrorCheckingMutex>();
        auto ended = std::make_shared<LocalEvent>(EventReset::manual, false);
        LocalEvent locked(EventReset::manual, false), unlock(EventReset::manual, false);
        std::thread other;
        if (held_by_caller) {
            mutex->lock();
        } else {
            other = std::thread([&] {
                const std::lock_guard guard(*mutex);
                locked.Set();
                unlock.Wait(wait_limit_ms);
            });
            ASSERT_TRUE(locked.Wait(wait_limit_ms));
        }
        bv::DeliveryThread thread([=] {
            mutex->lock();
            mutex->unlock();
            ended->Set();
        });
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_FALSE(thread.Finish(held_by_caller ? 60000 : 100));
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
        EXPECT_FALSE(ended->Wait(0));
        if (held_by_caller) mutex->unlock();
        unlock.Set();
        if (other.joinable()) other.join();
        EXPECT_TRUE(ended->Wait(wait_limit_ms));
    }
}

TEST(DeliveryThread, SlowCallbackIsWaitedFor) {
    auto gate = std::make_shared<LocalEvent>(EventReset::manual, false);
    bv::DeliveryThread thread([=] { gate->Wait(300); });
    EXPECT_TRUE(thread.Finish(100));
}

}  // namespace
