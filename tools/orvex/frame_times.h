#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <span>
#include <vector>

#include "orvex/facts.h"
#include "orvex/latency.h"

namespace orvex {

// What the camera tells of the frames of a run, on a thread of the library: when they began, and
// how soon they were told of.
class FrameTimes {
  public:
    // Without begins a run may go on for ever.
    enum class Keep { latency, begins };
    explicit FrameTimes(Keep keep) : keeps_begins_(keep == Keep::begins) {}

    void note(const FRAME_INFO& info);
    // For a run.
    EventFunction listener() {
        return [this](const FRAME_INFO& info) { note(info); };
    }

    Percentiles latency() const;
    // Frames whose begin is known.
    size_t count() const;
    // Of these frames.
    std::vector<FrameStamp> stamps(std::span<const uint32_t> numbers) const;

  private:
    bool keeps_begins_;
    mutable std::mutex lock_;
    Latency latency_;
    std::map<uint32_t, int64_t> begins_;  // in units of 100 ns
};

}  // namespace orvex
