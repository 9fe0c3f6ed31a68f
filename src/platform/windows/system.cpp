#include "platform/system.h"

#include <array>
#include <ctime>

#include "platform/windows/api.h"

namespace platform {

int64_t PerformanceCounter() {
    LARGE_INTEGER counter;
    QueryPerformanceCounter(&counter);
    return counter.QuadPart;
}

int64_t PerformanceFrequency() {
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    return frequency.QuadPart;
}

int64_t WallClockTicks() {
    // The system counts from 1601.
    constexpr int64_t ticks_to_1970 = 116'444'736'000'000'000;
    FILETIME time;
    GetSystemTimePreciseAsFileTime(&time);
    const auto ticks = uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
    return static_cast<int64_t>(ticks) - ticks_to_1970;
}

std::string FormatLocalTime(int64_t seconds, const char* format) {
    const __time64_t time = seconds;
    tm local{};
    if (_localtime64_s(&local, &time) != 0) return {};
    std::array<char, 256> text;
    return std::string(text.data(), std::strftime(text.data(), text.size(), format, &local));
}

uint32_t ProcessId() {
    return GetCurrentProcessId();
}

uint32_t ThreadId() {
    return GetCurrentThreadId();
}

// Texts of the system end in a line break, which would show in the trace.
std::string ErrorText(uint32_t code) {
    std::array<char, 4096> buffer;
    size_t length =
        FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0,
                       buffer.data(), static_cast<DWORD>(buffer.size()), nullptr);
    while (length > 0 && (buffer[length - 1] == '\n' || buffer[length - 1] == '\r')) --length;
    return std::string(buffer.data(), length);
}

uint32_t LastError() {
    return GetLastError();
}

void SleepMs(uint32_t milliseconds) {
    Sleep(milliseconds);
}

int32_t TimerRange(uint32_t& min_ms, uint32_t& max_ms) {
    TIMECAPS range{};
    const MMRESULT error = timeGetDevCaps(&range, sizeof(range));
    if (error == MMSYSERR_NOERROR) {
        min_ms = range.wPeriodMin;
        max_ms = range.wPeriodMax;
    }
    return static_cast<int32_t>(error);
}

int32_t BeginTimerPeriod(uint32_t period_ms) {
    return static_cast<int32_t>(timeBeginPeriod(period_ms));
}

int32_t EndTimerPeriod(uint32_t period_ms) {
    return static_cast<int32_t>(timeEndPeriod(period_ms));
}

void ShowNotice(const char* title, const char* text) {
    MessageBoxA(nullptr, text, title, MB_ICONSTOP | MB_SETFOREGROUND | MB_TOPMOST);
}

void DebugOutput(const char* text) {
    OutputDebugStringA(text);
}

}  // namespace platform
