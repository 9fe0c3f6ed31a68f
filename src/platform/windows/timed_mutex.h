#pragma once

#include <chrono>

namespace platform {

// What std::timed_mutex is elsewhere: the one of this system's library has to be constructed before
// it is used, and is torn down.
class TimedMutex {
  public:
    constexpr TimedMutex() = default;
    TimedMutex(const TimedMutex&) = delete;
    TimedMutex& operator=(const TimedMutex&) = delete;

    void lock();
    bool try_lock();
    // Asks again every millisecond, as it is for waits that are rare and long.
    bool try_lock_until(std::chrono::system_clock::time_point deadline);
    void unlock();

  private:
    void* lock_ = nullptr;  // in the place of an SRWLOCK
};

}  // namespace platform
