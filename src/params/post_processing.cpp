#include "params/post_processing.h"

#include "log/enum_texts.h"
#include "params/upcalls.h"
#include "state/call.h"
#include "state/camera_rows.h"

using bv::arg;
using bv::Call;

// The choosers: the feature selected last decides whether the camera or the plug-in answers.
namespace {

using Getter = boolean16 (*)(int16 hcam, int16 param_attribute, void* param_value);

Call Traced(const char* function, int16 hcam, int16 param_attribute, void* param_value) {
    return Call(function, arg("hcam", hcam),
                bv::enumerated("param_attribute", param_attribute, bv_text_attribute),
                arg("param_value", param_value));
}

cam_cfg_type& Count(int16 hcam) {
    bv_pp_initialize_counts(hcam);
    return bv::ConfigOf(hcam);
}

boolean16 Choose(const char* function, Getter plugin, Getter camera, int16 hcam,
                 int16 param_attribute, void* param_value) {
    Call call = Traced(function, hcam, param_attribute, param_value);
    const Getter getter = Count(hcam).pp_use_plugin ? plugin : camera;
    // Features of the plug-in have no ids.
    return call.result(getter ? getter(hcam, param_attribute, param_value) : bv::OZ_FAIL);
}

}  // namespace

boolean16 bv_get_pp_index(int16 hcam, int16 param_attribute, void* param_value) {
    return Choose("bv_get_pp_index", bv_get_pop_module_index, bv_get_cam_pp_index, hcam,
                  param_attribute, param_value);
}

boolean16 bv_get_pp_param_idx(int16 hcam, int16 param_attribute, void* param_value) {
    return Choose("bv_get_pp_param_idx", bv_get_pop_param_index, bv_get_cam_pp_param_idx, hcam,
                  param_attribute, param_value);
}

boolean16 bv_get_pp_feature_name(int16 hcam, int16 param_attribute, void* param_value) {
    return Choose("bv_get_pp_feature_name", bv_get_pop_feature_name, bv_get_cam_pp_feature_name,
                  hcam, param_attribute, param_value);
}

boolean16 bv_get_pp_parameter_name(int16 hcam, int16 param_attribute, void* param_value) {
    return Choose("bv_get_pp_parameter_name", bv_get_pop_parameter_name,
                  bv_get_cam_pp_parameter_name, hcam, param_attribute, param_value);
}

boolean16 bv_get_pp_param(int16 hcam, int16 param_attribute, void* param_value) {
    return Choose("bv_get_pp_param", bv_get_pop_param, bv_get_cam_pp_param, hcam, param_attribute,
                  param_value);
}

boolean16 bv_get_pp_feat_id(int16 hcam, int16 param_attribute, void* param_value) {
    return Choose("bv_get_pp_feat_id", nullptr, bv_get_cam_pp_feat_id, hcam, param_attribute,
                  param_value);
}

boolean16 bv_get_pp_param_id(int16 hcam, int16 param_attribute, void* param_value) {
    return Choose("bv_get_pp_param_id", nullptr, bv_get_cam_pp_param_id, hcam, param_attribute,
                  param_value);
}

boolean16 bv_set_pp_index(int16 hcam, int16 pp_index) {
    Call call("bv_set_pp_index", arg("hcam", hcam), arg("pp_index", pp_index));
    cam_cfg_type& config = Count(hcam);
    const bool plugin = pp_index >= config.pp_entries;
    // An index that neither list has leaves the side in use as it was.
    if (!(plugin ? bv_set_pop_module_index(hcam, pp_index)
                 : bv_set_cam_pp_index(hcam, static_cast<uns16>(pp_index)))) {
        return call.failed();
    }
    config.pp_use_plugin = plugin;
    return call.ok();
}

boolean16 bv_set_pp_param_index(int16 hcam, int16 param_index) {
    Call call("bv_set_pp_param_index", arg("hcam", hcam), arg("param_index", param_index));
    return call.result(Count(hcam).pp_use_plugin
                           ? bv_set_pop_param_index(hcam, param_index)
                           : bv_set_cam_pp_param_index(hcam, static_cast<uns16>(param_index)));
}

boolean16 bv_set_pp_param(int16 hcam, uns32 param) {
    Call call("bv_set_pp_param", arg("hcam", hcam), arg("param", param));
    return call.result(Count(hcam).pp_use_plugin ? bv_set_pop_param(hcam, param)
                                                 : bv_set_cam_pp_param(hcam, param));
}

boolean16 bv_pp_reset(int16 hcam) {
    Call call("bv_pp_reset", arg("hcam", hcam));
    Count(hcam);
    const bool of_camera = bv::ReadsOf(hcam).cap_pp != 0;
    return call.result((!of_camera || bv_cam_pp_reset(hcam)) && bv_pop_reset(hcam));
}
