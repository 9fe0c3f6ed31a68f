#include <algorithm>
#include <limits>

#include "orvex/orvex_errors.h"
#include "orvex/orvex_params.h"

#include "camera/open.h"
#include "camera/tidal_stream_owner.h"
#include "camera/upcalls.h"
#include "log/enum_texts.h"
#include "state/call.h"
#include "state/camera_rows.h"

namespace {

// 0 when the camera could not be asked.
boolean16 AskAvailable(bv::Call& call, int16 hcam, uns32 param_id, boolean16& available) {
    available = 0;
    if (!bv_get_param(hcam, param_id, ATTR_AVAIL, &available)) return call.failed();
    if (!available) call.warn("Parameter not available, not reading the value.");
    return 1;
}

}  // namespace

boolean16 bv_cam_cache_update_all(int16 hcam) {
    bv::Call call("bv_cam_cache_update_all", bv::arg("hcam", hcam));
    acq_cache_type& cache = bv::CacheOf(hcam);
    cache.tidal_stream_mode = 0;
    if (!bv_cam_cache_update_param_uns16(hcam, PARAM_TIDAL_STREAM_MODE, &cache.tidal_stream_mode)) {
        return call.failed();
    }
    cache.tidal_stream_enabled = 0;
    if (!bv_cam_cache_update_param_uns16(hcam, PARAM_TIDAL_STREAM_MODE_ENABLED,
                                         &cache.tidal_stream_enabled)) {
        return call.failed();
    }
    cache.tidal_exp_params.clear();
    if (!bv_cam_cache_update_param_tidal_array(hcam, PARAM_TIDAL_STREAM_EXP_PARAMS,
                                               &cache.tidal_exp_params)) {
        return call.failed();
    }
    cache.tidal_dly_params.clear();
    return call.result(bv_cam_cache_update_param_tidal_array(hcam, PARAM_TIDAL_STREAM_DLY_PARAMS,
                                                             &cache.tidal_dly_params));
}

boolean16 bv_cam_cache_update_param_uns16(int16 hcam, uns32 param_id, uns16* value) {
    bv::Call call("bv_cam_cache_update_param_uns16", bv::arg("hcam", hcam),
                  bv::hex_enumerated("param_id", param_id, bv_text_param_id),
                  bv::arg("value", static_cast<const void*>(value)));
    boolean16 available = 0;
    if (!AskAvailable(call, hcam, param_id, available)) return bv::OZ_FAIL;
    if (available) {
        uns16 current = 0;
        if (!bv_get_param(hcam, param_id, ATTR_CURRENT, &current)) return call.failed();
        *value = current;
    }
    return call.ok(bv::arg("*value", *value));
}

boolean16 bv_cam_cache_update_param_tidal_array(int16 hcam, uns32 param_id,
                                                std::vector<uns32>* value_array) {
    bv::Call call("bv_cam_cache_update_param_tidal_array", bv::arg("hcam", hcam),
                  bv::hex_enumerated("param_id", param_id, bv_text_param_id),
                  bv::arg("value_array", static_cast<const void*>(value_array)));
    boolean16 available = 0;
    if (!AskAvailable(call, hcam, param_id, available)) return bv::OZ_FAIL;
    if (!available) return call.ok();

    uns32 count = 0;
    if (!bv_get_param(hcam, param_id, ATTR_COUNT, &count)) return call.failed();
    if (count > std::numeric_limits<uns16>::max()) {
        return call.fail(C2_INDEX_OUT_OF_RANGE, "TIDAL Exposures count is out of uns16 range (%u)",
                         count);
    }
    const bv::TidalStreamOwner stream = bv::MakeTidalStream(static_cast<uns16>(count));
    if (!stream) return call.failed();
    if (!bv_get_param(hcam, param_id, ATTR_CURRENT, stream.get())) return call.failed();
    value_array->assign(stream->params, stream->params + std::min<uns32>(stream->entries, count));
    return call.ok();
}
