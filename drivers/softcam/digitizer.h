#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

#include "softcam/models.h"
#include "softcam/noise.h"

namespace softcam {

// From electrons to counts. In ideal mode one electron is one count, with nothing added, and the
// sum saturates at 16 bits.
class Digitizer {
  public:
    Digitizer(const Model& model, const Settings& settings, bool ideal);

    // Electrons of one pixel when its counts end.
    float PixelLimit() const { return std::max((top_ - bias_) * electrons_per_count_, 0.0F); }

    // Reads as many pixels as there are places in `counts`; each is the sum of `reads` that were
    // read with noise. Sums are not held to the depth of the converter: they end where the frame's
    // 16 bits do. The electrons are used up.
    void Convert(std::span<float> electrons, Noise& noise, uint32_t reads,
                 std::span<uint16_t> counts) const;

  private:
    bool ideal_;
    float electrons_per_count_;
    float read_noise_;
    float bias_;
    float top_;
    float multiplication_;
};

}  // namespace softcam
