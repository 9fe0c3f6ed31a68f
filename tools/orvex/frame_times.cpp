#include "orvex/frame_times.h"

namespace orvex {

void FrameTimes::note(const FRAME_INFO& info) {
    const Latency::Clock::time_point now = Latency::Clock::now();
    const std::lock_guard hold(lock_);
    latency_.add(info.TimeStampEOF, now);
    if (!keeps_begins_ || info.FrameNr < 1) return;
    begins_.emplace(static_cast<uint32_t>(info.FrameNr), info.TimeStampBOF);
}

Percentiles FrameTimes::latency() const {
    // Copied, so that no notification has to wait for the figures.
    std::unique_lock hold(lock_);
    const Latency copy = latency_;
    hold.unlock();
    return copy.percentiles();
}

size_t FrameTimes::count() const {
    const std::lock_guard hold(lock_);
    return begins_.size();
}

std::vector<FrameStamp> FrameTimes::stamps(std::span<const uint32_t> numbers) const {
    const std::lock_guard hold(lock_);
    const auto first = begins_.find(1);
    std::vector<FrameStamp> out;
    out.reserve(numbers.size());
    for (const uint32_t number : numbers) {
        const auto begin = begins_.find(number);
        const bool known = first != begins_.end() && begin != begins_.end();
        out.push_back(
            {number, known ? std::optional(static_cast<double>(begin->second - first->second) / 1e7)
                           : std::nullopt});
    }
    return out;
}

}  // namespace orvex
