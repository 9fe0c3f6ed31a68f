#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "softcam/noise.h"
#include "softcam/settings.h"

namespace softcam {

// From electrons to counts. In ideal mode one electron is one count, with nothing added, and the
// sum saturates at 16 bits.
class Digitizer {
  public:
    Digitizer(const Model& model, const Settings& settings, bool ideal)
        : ideal_(ideal),
          electrons_per_count_(static_cast<float>(ElectronsPerCount(model, settings))),
          read_noise_(static_cast<float>(model.physics.read_noise)),
          bias_(static_cast<float>(settings.offset)),
          top_(static_cast<float>((1u << CurrentSpeed(model, settings).bits) - 1u)),
          multiplication_(model.ports[settings.port].multiplies
                              ? static_cast<float>(settings.multiplication)
                              : 1.0F) {}

    // What one pixel can hold when its counts end.
    uint32_t PixelLimit() const {
        return static_cast<uint32_t>(std::max((top_ - bias_) * electrons_per_count_, 0.0F));
    }

    // `reads` is how many pixels were read with noise to make this one. Sums of counts are not held
    // to the depth of the converter: they end where the frame's 16 bits do.
    uint16_t Convert(uint32_t electrons, Noise& noise, float reads = 1.0F) const {
        if (ideal_) return static_cast<uint16_t>(std::min<uint32_t>(electrons, 0xFFFF));
        float signal = static_cast<float>(electrons);
        if (multiplication_ > 1.0F) signal = Multiply(signal, noise);
        signal += read_noise_ * std::sqrt(reads) * noise.Normal();
        const float counts = signal / electrons_per_count_ + bias_ + 0.5F;
        return static_cast<uint16_t>(std::clamp(counts, 0.0F, reads > 1.0F ? 65535.0F : top_));
    }

  private:
    // The multiplier adds as much variance again as the photons brought.
    float Multiply(float signal, Noise& noise) const {
        if (signal <= 0.0F) return 0.0F;
        const float spread = signal + std::sqrt(signal) * noise.Normal();
        return std::max(spread, 0.0F) * multiplication_;
    }

    bool ideal_;
    float electrons_per_count_;
    float read_noise_;
    float bias_;
    float top_;
    float multiplication_;
};

}  // namespace softcam
