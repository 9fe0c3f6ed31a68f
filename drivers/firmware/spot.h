#pragma once

#include <cstdint>

namespace firmware {

// A spot in an image, in its pixels.
struct Spot {
    uint32_t id = 0;
    uint32_t column = 0;
    uint32_t row = 0;
    uint32_t peak = 0;
    uint32_t mass = 0;    // counts above the background
    uint32_t spread = 0;  // mean squared distance from the centre, in 1/256 pixel^2
};

}  // namespace firmware
