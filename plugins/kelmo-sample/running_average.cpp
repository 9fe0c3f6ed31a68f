#include "running_average.h"

#include <algorithm>

namespace kelmo {

void RunningAverage::Restart() {
    frames_.clear();
    oldest_ = 0;
    sums_.clear();
}

void RunningAverage::Process(const Frame& frame, size_t length) {
    if (length != length_ || frame.columns != columns_ || frame.rows != rows_) {
        Restart();
        length_ = length;
        columns_ = frame.columns;
        rows_ = frame.rows;
    }
    sums_.resize(frame.count());
    if (frames_.size() < length_) {
        // Zeros, which the sums hold already.
        oldest_ = frames_.size();
        frames_.emplace_back(frame.count());
    }
    std::vector<uns16>& slot = frames_[oldest_];
    oldest_ = (oldest_ + 1) % length_;
    const auto count = static_cast<uns32>(frames_.size());
    for (size_t i = 0; i < frame.count(); ++i) {
        sums_[i] += frame.pixels[i];
        sums_[i] -= slot[i];
        slot[i] = frame.pixels[i];
        frame.pixels[i] = static_cast<uns16>((sums_[i] + count / 2) / count);
    }
}

}  // namespace kelmo
