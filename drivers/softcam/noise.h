#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

namespace softcam {

// Random numbers for millions of pixels a frame: shot noise and read noise from tables that are
// made once, walked from places that a seeded generator picks.
class Noise {
  public:
    explicit Noise(uint64_t seed);

    // Next 64 random bits; a small fast generator (xorshift64*).
    uint64_t Bits() {
        state_ ^= state_ >> 12;
        state_ ^= state_ << 25;
        state_ ^= state_ >> 27;
        return state_ * 0x2545F4914F6CDD1Du;
    }

    // Normal deviate of mean 0 and variance 1.
    float Normal() { return (*normal_)[Bits() >> (64 - normal_bits)]; }

    // Number of events when `mean` are expected.
    uint32_t Poisson(float mean);

  private:
    static constexpr unsigned normal_bits = 16;
    using NormalTable = std::array<float, size_t{1} << normal_bits>;

    // Below this mean the distribution is too skewed for a normal one.
    static constexpr uint32_t small_mean = 32;
    static constexpr uint32_t steps_per_electron = 8;
    static constexpr unsigned chance_bits = 11;
    using PoissonTable =
        std::array<std::array<uint8_t, size_t{1} << chance_bits>, small_mean * steps_per_electron>;

    static const NormalTable& SharedNormal();
    static const PoissonTable& SharedPoisson();

    uint64_t state_;
    const NormalTable* normal_;
    const PoissonTable* poisson_;
};

}  // namespace softcam
