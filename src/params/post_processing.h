#pragma once

#include "orvex/orvex_types.h"

// Post-processing features: named image corrections with named numeric parameters. One list shows
// first those of the camera, then those of the plug-in.

// What parameters reach: each lets the camera or the plug-in answer, by the feature selected last.
boolean16 bv_get_pp_index(int16 hcam, int16 param_attribute, void* param_value);
boolean16 bv_get_pp_param_idx(int16 hcam, int16 param_attribute, void* param_value);
boolean16 bv_get_pp_feature_name(int16 hcam, int16 param_attribute, void* param_value);
boolean16 bv_get_pp_parameter_name(int16 hcam, int16 param_attribute, void* param_value);
boolean16 bv_get_pp_param(int16 hcam, int16 param_attribute, void* param_value);
boolean16 bv_get_pp_feat_id(int16 hcam, int16 param_attribute, void* param_value);
boolean16 bv_get_pp_param_id(int16 hcam, int16 param_attribute, void* param_value);
boolean16 bv_set_pp_index(int16 hcam, int16 pp_index);
boolean16 bv_set_pp_param_index(int16 hcam, int16 param_index);
boolean16 bv_set_pp_param(int16 hcam, uns32 param);
boolean16 bv_pp_reset(int16 hcam);

// The camera's own list. It has no count: the first index that the camera refuses ends it.
boolean16 bv_cam_pp_get_entries(int16 hcam, uns16* entries);
boolean16 bv_get_cam_pp_idx_entries(int16 hcam, uns16* entries);
// Learns names, ids and values of all parameters at once.
boolean16 bv_cam_pp_cache_all_entries(int16 hcam);
boolean16 bv_cam_pp_reset(int16 hcam);

boolean16 bv_get_cam_pp_param_current(int16 hcam, uns32* param);
boolean16 bv_set_cam_pp_index(int16 hcam, uns16 pp_index);
boolean16 bv_set_cam_pp_param_index(int16 hcam, uns16 param_index);
boolean16 bv_set_cam_pp_param(int16 hcam, uns32 param);

boolean16 bv_get_cam_pp_index(int16 hcam, int16 param_attribute, void* param_value);
boolean16 bv_get_cam_pp_param_idx(int16 hcam, int16 param_attribute, void* param_value);
boolean16 bv_get_cam_pp_feature_name(int16 hcam, int16 param_attribute, void* param_value);
boolean16 bv_get_cam_pp_parameter_name(int16 hcam, int16 param_attribute, void* param_value);
boolean16 bv_get_cam_pp_param(int16 hcam, int16 param_attribute, void* param_value);
boolean16 bv_get_cam_pp_feat_id(int16 hcam, int16 param_attribute, void* param_value);
boolean16 bv_get_cam_pp_param_id(int16 hcam, int16 param_attribute, void* param_value);
