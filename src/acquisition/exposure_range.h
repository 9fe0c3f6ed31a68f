#pragma once

#include <stdexcept>

#include "state/camera_rows.h"

namespace bv {

// Exposure times that a camera takes at its current resolution. An opened camera has a range for
// each resolution; one without is broken beyond an error code.
inline const exp_range_type& CurrentExposureRange(int16 hcam) {
    const auto& ranges = *bv::ReadsOf(hcam).exp_range_map;
    const auto found = ranges.find(bv::ConfigOf(hcam).exp_res_index);
    if (found == ranges.end()) throw std::out_of_range("invalid map<K, T> key");
    return found->second;
}

inline bool InRange(const exp_range_type& range, uns32 exposure_time) {
    return exposure_time >= range.min && exposure_time <= range.max;
}

}  // namespace bv
