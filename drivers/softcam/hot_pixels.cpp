#include "softcam/hot_pixels.h"

#include <algorithm>

#include "softcam/noise.h"

namespace softcam {

std::vector<HotPixel> MakeHotPixels(const Geometry& geometry, uint32_t count, uint64_t seed) {
    // A generator of its own, so that the noise of a run does not depend on the number.
    Noise places(seed + 1);
    std::vector<HotPixel> pixels(count);
    for (HotPixel& pixel : pixels) {
        pixel.row = static_cast<uint16_t>((places.Bits() >> 32) % geometry.rows);
        pixel.column = static_cast<uint16_t>((places.Bits() >> 32) % geometry.columns);
    }
    std::ranges::sort(pixels, {}, &HotPixel::row);
    return pixels;
}

std::span<const HotPixel> HotPixelsOf(std::span<const HotPixel> all, uint32_t first,
                                      uint32_t last) {
    const auto begin = std::ranges::lower_bound(all, first, {}, &HotPixel::row);
    const auto end = std::ranges::upper_bound(begin, all.end(), last, {}, &HotPixel::row);
    return {begin, end};
}

}  // namespace softcam
