#pragma once

#include "orvex/orvex_types.h"

// Continuous runs: a ring of frames that the camera fills until it is stopped.

// `exp_bytes` receives the bytes of one frame. Talks to the camera when the setup differs.
boolean16 bv_exp_setup_cont(int16 hcam, uns16 rgn_total, const rgn_type* rgn_array, int16 exp_mode,
                            uns32 exposure_time, uns32* exp_bytes, int16 buf_mode);
// `size` is a multiple of the frame size. One message to the camera.
boolean16 bv_exp_start_cont(int16 hcam, void* pixel_stream, uns32 size);

// The rest costs one status query to the driver at most, no copy and no allocation.
boolean16 bv_exp_check_cont_status(int16 hcam, int16* status, uns32* byte_cnt, uns32* buffer_cnt,
                                   FRAME_INFO* pFrameInfo);
// Taking the newest frame discards all older ones.
boolean16 bv_exp_get_latest_frame(int16 hcam, void** frame, FRAME_INFO* pFrameInfo);
boolean16 bv_exp_get_oldest_frame(int16 hcam, void** frame, FRAME_INFO* pFrameInfo);
boolean16 bv_exp_unlock_oldest_frame(int16 hcam);
