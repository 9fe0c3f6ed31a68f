#include <algorithm>
#include <array>

#include "orvex/orvex_params.h"

#include "camera/open.h"
#include "camera/upcalls.h"
#include "state/call.h"
#include "state/camera_rows.h"

namespace {

// Settings that survive in a camera from one application to the next.
constexpr std::array<uns32, 5> settings_to_reset{PARAM_CLEAR_MODE, PARAM_PMODE,
                                                 PARAM_TIDAL_STREAM_MODE_ENABLED,
                                                 PARAM_METADATA_ENABLED, PARAM_CENTROIDS_ENABLED};

// Types whose values fit in a setting_value.
constexpr std::array<uns16, 12> value_types{TYPE_INT16,   TYPE_INT32, TYPE_FLT64, TYPE_UNS8,
                                            TYPE_UNS16,   TYPE_UNS32, TYPE_UNS64, TYPE_ENUM,
                                            TYPE_BOOLEAN, TYPE_INT8,  TYPE_INT64, TYPE_FLT32};
struct alignas(8) setting_value {
    std::array<uns8, 8> bytes{};
};

bool Attribute(int16 hcam, uns32 param_id, int16 attribute, uns16& answer) {
    answer = 0;
    return bv_get_param(hcam, param_id, attribute, &answer);
}

bool IsAvailable(int16 hcam, uns32 param_id) {
    uns16 available = 0;
    return Attribute(hcam, param_id, ATTR_AVAIL, available) && available;
}

void ResetSetting(int16 hcam, uns32 param_id) {
    uns16 access = 0;
    uns16 type = 0;
    if (!IsAvailable(hcam, param_id) || !Attribute(hcam, param_id, ATTR_ACCESS, access) ||
        access != ACC_READ_WRITE || !Attribute(hcam, param_id, ATTR_TYPE, type) ||
        std::ranges::find(value_types, type) == value_types.end()) {
        return;
    }
    setting_value value;
    if (bv_get_param(hcam, param_id, ATTR_DEFAULT, &value)) bv_set_param(hcam, param_id, &value);
}

}  // namespace

boolean16 bv_cam_reset_settings(int16 hcam) {
    bv::Call call("bv_cam_reset_settings", bv::arg("hcam", hcam));
    for (const uns32 param_id : settings_to_reset) ResetSetting(hcam, param_id);

    // The exposure mode word as a setup would be given it.
    uns16& exp_mode = bv::InfoOf(hcam).exp_mode;
    int32 mode = 0;
    if (bv_get_param(hcam, PARAM_EXPOSURE_MODE, ATTR_DEFAULT, &mode)) {
        exp_mode = static_cast<uns16>(mode);
    }
    int32 expose_out = 0;
    if (IsAvailable(hcam, PARAM_EXPOSE_OUT_MODE) &&
        bv_get_param(hcam, PARAM_EXPOSE_OUT_MODE, ATTR_DEFAULT, &expose_out)) {
        exp_mode = static_cast<uns16>(exp_mode | expose_out);
    }
    return call.result(!bv::ApiGlobal::IsErrorCodeSet());
}
