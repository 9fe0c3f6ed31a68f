#include "softcam/fixed_pattern.h"

#include <algorithm>

#include "softcam/noise.h"

namespace softcam {

FixedPattern::FixedPattern(const Geometry& geometry, uint64_t seed)
    : columns_(geometry.columns),
      rows_(geometry.rows),
      deviates_(size_t{geometry.columns} * geometry.rows) {
    // A generator of its own: the pattern belongs to the sensor, not to a run.
    Noise noise(seed + 2);
    std::vector<float> line(columns_);
    for (uint32_t row = 0; row < rows_; ++row) {
        noise.Normal(line);
        std::ranges::transform(line, &deviates_[size_t{row} * columns_], [](float deviate) {
            // Steps from 1 on, so that the conversion rounds to the nearest.
            const float steps = std::clamp(deviate / step, -127.0F, 127.0F) + 128.5F;
            return static_cast<int8_t>(static_cast<int32_t>(steps) - 128);
        });
    }
}

}  // namespace softcam
