/**
 * @file region.hpp
 * Regions of the sensor.
 */
#ifndef ORVEX_CPP_REGION_HPP
#define ORVEX_CPP_REGION_HPP

#include <stdexcept>

#include "camera.hpp"

namespace orvex {

/** A region by its place in unbinned pixels from 0. @throws std::invalid_argument when it can't be
 * on any sensor */
inline rgn_type make_region(uns32 x, uns32 y, uns32 width, uns32 height, uns16 sbin = 1,
                            uns16 pbin = 1) {
    constexpr uns32 end = 65536;
    if (width == 0 || height == 0 || width > end || height > end || x > end - width ||
        y > end - height || sbin == 0 || pbin == 0) {
        throw std::invalid_argument(
            "a region has pixels and ends at 65535, its binning is above 0");
    }
    return {static_cast<uns16>(x), static_cast<uns16>(x + width - 1),  sbin,
            static_cast<uns16>(y), static_cast<uns16>(y + height - 1), pbin};
}

/** The whole sensor of a camera. Does not talk to it. */
inline rgn_type whole_sensor(const Camera& camera, uns16 sbin = 1, uns16 pbin = 1) {
    return make_region(0, 0, camera.get<PARAM_SER_SIZE>(), camera.get<PARAM_PAR_SIZE>(), sbin,
                       pbin);
}

/** Columns of the image of a region. */
inline uns32 image_width(const rgn_type& region) {
    return (region.s2 - region.s1 + 1u) / region.sbin;
}
/** Rows of the image of a region. */
inline uns32 image_height(const rgn_type& region) {
    return (region.p2 - region.p1 + 1u) / region.pbin;
}

}  // namespace orvex

#endif
