#pragma once

#include <vector>

#include "frame.h"

namespace kelmo {

// Replaces every pixel that is brighter than the median of its neighbours by more than a threshold
// by that median. Neighbours are the up to eight pixels around it, as they were in the input; of an
// even number the upper median counts.
class HotPixelRemoval {
  public:
    void Process(const Frame& frame, uns16 threshold);

  private:
    // The row in work and the one above it as they were in the input.
    std::vector<uns16> above_;
    std::vector<uns16> current_;
};

}  // namespace kelmo
