#include "platform/event.h"

#include <array>
#include <chrono>
#include <cstdint>

#include "platform/windows/api.h"

namespace platform {

namespace {

// What the waiters of an event sleep on. Many events share one: a run keeps tens of thousands of
// them, of which hardly any is ever waited for. All zero is ready for use, and none is torn down.
struct Sleepers {
    SRWLOCK lock = SRWLOCK_INIT;
    CONDITION_VARIABLE wake = CONDITION_VARIABLE_INIT;
};

constexpr size_t sleepers_count = 64;
constinit std::array<Sleepers, sleepers_count> all_sleepers{};

Sleepers& SleepersOf(const void* event) {
    constexpr uintptr_t golden_ratio = 0x9E3779B97F4A7C15u;
    return all_sleepers[(reinterpret_cast<uintptr_t>(event) * golden_ratio) >> 58];
}

class Locked {
  public:
    explicit Locked(Sleepers& sleepers) : sleepers_(sleepers) {
        AcquireSRWLockExclusive(&sleepers_.lock);
    }
    ~Locked() { ReleaseSRWLockExclusive(&sleepers_.lock); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;

  private:
    Sleepers& sleepers_;
};

}  // namespace

// The system removes them with the last handle of a process that dies.
void SweepEvents() {}

void LocalEvent::Set() {
    Sleepers& sleepers = SleepersOf(this);
    {
        const Locked locked(sleepers);
        signalled_ = 1;
    }
    // Those that wait for other events go to sleep again.
    WakeAllConditionVariable(&sleepers.wake);
}

void LocalEvent::Reset() {
    const Locked locked(SleepersOf(this));
    signalled_ = 0;
}

bool LocalEvent::Poll() {
    if (signalled_ == 0) return false;
    if (reset_ == EventReset::automatic) signalled_ = 0;
    return true;
}

bool LocalEvent::Wait(uint32_t limit_ms) {
    using Clock = std::chrono::steady_clock;
    using std::chrono::milliseconds;
    const auto deadline = Clock::now() + milliseconds(limit_ms);
    Sleepers& sleepers = SleepersOf(this);
    const Locked locked(sleepers);
    while (!Poll()) {
        DWORD left_ms = INFINITE;
        if (limit_ms != Event::no_limit) {
            const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now()).count();
            if (left <= 0) return false;
            left_ms = static_cast<DWORD>(left);
        }
        SleepConditionVariableSRW(&sleepers.wake, &sleepers.lock, left_ms, 0);
    }
    return true;
}

}  // namespace platform
