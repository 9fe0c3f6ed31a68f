#include "platform/mutex.h"

#include <ctime>
#include <system_error>

namespace platform {

namespace {

thread_local WaitMark* waiting_mark = nullptr;

// Its address tells threads apart.
thread_local char this_thread = 0;

void Check(int error) {
    if (error != 0) throw std::system_error(error, std::generic_category());
}

timespec DeadlineIn(uint32_t limit_ms) {
    timespec deadline{};
    clock_gettime(CLOCK_REALTIME, &deadline);
    const long nanoseconds = deadline.tv_nsec + static_cast<long>(limit_ms % 1000) * 1'000'000;
    deadline.tv_sec += static_cast<time_t>(limit_ms / 1000) + nanoseconds / 1'000'000'000;
    deadline.tv_nsec = nanoseconds % 1'000'000'000;
    return deadline;
}

}  // namespace

void ErrorCheckingMutex::lock() {
    if (pthread_mutex_trylock(&mutex_) != 0) {
        if (waiting_mark) *waiting_mark = this;
        const int error = pthread_mutex_lock(&mutex_);
        // Before the unlock, so that the next holder never sees a wait that is over.
        if (waiting_mark) *waiting_mark = nullptr;
        Check(error);
    }
    holder_.store(&this_thread, std::memory_order_relaxed);
}

bool ErrorCheckingMutex::TryLockFor(uint32_t limit_ms) {
    const timespec deadline = DeadlineIn(limit_ms);
    if (pthread_mutex_timedlock(&mutex_, &deadline) != 0) return false;
    holder_.store(&this_thread, std::memory_order_relaxed);
    return true;
}

void ErrorCheckingMutex::unlock() {
    holder_.store(nullptr, std::memory_order_relaxed);
    pthread_mutex_unlock(&mutex_);
}

bool ErrorCheckingMutex::IsHeldByThisThread() const {
    return holder_.load(std::memory_order_relaxed) == &this_thread;
}

void ErrorCheckingMutex::Renew() {
    mutex_ = PTHREAD_ERRORCHECK_MUTEX_INITIALIZER_NP;
    holder_ = nullptr;
}

void MarkWaitsOfThisThread(WaitMark* mark) {
    waiting_mark = mark;
}

}  // namespace platform
