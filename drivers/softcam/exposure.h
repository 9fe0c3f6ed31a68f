#pragma once

#include <cstdint>
#include <span>

#include "softcam/run.h"

namespace softcam {

// What light and heat free in the pixels during one exposure, at the temperature of its moment. An
// exposure of zero length collects nothing.
class Exposure {
  public:
    Exposure(RunContext& context, int64_t nanoseconds);

    // Electrons of image row `row` from column `first` on, each pixel with at most its full well.
    // `light` is the scene at the first of them; it is `lit` with the shutter open. In ideal mode
    // one electron for each unit of brightness.
    void Collect(uint32_t row, uint32_t first, const uint16_t* light, bool lit,
                 std::span<float> electrons);
    // The same where no light falls ever.
    void CollectDark(std::span<float> electrons);

  private:
    void AddHotPixels(uint32_t row, uint32_t first, std::span<float> electrons) const;
    void Draw(std::span<float> electrons);

    RunContext& context_;
    bool any_;
    float flux_ = 0;  // electrons per unit of brightness
    float dark_ = 0;  // electrons
};

}  // namespace softcam
