#include "orvex/latency.h"

#include <algorithm>
#include <bit>

namespace orvex {

namespace {

// Fewer would have no fast one among them; more would take long to sort in between two frames.
constexpr size_t least_frames = 50;
constexpr size_t most_frames = 10000;

}  // namespace

void Latency::add(int64_t time_stamp, Clock::time_point told) {
    using Ticks = std::chrono::duration<int64_t, std::ratio<1, 10'000'000>>;
    const bool over = told - second_start_ >= std::chrono::seconds(1);
    if (offsets_.size() >= (over ? least_frames : most_frames)) close_second();
    if (offsets_.empty()) second_start_ = told;
    const auto now = std::chrono::duration_cast<Ticks>(told.time_since_epoch()).count();
    offsets_.push_back(now - time_stamp);
}

size_t Latency::bucket(uint64_t ticks) {
    constexpr uint64_t linear = uint64_t{1} << bits_of_bucket;
    if (ticks < linear) return ticks;
    const auto shift = static_cast<unsigned>(std::bit_width(ticks)) - bits_of_bucket - 1;
    return ((size_t{shift} + 1) << bits_of_bucket) + ((ticks >> shift) - linear);
}

double Latency::upper_us(size_t bucket) {
    constexpr size_t linear = size_t{1} << bits_of_bucket;
    if (bucket < linear) return static_cast<double>(bucket) / 10;
    const size_t shift = (bucket >> bits_of_bucket) - 1;
    return static_cast<double>(((linear + bucket % linear + 1) << shift) - 1) / 10;
}

void Latency::close_second() {
    if (offsets_.empty()) return;
    const auto [low, high] = std::minmax_element(offsets_.begin(), offsets_.end());
    worst_ticks_ = std::max(worst_ticks_, *high - *low);
    const int64_t zero = *low;
    for (const int64_t offset : offsets_) ++closed_[bucket(static_cast<uint64_t>(offset - zero))];
    offsets_.clear();
}

Percentiles Latency::percentiles() const {
    Latency all = *this;
    all.close_second();
    Percentiles out;
    for (const uint64_t count : all.closed_) out.count += count;
    if (out.count == 0) return out;
    out.worst_us = static_cast<double>(all.worst_ticks_) / 10;
    const auto at = [&](double share) {
        uint64_t below = 0;
        size_t i = 0;
        while (i < all.closed_.size()) {
            below += all.closed_[i];
            if (static_cast<double>(below) >= share * static_cast<double>(out.count)) break;
            ++i;
        }
        return std::min(upper_us(i), out.worst_us);
    };
    out.median_us = at(0.5);
    out.p95_us = at(0.95);
    out.p99_us = at(0.99);
    return out;
}

}  // namespace orvex
