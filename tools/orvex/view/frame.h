#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include "orvex/orvex.h"

namespace orvex::view {

// How often each value occurs in a frame, and what follows from that.
struct Levels {
    std::vector<uint32_t> counts;  // one for each of 65536 values
    uint16_t min = 0;
    uint16_t max = 0;
    double mean = 0;
    double deviation = 0;
    uint32_t saturated = 0;

    // The value that this share of the pixels lies at or below.
    uint16_t percentile(double share) const;
};

struct Size {
    uint32_t width = 0;
    uint32_t height = 0;
};

// A picture of 16 bits as the camera made it.
class Frame {
  public:
    uint64_t serial = 0;  // of all frames that the view has shown, from 1
    uint32_t number = 0;  // in its run
    Size size;
    rgn_type region{};
    uint16_t saturation = 65535;
    std::vector<uint16_t> pixels;

    uint16_t at(uint32_t x, uint32_t y) const { return pixels[size_t{y} * size.width + x]; }
    // Counted once, by the first reader that asks.
    const Levels& levels() const;
    // Forgets what was counted: the pixels are new ones.
    void renew();

  private:
    mutable std::mutex lock_;
    mutable bool counted_ = false;
    mutable Levels levels_;
};

}  // namespace orvex::view
