#pragma once

#include <atomic>
#include <cstdint>

#ifdef _WIN32
#include "platform/windows/timed_mutex.h"
#else
#include <mutex>
#endif

namespace platform {

#ifndef _WIN32
using TimedMutex = std::timed_mutex;
#endif

// A non-recursive mutex that notices when its own thread locks it again: lock() then throws
// std::system_error (resource deadlock would occur) instead of hanging. Ready before any code runs
// and never torn down, so that threads which outlive the static objects may still use it.
class ErrorCheckingMutex {
  public:
    constexpr ErrorCheckingMutex() = default;
    ErrorCheckingMutex(const ErrorCheckingMutex&) = delete;
    ErrorCheckingMutex& operator=(const ErrorCheckingMutex&) = delete;

    void lock();
    // False when it could not be had within the limit, or is held by the calling thread.
    bool TryLockFor(uint32_t limit_ms);
    // By its holder; nothing in a child that was forked while this thread held it.
    void unlock();
    bool IsHeldByThisThread() const;
    // In a forked child: free, whoever held it in the parent.
    void Renew();

  private:
    void Hold();

    TimedMutex mutex_;
    std::atomic<const void*> holder_{nullptr};
};

// The mutex that a thread waits for, or null. Whoever holds that mutex knows the wait to last until
// the unlock.
using WaitMark = std::atomic<const ErrorCheckingMutex*>;

// From now on the mark names what the calling thread waits for. A thread that calls back into an
// application is thus seen to wait for the one who wants to wait for it. Null ends it.
void MarkWaitsOfThisThread(WaitMark* mark);

}  // namespace platform
