#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <span>
#include <vector>

#include "orvex/facts.h"

namespace orvex {

// When the frames of a run began, as the camera tells on a thread of the library.
class FrameTimes {
  public:
    void note(const FRAME_INFO& info);
    // Frames that the camera has told of.
    size_t count() const;
    // Of these frames.
    std::vector<FrameStamp> stamps(std::span<const uint32_t> numbers) const;

  private:
    mutable std::mutex lock_;
    std::map<uint32_t, int64_t> begins_;  // in units of 100 ns
};

}  // namespace orvex
