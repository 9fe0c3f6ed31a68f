#include "orvex/view/frame.h"

#include <algorithm>
#include <cmath>

namespace orvex::view {

namespace {

constexpr size_t values = 65536;

void count(const std::vector<uint16_t>& pixels, std::vector<uint32_t>& counts) {
    counts.assign(values, 0);
    // Neighbours are often alike, and would wait for each other in one table.
    static thread_local std::vector<uint32_t> second;
    second.assign(values, 0);
    size_t i = 0;
    for (; i + 1 < pixels.size(); i += 2) {
        ++counts[pixels[i]];
        ++second[pixels[i + 1]];
    }
    if (i < pixels.size()) ++counts[pixels[i]];
    for (size_t value = 0; value < values; ++value) counts[value] += second[value];
}

void summarise(Levels& levels, uint16_t saturation) {
    double sum = 0, squares = 0;
    uint64_t all = 0;
    bool first = true;
    levels.saturated = 0;
    for (size_t value = 0; value < values; ++value) {
        const uint32_t n = levels.counts[value];
        if (n == 0) continue;
        const auto level = static_cast<double>(value);
        if (first) levels.min = static_cast<uint16_t>(value);
        first = false;
        levels.max = static_cast<uint16_t>(value);
        all += n;
        sum += n * level;
        squares += n * level * level;
        if (value >= saturation) levels.saturated += n;
    }
    if (all == 0) return;
    levels.mean = sum / static_cast<double>(all);
    levels.deviation =
        std::sqrt(std::max(0.0, squares / static_cast<double>(all) - levels.mean * levels.mean));
}

}  // namespace

uint16_t Levels::percentile(double share) const {
    uint64_t all = 0;
    for (size_t value = min; value <= max; ++value) all += counts[value];
    const auto wanted = static_cast<uint64_t>(std::ceil(share * static_cast<double>(all)));
    uint64_t below = 0;
    for (size_t value = min; value < max; ++value) {
        below += counts[value];
        if (below >= wanted) return static_cast<uint16_t>(value);
    }
    return max;
}

const Levels& Frame::levels() const {
    const std::lock_guard hold(lock_);
    if (!counted_) {
        levels_.min = levels_.max = 0;
        levels_.mean = levels_.deviation = 0;
        count(pixels, levels_.counts);
        summarise(levels_, saturation);
        counted_ = true;
    }
    return levels_;
}

void Frame::renew() {
    const std::lock_guard hold(lock_);
    counted_ = false;
}

}  // namespace orvex::view
