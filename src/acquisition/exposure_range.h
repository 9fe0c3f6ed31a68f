#pragma once

#include <stdexcept>

#include "params/exposure_answers.h"

namespace bv {

// Exposure times that a camera takes at its current resolution. An opened camera has a range for
// each resolution that can be set; one without is broken beyond an error code.
inline const exp_range_type& CurrentExposureRange(int16 hcam) {
    const exp_range_type* range = RangeOfResolution(hcam, ConfigOf(hcam).exp_res_index);
    if (!range) throw std::out_of_range("invalid map<K, T> key");
    return *range;
}

inline bool InRange(const exp_range_type& range, uns32 exposure_time) {
    return exposure_time >= range.min && exposure_time <= range.max;
}

}  // namespace bv
