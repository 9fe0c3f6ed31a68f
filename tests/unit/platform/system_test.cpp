#include "platform/system.h"

#include <gtest/gtest.h>
#include <thread>

namespace {

TEST(System, ClocksAgreeOnTheirUnits) {
    const int64_t counter = platform::PerformanceCounter();
    const int64_t ticks = platform::WallClockTicks();
    platform::SleepMs(20);
    EXPECT_GE(platform::PerformanceCounter() - counter, platform::PerformanceFrequency() / 50);
    EXPECT_GE(platform::WallClockTicks() - ticks, 200'000 - 20'000);
    EXPECT_GT(ticks / 10'000'000, 1'700'000'000);
}

TEST(System, ThreadsHaveIdsOfTheirOwn) {
    const uint32_t own = platform::ThreadId();
    std::thread([own] { EXPECT_NE(platform::ThreadId(), own); }).join();
    EXPECT_EQ(platform::ThreadId(), own);
}

}  // namespace
