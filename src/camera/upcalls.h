#pragma once

#include "orvex/orvex_types.h"

#include "messages/upcalls.h"

// What the camera model asks of the layers above it; bv_exp_abort is with the messages.

// Defined in params/.
boolean16 bv_get_param(int16 hcam, uns32 param_id, int16 param_attribute, void* param_value);
boolean16 bv_set_param(int16 hcam, uns32 param_id, void* param_value);
boolean16 bv_cam_pp_cache_all_entries(int16 hcam);
boolean16 bv_create_tidal_stream_struct(tidal_stream_type** array, uns16 entries);
boolean16 bv_release_tidal_stream_struct(tidal_stream_type** array);
// Each writes 32 characters, terminator included.
boolean16 bv_ccd_get_head_ser_num_alpha(int16 hcam, char* head_ser_num_alpha);
boolean16 bv_cam_get_firmware_full_version_alpha(int16 hcam, char* firmware_version);

// Defined in acquisition/.
void oz_io_clear_script_control(int16 hcam);

// Defined in plugins/.
boolean16 bv_pop_open_camera(int16 hcam);
