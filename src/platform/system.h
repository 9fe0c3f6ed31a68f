#pragma once

#include <cstdint>
#include <string>

// Clocks, identities and other small services of the system.
namespace platform {

// A steady counter and its steps per second.
int64_t PerformanceCounter();
int64_t PerformanceFrequency();
// Wall clock in units of 100 ns since 1970.
int64_t WallClockTicks();
// Seconds since 1970 as local time, by a strftime format; empty when it can't be converted.
std::string FormatLocalTime(int64_t seconds, const char* format);

uint32_t ProcessId();
uint32_t ThreadId();

// The system's text of an error code; empty when it has none.
std::string ErrorText(uint32_t code);
uint32_t LastError();

void SleepMs(uint32_t milliseconds);

// Range of the timer resolution in milliseconds; an error number, 0 for success.
int32_t TimerRange(uint32_t& min_ms, uint32_t& max_ms);
// Raises the resolution of this process's timers, and lowers it again; an error number.
int32_t BeginTimerPeriod(uint32_t period_ms);
int32_t EndTimerPeriod(uint32_t period_ms);

// Tells the operator of something that the installation wants known; never blocks.
void ShowNotice(const char* title, const char* text);
// A line for whoever watches the process's debug output.
void DebugOutput(const char* text);

}  // namespace platform
