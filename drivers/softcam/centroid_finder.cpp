#include "softcam/centroid_finder.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace softcam {
namespace {

uint32_t Background(const Image& image) {
    if (image.pixels.empty()) return 0;
    // A coarse sample is enough: spots cover little of an image.
    std::vector<uint16_t> sample;
    const size_t step = image.pixels.size() / 4096 + 1;
    for (size_t i = 0; i < image.pixels.size(); i += step) sample.push_back(image.pixels[i]);
    const auto middle = sample.begin() + static_cast<std::ptrdiff_t>(sample.size() / 2);
    std::nth_element(sample.begin(), middle, sample.end());
    return *middle;
}

uint32_t Distance(const Spot& a, const Spot& b) {
    const auto along = [](uint32_t p, uint32_t q) { return p > q ? p - q : q - p; };
    return std::max(along(a.column, b.column), along(a.row, b.row));
}

bool IsPeak(const Image& image, uint32_t column, uint32_t row) {
    const uint16_t value = image.At(column, row);
    for (uint32_t y = row - 1; y <= row + 1; ++y) {
        for (uint32_t x = column - 1; x <= column + 1; ++x) {
            // Of equal neighbours the first one counts.
            const bool earlier = y < row || (y == row && x < column);
            if (image.At(x, y) > value || (earlier && image.At(x, y) == value)) return false;
        }
    }
    return true;
}

// Mass and centre of the light around a peak.
void Measure(const Image& image, uint32_t radius, uint32_t background, Spot& spot) {
    const uint32_t left = spot.column - std::min(spot.column, radius);
    const uint32_t top = spot.row - std::min(spot.row, radius);
    const uint32_t right = std::min(spot.column + radius, image.columns - 1);
    const uint32_t bottom = std::min(spot.row + radius, image.rows - 1);
    double mass = 0;
    double sum_x = 0;
    double sum_y = 0;
    double sum_squares = 0;
    for (uint32_t y = top; y <= bottom; ++y) {
        for (uint32_t x = left; x <= right; ++x) {
            const double light = image.At(x, y) > background ? image.At(x, y) - background : 0.0;
            mass += light;
            sum_x += light * x;
            sum_y += light * y;
            sum_squares += light * (static_cast<double>(x) * x + static_cast<double>(y) * y);
        }
    }
    if (mass <= 0) return;
    const double center_x = sum_x / mass;
    const double center_y = sum_y / mass;
    const double spread =
        std::max(sum_squares / mass - center_x * center_x - center_y * center_y, 0.0);
    spot.mass = static_cast<uint32_t>(mass);
    spot.spread = static_cast<uint32_t>(spread * 256.0);
    spot.column = static_cast<uint32_t>(std::lround(center_x));
    spot.row = static_cast<uint32_t>(std::lround(center_y));
}

}  // namespace

std::vector<Spot> FindSpots(const Image& image, uint32_t radius, uint32_t count,
                            uint32_t threshold) {
    const uint32_t background = Background(image);
    std::vector<Spot> peaks;
    for (uint32_t row = 1; row + 1 < image.rows; ++row) {
        for (uint32_t column = 1; column + 1 < image.columns; ++column) {
            const uint32_t value = image.At(column, row);
            if (value < background + threshold || !IsPeak(image, column, row)) continue;
            peaks.push_back(
                {.id = 0, .column = column, .row = row, .peak = value, .mass = 0, .spread = 0});
        }
    }
    // Of equally bright ones the first in reading order counts.
    std::sort(peaks.begin(), peaks.end(), [](const Spot& a, const Spot& b) {
        return std::tie(b.peak, a.row, a.column) < std::tie(a.peak, b.row, b.column);
    });
    std::vector<Spot> spots;
    for (Spot peak : peaks) {
        if (spots.size() == count) break;
        const auto near = [&](const Spot& other) { return Distance(peak, other) <= 2 * radius; };
        if (std::any_of(spots.begin(), spots.end(), near)) continue;
        Measure(image, radius, background, peak);
        spots.push_back(peak);
    }
    return spots;
}

const Image& BackgroundFrames::Without(const Image& image) {
    if (!Remembers()) return image;
    result_ = image;
    sums_.resize(image.pixels.size());
    const auto count = static_cast<uint32_t>(before_.size());
    for (size_t i = 0; count > 0 && i < sums_.size(); ++i) {
        const uint32_t still = std::min<uint32_t>(sums_[i] / count, image.pixels[i]);
        result_.pixels[i] = static_cast<uint16_t>(image.pixels[i] - still);
    }
    before_.push_back(image);
    const bool full = before_.size() == frames_;
    for (size_t i = 0; i < sums_.size(); ++i)
        sums_[i] += image.pixels[i] - (full ? before_.front().pixels[i] : 0u);
    if (full) before_.pop_front();
    return result_;
}

void SpotTracker::Number(std::vector<Spot>& spots, uint32_t radius) {
    for (Spot& spot : spots) {
        const auto nearest = std::min_element(
            before_.begin(), before_.end(),
            [&](const Spot& a, const Spot& b) { return Distance(spot, a) < Distance(spot, b); });
        if (nearest == before_.end() || Distance(spot, *nearest) > 2 * radius) {
            spot.id = next_id_++;
            continue;
        }
        spot.id = nearest->id;
        before_.erase(nearest);
    }
    before_ = spots;
}

}  // namespace softcam
