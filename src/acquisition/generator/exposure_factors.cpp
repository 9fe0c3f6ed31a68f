#include "acquisition/generator.h"

namespace {

constexpr uns32 factor_end = 65536;  // operations have 16-bit arguments

// Splits without loss; false when that can't be done.
bool SplitExactly(uns32 total, bool milliseconds, bv::ExposureFactors& factors) {
    constexpr uns32 minute = 60000;
    constexpr uns32 second = 1000;
    constexpr uns32 second_limit = 65535000;
    uns16 scale = 0;
    if (milliseconds && total % minute == 0) {
        scale = minute;
    } else if (total % second == 0 && (!milliseconds || total < second_limit)) {
        // The finer resolutions have no limit here; what exceeds 16 bits of the count is lost.
        scale = second;
    } else {
        return false;
    }
    factors = {.scale = scale, .count = static_cast<uns16>(total / scale)};
    return true;
}

// Halves the time and doubles the turns; odd times become a little shorter.
bv::ExposureFactors SplitByHalves(uns32 total) {
    uns16 count = 1;
    while (total >= factor_end) {
        count = static_cast<uns16>(count * 2);
        total /= 2;
    }
    return {.scale = static_cast<uns16>(total), .count = count};
}

}  // namespace

bv::ExposureFactors bv::SplitExposure(const active_camera_type& camera, int16 exp_mode,
                                      uns32 exposure_time) {
    if (exposure_time == 0 || exp_mode == BULB_MODE || exp_mode == VARIABLE_TIMED_MODE) return {};
    const bool milliseconds = camera.exp_res == EXP_RES_ONE_MILLISEC;
    uns32 total = exposure_time;
    if (camera.shtr_open_mode == OPEN_NEVER) {
        // Dark frames last as long as those with a moving shutter.
        const uns32 delays = uns32{camera.shtr_close_delay} + camera.shtr_open_delay;
        total += milliseconds ? delays : delays * 1000;
    }
    if (total < factor_end) return {.scale = static_cast<uns16>(total), .count = 1};
    ExposureFactors factors;
    if (SplitExactly(total, milliseconds, factors)) return factors;
    return SplitByHalves(total);
}
