#include "platform/system.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <mutex>
#include <poll.h>
#include <string_view>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/append_file.h"
#include "platform/fork.h"

namespace platform {

namespace {

constexpr int64_t nanoseconds_per_second = 1'000'000'000;

// Error number of a timer period outside the range.
constexpr int32_t timer_no_can_do = 97;
constexpr uint32_t timer_min_ms = 1;
constexpr uint32_t timer_max_ms = 1'000'000;

std::atomic<unsigned long> former_timer_slack{0};
std::atomic<uint32_t> timer_thread{0};  // whose slack that was

constinit std::atomic<uint32_t> process_id{0};
thread_local uint32_t thread_id = 0;

const ForkHandler ask_ids_anew([] {
    process_id = 0;
    thread_id = 0;
});

// The C library has a lock of its own for the zone, which a child would find held for ever.
std::mutex local_time_lock;
const ForkHandler keep_local_time([] { local_time_lock.lock(); }, [] { local_time_lock.unlock(); });

// Gives up when the reader of a full pipe has gone, or gone to sleep.
void WriteStandardError(std::string_view text) {
    constexpr size_t pipe_piece = 4096;
    const NoWriteSignals quiet;
    while (!text.empty()) {
        pollfd ready{STDERR_FILENO, POLLOUT, 0};
        if (poll(&ready, 1, 0) != 1 || ready.revents != POLLOUT) return;
        const ssize_t written =
            write(STDERR_FILENO, text.data(), std::min(text.size(), pipe_piece));
        if (written <= 0) return;
        text.remove_prefix(static_cast<size_t>(written));
    }
}

}  // namespace

int64_t PerformanceCounter() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * nanoseconds_per_second + now.tv_nsec;
}

int64_t PerformanceFrequency() {
    return nanoseconds_per_second;
}

int64_t WallClockTicks() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec * (nanoseconds_per_second / 100) + now.tv_nsec / 100;
}

std::string FormatLocalTime(int64_t seconds, const char* format) {
    const time_t time = seconds;
    tm local{};
    {
        const std::lock_guard guard(local_time_lock);
        if (!localtime_r(&time, &local)) return {};
    }
    std::array<char, 256> text;
    return std::string(text.data(), std::strftime(text.data(), text.size(), format, &local));
}

// Asking the system costs as much as the rest of a record of the trace; only a fork changes the
// answer.
uint32_t ProcessId() {
    uint32_t id = process_id.load(std::memory_order_relaxed);
    if (id == 0) process_id = id = static_cast<uint32_t>(getpid());
    return id;
}

uint32_t ThreadId() {
    if (thread_id == 0) thread_id = static_cast<uint32_t>(syscall(SYS_gettid));
    return thread_id;
}

std::string ErrorText(uint32_t code) {
    std::array<char, 4096> buffer;
    if (!strerrordesc_np(static_cast<int>(code))) return {};
    return strerror_r(static_cast<int>(code), buffer.data(), buffer.size());
}

uint32_t LastError() {
    return static_cast<uint32_t>(errno);
}

void SleepMs(uint32_t milliseconds) {
    timespec until{};
    clock_gettime(CLOCK_MONOTONIC, &until);
    const int64_t nanoseconds = until.tv_nsec + int64_t{milliseconds % 1000} * 1'000'000;
    until.tv_sec += static_cast<time_t>(milliseconds / 1000 + nanoseconds / nanoseconds_per_second);
    until.tv_nsec = static_cast<long>(nanoseconds % nanoseconds_per_second);
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {
    }
}

int32_t TimerRange(uint32_t& min_ms, uint32_t& max_ms) {
    min_ms = timer_min_ms;
    max_ms = timer_max_ms;
    return 0;
}

// What keeps a timer of this system from being exact is the slack of its thread; threads inherit
// it from the one that starts them.
int32_t BeginTimerPeriod(uint32_t period_ms) {
    if (period_ms < timer_min_ms || period_ms > timer_max_ms) return timer_no_can_do;
    const int slack = prctl(PR_GET_TIMERSLACK);
    if (slack < 0 || prctl(PR_SET_TIMERSLACK, 1ul) != 0) return errno;
    former_timer_slack = static_cast<unsigned long>(slack);
    timer_thread = ThreadId();
    return 0;
}

int32_t EndTimerPeriod(uint32_t period_ms) {
    if (period_ms < timer_min_ms || period_ms > timer_max_ms) return timer_no_can_do;
    // Nobody can give it back to another thread.
    if (timer_thread != ThreadId()) return 0;
    return prctl(PR_SET_TIMERSLACK, former_timer_slack.load()) == 0 ? 0 : errno;
}

void ShowNotice(const char* title, const char* text) {
    WriteStandardError(std::string(title) + ": " + text + '\n');
}

void DebugOutput(const char* text) {
    WriteStandardError(std::string(text) + '\n');
}

}  // namespace platform
