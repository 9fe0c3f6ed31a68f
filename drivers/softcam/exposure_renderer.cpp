#include "softcam/exposure_renderer.h"

#include <algorithm>

#include "softcam/exposure.h"

namespace softcam {
namespace {

// Pixels with amplifiers of their own differ in what they show in the dark, unless the camera
// corrects for it.
void AddOffsets(const RunContext& context, uint32_t row, uint32_t first,
                std::span<float> electrons) {
    const auto spread = FixedPattern::step * static_cast<float>(context.physics.dsnu);
    if (context.ideal || spread <= 0 || context.settings.sensor_correction) return;
    const int8_t* const offset = context.pattern->Offset(row) + first;
    float* const target = electrons.data();
    const size_t count = electrons.size();
    for (size_t i = 0; i < count; ++i) target[i] += spread * static_cast<float>(offset[i]);
}

// A pixel that is read before it is summed ends where its counts do.
void EndAt(float limit, std::span<float> electrons) {
    for (float& pixel : electrons) pixel = pixel < limit ? pixel : limit;
}

// Adds the pixels of a line to the sums of `bin` neighbours each.
void AddBinned(std::span<const float> line, uint32_t bin, std::span<float> sums) {
    const float* pixel = line.data();
    if (bin == 1) {
        for (float& sum : sums) sum += *pixel++;
        return;
    }
    for (float& sum : sums)
        for (uint32_t i = 0; i < bin; ++i) sum += *pixel++;
}

}  // namespace

void RenderRegion(RunContext& context, const Digitizer& digitizer, const Image& light,
                  const rgn_type& region, int64_t exposure_ns, Image& out) {
    const uint32_t columns = (region.s2 - region.s1 + 1u) / region.sbin;
    const uint32_t rows = (region.p2 - region.p1 + 1u) / region.pbin;
    out.columns = columns;
    out.rows = rows;
    out.pixels.resize(size_t{columns} * rows);

    Exposure exposure(context, exposure_ns);
    std::vector<float> line(size_t{columns} * region.sbin);
    std::vector<float> sums(columns);
    const auto collect = [&](uint32_t y, std::span<float> electrons) {
        exposure.Collect(y, region.s1, &light.pixels[size_t{y} * light.columns + region.s1], true,
                         electrons);
        AddOffsets(context, y, region.s1, electrons);
    };
    for (uint32_t row = 0; row < rows; ++row) {
        if (context.pump.Stopping()) return;
        const uint32_t top = region.p1 + row * region.pbin;
        if (region.sbin == 1 && region.pbin == 1) {
            collect(top, sums);
        } else {
            std::ranges::fill(sums, 0.0F);
            for (uint32_t y = top; y < top + region.pbin; ++y) {
                collect(y, line);
                if (!context.ideal) EndAt(digitizer.PixelLimit(), line);
                AddBinned(line, region.sbin, sums);
            }
        }
        digitizer.Convert(sums, context.noise, uint32_t{region.sbin} * region.pbin,
                          {&out.pixels[size_t{row} * columns], columns});
    }
}

}  // namespace softcam
