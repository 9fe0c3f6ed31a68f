#pragma once

#include <cstdint>
#include <span>

#include "softcam/pixel_kernels.h"

namespace softcam {

// Random numbers for millions of pixels a frame, from a seeded generator.
class Noise {
  public:
    explicit Noise(uint64_t seed);

    // Next 64 random bits, of a sequence of their own (xorshift64*).
    uint64_t Bits() {
        state_ ^= state_ >> 12;
        state_ ^= state_ << 25;
        state_ ^= state_ >> 27;
        return state_ * 0x2545F4914F6CDD1Du;
    }

    // Normal deviates of mean 0 and variance 1.
    void Normal(std::span<float> out);

    // Turns expected numbers of events into numbers of events.
    void Poisson(std::span<float> values);

    // Electrons that went into a multiplying register become those that come out of it: for each
    // one a geometrically distributed number, `gain` on average.
    void Multiply(std::span<float> electrons, float gain);

  private:
    float NextNormal();
    float Gamma(float shape);

    uint64_t state_;
    Lanes lanes_;
    const PixelKernels* kernels_;
    PixelBlock<float> normals_{};  // taken one by one
    size_t normals_left_ = 0;
};

}  // namespace softcam
