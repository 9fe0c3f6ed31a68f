#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "softcam/models.h"

namespace softcam {

// A place on the sensor where heat frees far more electrons than elsewhere.
struct HotPixel {
    uint16_t row = 0;
    uint16_t column = 0;
};

// How many times the dark current of its neighbours such a pixel has.
constexpr float hot_pixel_factor = 2000.0F;

// `count` of them, sorted by row; equal seeds give equal places.
std::vector<HotPixel> MakeHotPixels(const Geometry& geometry, uint32_t count, uint64_t seed);
// Those of rows `first` to `last`.
std::span<const HotPixel> HotPixelsOf(std::span<const HotPixel> all, uint32_t first, uint32_t last);

}  // namespace softcam
