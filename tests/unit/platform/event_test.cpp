#include "platform/event.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "platform/system.h"

namespace {

using platform::Event;
using platform::EventReset;
using platform::LocalEvent;

constexpr uint32_t wait_limit_ms = 10000;

// Of this process alone, so that no other run meets it.
std::string OwnName(const std::string& name) {
    return std::to_string(platform::ProcessId()) + "_" + name;
}

TEST(Event, SignalIsTakenByAutomaticWaitsAlone) {
    for (const auto& [named, reset, signalled] : {std::tuple{true, EventReset::manual, false},
                                                  {true, EventReset::automatic, false},
                                                  {false, EventReset::automatic, true},
                                                  {false, EventReset::manual, true}}) {
        Event event;
        ASSERT_TRUE(event.Create(named ? OwnName("states").c_str() : nullptr, reset, signalled));
        EXPECT_GE(event.Handle(), 0);
        if (!signalled) {
            EXPECT_FALSE(event.Wait(0));
            EXPECT_TRUE(event.Set());
        }
        EXPECT_TRUE(event.Wait(0));
        EXPECT_EQ(event.Wait(0), reset == EventReset::manual);
        event.Set();
        event.Reset();
        EXPECT_FALSE(event.Wait(0));
    }
}

// Each of many signals lets exactly one waiter through.
template <class E>
void ShareSignals(E& event) {
    constexpr int signals = 200;
    std::atomic<int> let_through{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 4; ++i)
        waiters.emplace_back([&] {
            for (int round = 0; round < signals / 4; ++round)
                if (event.Wait(wait_limit_ms)) ++let_through;
        });
    for (int i = 0; i < signals; ++i) {
        event.Set();
        while (let_through <= i) std::this_thread::yield();
        EXPECT_FALSE(event.Wait(0));
    }
    for (std::thread& waiter : waiters) waiter.join();
    EXPECT_EQ(let_through, signals);
}

TEST(Event, AutomaticSignalLetsOneWaiterThrough) {
    Event event;
    ASSERT_TRUE(event.Create(nullptr, EventReset::automatic, false));
    ShareSignals(event);
    LocalEvent local(EventReset::automatic, false);
    ShareSignals(local);
}

TEST(Event, WaitGivesUpAfterItsLimitAndNotBefore) {
    Event event;
    ASSERT_TRUE(event.Create(nullptr, EventReset::manual, false));
    LocalEvent local(EventReset::manual, false);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(event.Wait(30));
    EXPECT_FALSE(local.Wait(30));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(60));
}

}  // namespace
