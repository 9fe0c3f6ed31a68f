#include "softcam/exposure_renderer.h"

namespace softcam {

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
    const uint32_t full_well = context.model.physics.full_well;
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
                            : std::min(context.noise.Poisson(*pixel * flux + dark), full_well);
                }
            }
        }
        uint16_t* target = &out.pixels[size_t{row} * columns];
        for (uint32_t column = 0; column < columns; ++column)
            target[column] = digitizer.Convert(sums[column], context.noise, reads);
    }
}

}  // namespace softcam
