#include "softcam/noise.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace softcam {
namespace {

// Spreads a seed over a generator's state (splitmix64).
uint64_t Spread(uint64_t& seed) {
    seed += 0x9E3779B97F4A7C15u;
    uint64_t z = seed;
    z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9u;
    z = (z ^ z >> 27) * 0x94D049BB133111EBu;
    return z ^ z >> 31;
}

}  // namespace

Noise::Noise(uint64_t seed)
    : state_(seed * 0x9E3779B97F4A7C15u + 0xD1B54A32D192ED03u), kernels_(&BestPixelKernels()) {
    if (state_ == 0) state_ = 1;
    for (auto& words : lanes_.state)
        for (uint32_t& word : words) word = static_cast<uint32_t>(Spread(seed) >> 32);
}

void Noise::Normal(std::span<float> out) {
    for (; out.size() >= pixel_block; out = out.subspan(pixel_block))
        kernels_->normal(lanes_, out.data());
    if (out.empty()) return;
    PixelBlock<float> rest;
    kernels_->normal(lanes_, rest.data());
    std::copy_n(rest.begin(), out.size(), out.begin());
}

void Noise::Poisson(std::span<float> values) {
    for (; values.size() >= pixel_block; values = values.subspan(pixel_block))
        kernels_->poisson(lanes_, values.data());
    if (values.empty()) return;
    // The first mean stands in for those that a whole block would have.
    PixelBlock<float> rest;
    rest.fill(values.front());
    std::copy(values.begin(), values.end(), rest.begin());
    kernels_->poisson(lanes_, rest.data());
    std::copy_n(rest.begin(), values.size(), values.begin());
}

float Noise::NextNormal() {
    if (normals_left_ == 0) {
        kernels_->normal(lanes_, normals_.data());
        normals_left_ = normals_.size();
    }
    return normals_[--normals_left_];
}

// Gamma deviate of a shape of at least 1 (Marsaglia and Tsang).
float Noise::Gamma(float shape) {
    const float d = shape - 1.0F / 3;
    const float c = 1 / std::sqrt(9 * d);
    for (;;) {
        const float z = NextNormal();
        const float root = 1 + c * z;
        if (root <= 0) continue;
        const float v = root * root * root;
        const float part = (static_cast<float>(Bits() >> 40) + 0.5F) * 0x1p-24F;
        if (std::log(part) < 0.5F * z * z + d * (1 - v + std::log(v))) return d * v;
    }
}

void Noise::Multiply(std::span<float> electrons, float gain) {
    if (gain <= 1) return;
    // Beside those that went in, a sum of geometric numbers is a Poisson number whose mean is
    // gamma-distributed.
    std::vector<float> more(electrons.size());
    std::ranges::transform(electrons, more.begin(), [&](float count) {
        return count >= 1 ? Gamma(count) * (gain - 1) : 0.0F;
    });
    Poisson(more);
    std::ranges::transform(electrons, more, electrons.begin(), std::plus<>());
}

}  // namespace softcam
