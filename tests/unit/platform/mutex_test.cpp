#include "platform/mutex.h"

#include <atomic>
#include <gtest/gtest.h>
#include <mutex>
#include <system_error>
#include <thread>

namespace {

using platform::ErrorCheckingMutex;

TEST(ErrorCheckingMutex, OwnThreadIsRefusedAndTheLockStaysGood) {
    ErrorCheckingMutex mutex;
    mutex.lock();
    try {
        mutex.lock();
        FAIL() << "locked twice";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::resource_deadlock_would_occur);
    }
    mutex.unlock();
    mutex.lock();
    mutex.unlock();
}

TEST(ErrorCheckingMutex, WaitingThreadIsSeenToWait) {
    ErrorCheckingMutex mutex;
    std::atomic<bool> waits{false};
    mutex.lock();
    std::thread thread([&] {
        platform::MarkWaitsOfThisThread(&waits);
        const std::lock_guard guard(mutex);
        EXPECT_FALSE(waits);
    });
    while (!waits) std::this_thread::yield();
    mutex.unlock();
    thread.join();
    EXPECT_FALSE(waits);
}

}  // namespace
