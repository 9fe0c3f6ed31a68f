#include "softcam/exposure.h"

#include <algorithm>

namespace softcam {
Exposure::Exposure(RunContext& context, int64_t nanoseconds)
    : context_(context), any_(nanoseconds > 0) {
    if (context.ideal) return;
    const double seconds = static_cast<double>(nanoseconds) * 1e-9;
    flux_ = static_cast<float>(context.flux * seconds);
    dark_ = static_cast<float>(DarkCurrent(context) * seconds);
}

void Exposure::Collect(uint32_t row, uint32_t first, const uint16_t* light, bool lit,
                       std::span<float> electrons) {
    if (!any_ || (context_.ideal && !lit)) {
        std::ranges::fill(electrons, 0.0F);
        return;
    }
    if (context_.ideal) {
        std::copy_n(light, electrons.size(), electrons.begin());
        return;
    }
    const Physics& physics = context_.physics;
    const FixedPattern& pattern = *context_.pattern;
    const float flux = lit ? flux_ : 0.0F;
    const auto spread = [](float mean, double share) {
        return mean * FixedPattern::step * static_cast<float>(share);
    };
    BestPixelKernels().expect({.light = light,
                               .sensitivity = pattern.Sensitivity(row) + first,
                               .heat = pattern.DarkCurrent(row) + first,
                               .flux = flux,
                               .flux_spread = spread(flux, physics.prnu),
                               .dark = dark_,
                               .dark_spread = spread(dark_, physics.dark_spread)},
                              electrons.data(), electrons.size());
    AddHotPixels(row, first, electrons);
    Draw(electrons);
}

void Exposure::CollectDark(std::span<float> electrons) {
    std::ranges::fill(electrons, dark_);
    if (dark_ > 0) Draw(electrons);
}

void Exposure::AddHotPixels(uint32_t row, uint32_t first, std::span<float> electrons) const {
    for (const HotPixel& hot : HotPixelsOf(context_.hot_pixels, row, row))
        if (hot.column >= first && hot.column - first < electrons.size())
            electrons[hot.column - first] += dark_ * hot_pixel_factor;
}

void Exposure::Draw(std::span<float> electrons) {
    context_.noise.Poisson(electrons);
    const auto full_well = static_cast<float>(context_.model.full_well);
    for (float& pixel : electrons) pixel = pixel < full_well ? pixel : full_well;
}

}  // namespace softcam
