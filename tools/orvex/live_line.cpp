#include "orvex/live_line.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "orvex/terminal.h"

namespace orvex {

std::string rate_text(double bytes_per_second) {
    std::array<char, 32> text{};
    const bool giga = bytes_per_second >= 1e9;
    std::snprintf(text.data(), text.size(), "%.1f %s", bytes_per_second / (giga ? 1e9 : 1e6),
                  giga ? "GB/s" : "MB/s");
    return text.data();
}

std::string bar_text(double share, unsigned width) {
    const auto filled = static_cast<size_t>(std::lround(std::clamp(share, 0.0, 1.0) * width));
    return '[' + std::string(filled, '#') + std::string(width - filled, '.') + ']';
}

LiveLine::LiveLine() : terminal_(on_terminal()), since_(Clock::now()) {}

LiveLine::~LiveLine() {
    if (terminal_) std::fputs("\r\033[K", stderr);
}

void LiveLine::update(const ContinuousRun& run, const FrameTimes& times) {
    const Clock::time_point now = Clock::now();
    if (!terminal_ || now - drawn_ < std::chrono::milliseconds(100)) return;
    drawn_ = now;
    const uint32_t frames = run.taken() - run.lost();
    const std::chrono::duration<double> passed = now - since_;
    if (passed.count() >= 1 || frames_per_second_ == 0) {
        frames_per_second_ = (frames - frames_then_) / std::max(passed.count(), 1e-3);
    }
    if (passed.count() >= 1) {
        since_ = now;
        frames_then_ = frames;
    }
    const Percentiles latency = times.latency();
    const double fill = static_cast<double>(run.waiting()) / run.ring_frames();
    std::array<char, 256> text{};
    std::snprintf(
        text.data(), text.size(),
        "%u frames  %.1f/s  %s  lost %u  ring %s %.0f %%  latency +%.0f/%.0f/%.0f us", frames,
        frames_per_second_, rate_text(frames_per_second_ * run.frame_bytes()).c_str(), run.lost(),
        bar_text(fill, 10).c_str(), fill * 100, latency.median_us, latency.p95_us, latency.p99_us);
    // A line that wraps could not be drawn over.
    const std::string line = std::string(text.data()).substr(0, terminal_width());
    std::fprintf(stderr, "\r%s\033[K", line.c_str());
}

}  // namespace orvex
