#include "platform/mutex.h"

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

TEST(ErrorCheckingMutex, WaitingThreadNamesWhatItWaitsFor) {
    ErrorCheckingMutex mutex;
    platform::WaitMark awaited{nullptr};
    mutex.lock();
    EXPECT_TRUE(mutex.IsHeldByThisThread());
    EXPECT_FALSE(mutex.TryLockFor(1000)) << "its own thread has it";
    std::thread thread([&] {
        platform::MarkWaitsOfThisThread(&awaited);
        EXPECT_FALSE(mutex.IsHeldByThisThread());
        EXPECT_FALSE(mutex.TryLockFor(1));
        const std::lock_guard guard(mutex);
        EXPECT_EQ(awaited, nullptr);
    });
    while (!awaited) std::this_thread::yield();
    EXPECT_EQ(awaited, &mutex);
    mutex.unlock();
    thread.join();
    EXPECT_FALSE(mutex.IsHeldByThisThread());
    EXPECT_TRUE(mutex.TryLockFor(0));
    mutex.unlock();
}

}  // namespace
