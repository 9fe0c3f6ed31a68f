#pragma once

#include <atomic>
#include <pthread.h>

namespace platform {

// A non-recursive mutex that notices when its own thread locks it again: lock() then throws
// std::system_error (resource deadlock would occur) instead of hanging. Ready before any code runs
// and never torn down, so that threads which outlive the static objects may still use it.
class ErrorCheckingMutex {
  public:
    constexpr ErrorCheckingMutex() = default;
    ErrorCheckingMutex(const ErrorCheckingMutex&) = delete;
    ErrorCheckingMutex& operator=(const ErrorCheckingMutex&) = delete;

    void lock();
    void unlock();
    // In a forked child: free, whoever held it in the parent.
    void Renew();

  private:
    pthread_mutex_t mutex_ = PTHREAD_ERRORCHECK_MUTEX_INITIALIZER_NP;
};

// From now on the mark says whether the calling thread is waiting for an ErrorCheckingMutex. A
// thread that calls back into an application is thus seen to wait for a lock that the one who
// wants to join it may hold. Null ends it.
void MarkWaitsOfThisThread(std::atomic<bool>* mark);

}  // namespace platform
