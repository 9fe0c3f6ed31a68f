#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "orvex/frame_times.h"
#include "orvex/session.h"

namespace orvex {

// How a run is doing, in one line of the error stream that is drawn over and over; only on a
// terminal, ten times a second.
class LiveLine {
  public:
    LiveLine();
    ~LiveLine();
    void update(const ContinuousRun& run, const FrameTimes& times);

  private:
    using Clock = std::chrono::steady_clock;

    bool terminal_;
    Clock::time_point drawn_{};
    // Rates are those since this moment, a second ago at least.
    Clock::time_point since_;
    uint32_t frames_then_ = 0;
    double frames_per_second_ = 0;
};

// "7.9 MB/s", "1.2 GB/s"
std::string rate_text(double bytes_per_second);

// "[####......]"
std::string bar_text(double share, unsigned width);

}  // namespace orvex
