#pragma once

#include "orvex/orvex_types.h"

// Exposure cycling: the camera changes the exposure time from frame to frame, by a list that the
// host loads. What was written last is mirrored in acq_cache, where timing is computed from it.

// Record and its zeroed values; both are released together.
boolean16 bv_create_tidal_stream_struct(tidal_stream_type** array, uns16 entries);
boolean16 bv_release_tidal_stream_struct(tidal_stream_type** array);

boolean16 bv_set_tidal_stream_mode_id(int16 hcam, uns16 param);
boolean16 bv_set_tidal_stream_enabled_mode(int16 hcam, boolean16 value);
boolean16 bv_set_tidal_stream_exp_mode_params(int16 hcam, const tidal_stream_type* array);
boolean16 bv_set_tidal_stream_dly_mode_params(int16 hcam, const tidal_stream_type* array);

// `entries` says how much room there is. A list that doesn't fit fails the call and leaves its
// length in `entries`.
boolean16 bv_get_tidal_stream_exp_mode_params(int16 hcam, tidal_stream_type* array);
boolean16 bv_get_tidal_stream_dly_mode_params(int16 hcam, tidal_stream_type* array);
