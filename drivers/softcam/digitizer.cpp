#include "softcam/digitizer.h"

#include <algorithm>
#include <cmath>

namespace softcam {
Digitizer::Digitizer(const Model& model, const Settings& settings, bool ideal)
    : ideal_(ideal),
      electrons_per_count_(static_cast<float>(ElectronsPerCount(model, settings))),
      read_noise_(static_cast<float>(ReadNoise(model, settings))),
      bias_(static_cast<float>(settings.offset)),
      top_(static_cast<float>((1u << CurrentSpeed(model, settings).bits) - 1u)),
      multiplication_(model.ports[settings.port].multiplies
                          ? static_cast<float>(settings.multiplication)
                          : 1.0F) {}

void Digitizer::Convert(std::span<float> electrons, Noise& noise, uint32_t reads,
                        std::span<uint16_t> counts) const {
    const PixelKernels& kernels = BestPixelKernels();
    PixelBlock<float> deviates{};
    const float slope = ideal_ ? 1 : 1 / electrons_per_count_;
    const Conversion conversion{
        .slope = slope,
        .spread = ideal_ ? 0 : read_noise_ * std::sqrt(static_cast<float>(reads)) * slope,
        .start = ideal_ ? 0 : bias_ + 0.5F,
        .top = ideal_ || reads > 1 ? 0xFFFF : top_,
    };
    if (!ideal_) noise.Multiply(electrons, multiplication_);
    for (size_t done = 0; done < counts.size(); done += pixel_block) {
        const size_t part = std::min(counts.size() - done, pixel_block);
        if (!ideal_) noise.Normal({deviates.data(), part});
        kernels.convert(conversion, &electrons[done], deviates.data(), &counts[done], part);
    }
}

}  // namespace softcam
