#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <utility>

namespace orvex::view {

// Frames a second, over the last two seconds or over three frames when these take longer.
class Rate {
  public:
    using Clock = std::chrono::steady_clock;

    void reset() { noted_.clear(); }
    void note(uint32_t newest, Clock::time_point now) {
        if (!noted_.empty() && noted_.back().second == newest) return;
        noted_.emplace_back(now, newest);
        while (noted_.size() > 3 && now - noted_[1].first > std::chrono::seconds(2)) {
            noted_.pop_front();
        }
    }
    double per_second(Clock::time_point now) const {
        if (noted_.size() < 2) return 0;
        const auto& [begin, first] = noted_.front();
        const auto& [end, last] = noted_.back();
        const std::chrono::duration<double> span = end - begin;
        // A camera that has fallen silent gets slower from look to look.
        const std::chrono::duration<double> silent = now - end;
        const double usual = span.count() / static_cast<double>(last - first);
        const double late = silent.count() > 2 * usual + 1 ? silent.count() : 0;
        return static_cast<double>(last - first) / (span.count() + late);
    }

  private:
    std::deque<std::pair<Clock::time_point, uint32_t>> noted_;
};

}  // namespace orvex::view
