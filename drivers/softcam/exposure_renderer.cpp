#include "softcam/exposure_renderer.h"

namespace softcam {
namespace {

// Adds to the sums of one line of binned pixels what its hot pixels collected.
void AddHotPixels(RunContext& context, const rgn_type& region, uint32_t row, float electrons,
                  std::span<uint32_t> sums) {
    const uint32_t first = region.p1 + row * region.pbin;
    for (const HotPixel& hot : HotPixelsOf(context.hot_pixels, first, first + region.pbin - 1u)) {
        const uint32_t column = (hot.column - uint32_t{region.s1}) / region.sbin;
        if (hot.column < region.s1 || column >= sums.size()) continue;
        sums[column] += context.noise.Poisson(electrons);
    }
}

}  // namespace

void RenderRegion(RunContext& context, const Digitizer& digitizer, const Image& light,
                  const rgn_type& region, int64_t exposure_ns, Image& out) {
    const uint32_t columns = (region.s2 - region.s1 + 1u) / region.sbin;
    const uint32_t rows = (region.p2 - region.p1 + 1u) / region.pbin;
    out.columns = columns;
    out.rows = rows;
    out.pixels.resize(size_t{columns} * rows);

    const double seconds = static_cast<double>(exposure_ns) * 1e-9;
    const auto flux = static_cast<float>(context.flux * seconds);
    const auto dark = static_cast<float>(DarkCurrent(context) * seconds);
    const bool summed = region.sbin * region.pbin > 1;
    const uint32_t full_well = context.model.physics.full_well;
    const uint32_t limit = summed ? std::min(full_well, digitizer.PixelLimit()) : full_well;
    const auto reads = static_cast<float>(region.sbin * region.pbin);
    std::vector<uint32_t> sums(columns);

    for (uint32_t row = 0; row < rows; ++row) {
        if (context.pump.Stopping()) return;
        std::fill(sums.begin(), sums.end(), 0);
        for (uint32_t line = 0; exposure_ns > 0 && line < region.pbin; ++line) {
            const uint32_t y = region.p1 + row * region.pbin + line;
            const uint16_t* pixel = &light.pixels[size_t{y} * light.columns + region.s1];
            for (uint32_t column = 0; column < columns; ++column) {
                for (uint32_t i = 0; i < region.sbin; ++i, ++pixel) {
                    sums[column] +=
                        context.ideal
                            ? *pixel
                            : std::min(context.noise.Poisson(*pixel * flux + dark), limit);
                }
            }
        }
        if (!context.ideal) AddHotPixels(context, region, row, dark * hot_pixel_factor, sums);
        uint16_t* target = &out.pixels[size_t{row} * columns];
        for (uint32_t column = 0; column < columns; ++column)
            target[column] = digitizer.Convert(sums[column], context.noise, reads);
    }
}

}  // namespace softcam
