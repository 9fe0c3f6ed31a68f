#pragma once

#include <vector>

#include "frame.h"

namespace kelmo {

// Replaces a frame by the mean of the last frames, itself included, rounded to the nearest count.
// Until enough came in it is the mean of those that did. Another size starts anew.
class RunningAverage {
  public:
    void Process(const Frame& frame, size_t length);
    void Restart();

  private:
    size_t length_ = 0;
    size_t columns_ = 0;
    size_t rows_ = 0;
    size_t oldest_ = 0;                       // the next of frames_ to go, once all are there
    std::vector<std::vector<uns16>> frames_;  // up to length_ of them
    std::vector<uns32> sums_;                 // of frames_, pixel by pixel
};

}  // namespace kelmo
