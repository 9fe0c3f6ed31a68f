#include <algorithm>
#include <iterator>

#include "orvex/orvex_errors.h"

#include "acquisition/sequence.h"
#include "state/call.h"
#include "state/camera_rows.h"

using bv::arg;
using bv::Call;

namespace {

constexpr flt64 never = 4294967295.0;

const char* TextOfNever(flt64) {
    return "HC_MAX_FRAME_TIMEOUT_INFINITE";
}

// Time that a row takes to shift, in milliseconds, as single precision has it.
constexpr flt64 row_shift_ms = 0.015f;
constexpr flt64 clear_margin = 1.2;

// Post-processing parameters with which a frame may keep the host waiting for any time.
constexpr uns32 endless_pp_params[] = {120, 160};

bool WaitsForPostProcessing(const acq_cache_type& last) {
    return std::any_of(std::begin(endless_pp_params), std::end(endless_pp_params), [&](uns32 id) {
        const auto found = last.pp_param_cache.find(static_cast<int32>(id));
        return found != last.pp_param_cache.end() && found->second.value != 0;
    });
}

bool WaitsForTrigger(int16 exp_mode) {
    return exp_mode != TIMED_MODE && exp_mode != FLASH_MODE && exp_mode != VARIABLE_TIMED_MODE &&
           exp_mode != EXT_TRIG_INTERNAL;
}

// In units of the camera's resolution.
uns32 LongestExposure(int16 hcam) {
    const acq_cache_type& last = bv::CacheOf(hcam);
    if (last.tidal_stream_enabled && !last.tidal_exp_params.empty()) {
        const auto& list = last.tidal_exp_params;
        const size_t used = last.buf_mode != CIRC_NONE
                                ? list.size()
                                : std::min<size_t>(std::max<uns16>(last.exp_total, 1), list.size());
        return *std::max_element(list.begin(), list.begin() + static_cast<ptrdiff_t>(used));
    }
    return last.exp_mode == VARIABLE_TIMED_MODE ? bv::InfoOf(hcam).var_exp_time
                                                : last.exposure_time;
}

}  // namespace

boolean16 bv_exp_get_exp_time_msec(int16 hcam, flt64* exp_time) {
    Call call("bv_exp_get_exp_time_msec", arg("hcam", hcam), arg("exp_time", exp_time));
    const flt64 time = LongestExposure(hcam);
    switch (bv::ConfigOf(hcam).exp_res_index) {
        case EXP_RES_ONE_MILLISEC: *exp_time = time; break;
        case EXP_RES_ONE_MICROSEC: *exp_time = time / 1000.0; break;
        case EXP_RES_ONE_SEC: *exp_time = time * 1000.0; break;
        default: return call.fail(C2_INDEX_OUT_OF_RANGE, "Unknown exposure resolution");
    }
    return call.ok(arg("*exp_time", *exp_time));
}

boolean16 bv_exp_get_img_timeout(int16 hcam, flt64* ptimeout) {
    Call call("bv_exp_get_img_timeout", arg("hcam", hcam), arg("ptimeout", ptimeout));
    const acq_cache_type& last = bv::CacheOf(hcam);
    if (WaitsForPostProcessing(last) || WaitsForTrigger(last.exp_mode)) {
        *ptimeout = never;
        return call.ok(bv::enumerated("*ptimeout", *ptimeout, TextOfNever));
    }
    flt64 exposure = 0;
    if (!bv_exp_get_exp_time_msec(hcam, &exposure)) return call.failed();
    const cam_cfg_type& cfg = bv::ConfigOf(hcam);
    const flt64 line = cfg.ser_size + cfg.prescan + cfg.postscan;
    const flt64 height = cfg.par_size + cfg.premask + cfg.postmask;
    const flt64 pixel_ms = static_cast<int16>(cfg.spdtab_time) / 1e6;
    *ptimeout = line * pixel_ms * cfg.par_size + height * row_shift_ms +
                height * cfg.clear_cycles * clear_margin * row_shift_ms + exposure;
    return call.ok(arg("*ptimeout", *ptimeout));
}
