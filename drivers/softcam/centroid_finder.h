#pragma once

#include <cstdint>
#include <vector>

#include "softcam/scene.h"

namespace softcam {

// A spot in an image, in its pixels.
struct Spot {
    uint32_t id = 0;
    uint32_t column = 0;
    uint32_t row = 0;
    uint32_t peak = 0;
    uint32_t mass = 0;    // counts above the background
    uint32_t spread = 0;  // mean squared distance from the centre, in 1/256 pixel^2
};

// Finds bright spots: local maxima above the background by at least `threshold`, the brightest
// first, none closer to a brighter one than the diameter of a spot.
std::vector<Spot> FindSpots(const Image& image, uint32_t radius, uint32_t count,
                            uint32_t threshold);

// Gives spots the numbers they had in the frame before, when they moved by at most twice the
// radius, and new ones otherwise.
class SpotTracker {
  public:
    void Number(std::vector<Spot>& spots, uint32_t radius);

  private:
    std::vector<Spot> before_;
    uint32_t next_id_ = 1;
};

}  // namespace softcam
