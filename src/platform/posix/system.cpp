#include "platform/system.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <poll.h>
#include <string_view>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace platform {

namespace {

constexpr int64_t nanoseconds_per_second = 1'000'000'000;

// Error number of a timer period outside the range.
constexpr int32_t timer_no_can_do = 97;
constexpr uint32_t timer_min_ms = 1;
constexpr uint32_t timer_max_ms = 1'000'000;

std::atomic<unsigned long> former_timer_slack{0};

// Gives up when the reader of a full pipe has gone to sleep.
void WriteStandardError(std::string_view text) {
    constexpr size_t pipe_piece = 4096;
    while (!text.empty()) {
        pollfd ready{STDERR_FILENO, POLLOUT, 0};
        if (poll(&ready, 1, 0) != 1 || !(ready.revents & POLLOUT)) return;
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
    if (!localtime_r(&time, &local)) return {};
    std::array<char, 256> text;
    return std::string(text.data(), std::strftime(text.data(), text.size(), format, &local));
}

// Asking the system costs as much as the rest of a record of the trace; only a fork changes the
// answer.
uint32_t ProcessId() {
    static std::atomic<uint32_t> id{0};
    static const auto ask = [] { id.store(static_cast<uint32_t>(getpid())); };
    static const bool kept = [] {
        ask();
        return pthread_atfork(nullptr, nullptr, ask) == 0;
    }();
    return kept ? id.load(std::memory_order_relaxed) : static_cast<uint32_t>(getpid());
}

uint32_t ThreadId() {
    thread_local const auto id = static_cast<uint32_t>(syscall(SYS_gettid));
    return id;
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
    return 0;
}

int32_t EndTimerPeriod(uint32_t period_ms) {
    if (period_ms < timer_min_ms || period_ms > timer_max_ms) return timer_no_can_do;
    return prctl(PR_SET_TIMERSLACK, former_timer_slack.load()) == 0 ? 0 : errno;
}

void ShowNotice(const char* title, const char* text) {
    WriteStandardError(std::string(title) + ": " + text + '\n');
}

void DebugOutput(const char* text) {
    WriteStandardError(std::string(text) + '\n');
}

}  // namespace platform
