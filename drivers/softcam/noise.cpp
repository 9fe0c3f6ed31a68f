#include "softcam/noise.h"

#include <cmath>

#include "engine/module.h"

namespace softcam {

Noise::Noise(uint64_t seed)
    : state_(seed * 0x9E3779B97F4A7C15u + 0xD1B54A32D192ED03u),
      normal_(&SharedNormal()),
      poisson_(&SharedPoisson()) {
    if (state_ == 0) state_ = 1;
}

const Noise::NormalTable& Noise::SharedNormal() {
    // Quantiles of the normal distribution, so that the table itself has mean 0 and variance 1.
    static const engine::SharedByCameras table([] {
        auto made = std::make_unique<NormalTable>();
        const size_t size = made->size();
        double z = -5.0;
        double density_step = 0.0;
        for (size_t i = 0; i < size; ++i) {
            const double chance = (static_cast<double>(i) + 0.5) / static_cast<double>(size);
            // Newton steps on the distribution function from the neighbour's quantile.
            for (int step = 0; step < 20; ++step) {
                const double error = 0.5 * std::erfc(-z / std::sqrt(2.0)) - chance;
                density_step = error / (std::exp(-z * z / 2) / std::sqrt(2 * 3.14159265358979));
                if (density_step > 0.5) density_step = 0.5;
                if (density_step < -0.5) density_step = -0.5;
                z -= density_step;
                if (std::fabs(density_step) < 1e-9) break;
            }
            (*made)[i] = static_cast<float>(z);
        }
        return made;
    }());
    return **table;
}

const Noise::PoissonTable& Noise::SharedPoisson() {
    static const engine::SharedByCameras table([] {
        auto made = std::make_unique<PoissonTable>();
        for (size_t row = 0; row < made->size(); ++row) {
            // The middle of the step that the row stands for.
            const double mean = (static_cast<double>(row) + 0.5) / steps_per_electron;
            double term = std::exp(-mean);
            double below = term;
            uint8_t count = 0;
            auto& chances = (*made)[row];
            for (size_t i = 0; i < chances.size(); ++i) {
                const double chance =
                    (static_cast<double>(i) + 0.5) / static_cast<double>(chances.size());
                while (chance > below && count < 255) {
                    ++count;
                    term *= mean / count;
                    below += term;
                }
                chances[i] = count;
            }
        }
        return made;
    }());
    return **table;
}

uint32_t Noise::Poisson(float mean) {
    if (mean <= 0.0F) return 0;
    const uint64_t bits = Bits();
    if (mean < static_cast<float>(small_mean) - 1.0F) {
        // A random part of a step spreads means between the rows of the table.
        const float spread = static_cast<float>(bits & 0xFFFF) / 65536.0F - 0.5F;
        float place = mean * static_cast<float>(steps_per_electron) + spread;
        if (place < 0.0F) place = 0.0F;
        return (*poisson_)[static_cast<size_t>(place)][bits >> (64 - chance_bits)];
    }
    const float sample = mean + std::sqrt(mean) * (*normal_)[bits >> (64 - normal_bits)];
    // Far from zero and from the end of the type; a library call would cost more than the draw.
    return static_cast<uint32_t>(sample + 0.5F);  // NOLINT(bugprone-incorrect-roundings)
}

}  // namespace softcam
