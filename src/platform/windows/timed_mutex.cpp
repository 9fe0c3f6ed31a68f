#include "platform/windows/timed_mutex.h"

#include "platform/windows/api.h"

namespace platform {

namespace {

static_assert(sizeof(SRWLOCK) == sizeof(void*) && alignof(SRWLOCK) == alignof(void*));

SRWLOCK* Native(void*& lock) {
    return reinterpret_cast<SRWLOCK*>(&lock);
}

}  // namespace

void TimedMutex::lock() {
    AcquireSRWLockExclusive(Native(lock_));
}

bool TimedMutex::try_lock() {
    return TryAcquireSRWLockExclusive(Native(lock_)) != 0;
}

bool TimedMutex::try_lock_until(std::chrono::system_clock::time_point deadline) {
    while (!try_lock()) {
        if (std::chrono::system_clock::now() >= deadline) return false;
        Sleep(1);
    }
    return true;
}

void TimedMutex::unlock() {
    ReleaseSRWLockExclusive(Native(lock_));
}

}  // namespace platform
