#pragma once

#include <vector>

#include "orvex/orvex_types.h"

// From a camera's name to a working handle, and back.

// EXT_OPEN_EXCLUSIVE learns everything about the camera; EXT_OPEN_FW_UPDATE opens the device, reads
// the bridge's capabilities and says nothing to the camera. After a failure the device is closed.
boolean16 bv_cam_open(const char* camera_name, int16* hcam, int16 o_mode);
// Resets the interface and makes sure that the camera answers; a camera that does not is closed.
boolean16 bv_cam_post_open_init(int16 hcam);
// Puts the settings that survive in the camera back to their defaults. 1 when no error code is set
// afterwards.
boolean16 bv_cam_reset_settings(int16 hcam);
// Always 1; whatever goes wrong on the way is forgotten.
boolean16 bv_cam_close(int16 hcam);

// Reads the cached parameters of the camera's row of acq_cache anew. One that the camera lacks
// counts as read and leaves the output as it was.
boolean16 bv_cam_cache_update_all(int16 hcam);
boolean16 bv_cam_cache_update_param_uns16(int16 hcam, uns32 param_id, uns16* value);
boolean16 bv_cam_cache_update_param_tidal_array(int16 hcam, uns32 param_id,
                                                std::vector<uns32>* value_array);

// One process-wide value, which the next open takes over and clears. Always 1.
boolean16 bv_script_set_hook(void* pfn);
