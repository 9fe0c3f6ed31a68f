#include "platform/mutex.h"

#include <chrono>
#include <new>
#include <system_error>
#include <type_traits>

namespace platform {

static_assert(std::is_trivially_destructible_v<ErrorCheckingMutex>);

namespace {

thread_local WaitMark* waiting_mark = nullptr;

// Its address tells threads apart.
thread_local char this_thread = 0;

}  // namespace

void ErrorCheckingMutex::lock() {
    if (!mutex_.try_lock()) {
        if (IsHeldByThisThread())
            throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
        if (waiting_mark) *waiting_mark = this;
        mutex_.lock();
        // Before the unlock, so that the next holder never sees a wait that is over.
        if (waiting_mark) *waiting_mark = nullptr;
    }
    Hold();
}

// By the wall clock: ThreadSanitizer doesn't know the system's wait by the steady one.
bool ErrorCheckingMutex::TryLockFor(uint32_t limit_ms) {
    if (IsHeldByThisThread()) return false;
    const auto deadline = std::chrono::system_clock::now() + std::chrono::milliseconds(limit_ms);
    if (!mutex_.try_lock_until(deadline)) return false;
    Hold();
    return true;
}

void ErrorCheckingMutex::Hold() {
    holder_.store(&this_thread, std::memory_order_relaxed);
}

void ErrorCheckingMutex::unlock() {
    if (!holder_.load(std::memory_order_relaxed)) return;
    holder_.store(nullptr, std::memory_order_relaxed);
    mutex_.unlock();
}

bool ErrorCheckingMutex::IsHeldByThisThread() const {
    return holder_.load(std::memory_order_relaxed) == &this_thread;
}

void ErrorCheckingMutex::Renew() {
    new (&mutex_) TimedMutex;
    holder_ = nullptr;
}

void MarkWaitsOfThisThread(WaitMark* mark) {
    waiting_mark = mark;
}

}  // namespace platform
