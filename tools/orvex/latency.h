#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <vector>

// How long after its end a frame was told of.
namespace orvex {

struct Percentiles {
    uint64_t count = 0;
    double median_us = 0;
    double p95_us = 0;
    double p99_us = 0;
    double worst_us = 0;
};

// The camera stamps frames by a clock of its own, whose zero the host does not know. So the fastest
// notification of a second (of fewer frames when they come fast) stands for zero, and latencies
// count from there. Every second starts anew, because the two clocks drift apart.
class Latency {
  public:
    using Clock = std::chrono::steady_clock;

    // Time stamps count 100 ns.
    void add(int64_t time_stamp, Clock::time_point told);
    Percentiles percentiles() const;

  private:
    // Sixteen buckets for each doubling.
    static constexpr unsigned bits_of_bucket = 4;
    using Histogram = std::array<uint64_t, size_t{64} << bits_of_bucket>;

    static size_t bucket(uint64_t ticks);
    static double upper_us(size_t bucket);
    // Moves this second into the histogram.
    void close_second();

    Histogram closed_{};            // of the seconds that are over
    std::vector<int64_t> offsets_;  // of this second: the host's clock less the camera's
    Clock::time_point second_start_{};
    int64_t worst_ticks_ = 0;
};

}  // namespace orvex
