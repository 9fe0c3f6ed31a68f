#pragma once

#include "orvex/orvex_types.h"

// Sequences: a fixed number of exposures into one buffer of the application; and what they share
// with continuous runs.

// Downloads a program only when the setup differs from the last one. Talks to the camera.
boolean16 bv_exp_setup_seq(int16 hcam, uns16 exp_total, uns16 rgn_total, const rgn_type* rgn_array,
                           int16 exp_mode, uns32 exposure_time, uns32* exp_bytes);
// One message to the camera, after the buffer is with the driver.
boolean16 bv_exp_start_seq(int16 hcam, void* pixel_stream);
boolean16 bv_exp_check_status(int16 hcam, int16* status, uns32* byte_cnt, uns32* frame_cnt);
// `hbuf` is logged only.
boolean16 bv_exp_finish_seq(int16 hcam, void* pixel_stream, int16 hbuf);

// Stores the shape of the buffer and arms the transfer into it.
boolean16 bv_exp_set_bytes(int16 hcam, uns32 frame_count, uns32 seq_bytes, void* pixel_stream);
boolean16 bv_dd_active(int16 hcam, void* pixel_stream);

// Longest exposure of the last setup, in milliseconds.
boolean16 bv_exp_get_exp_time_msec(int16 hcam, flt64* exp_time);
// Milliseconds after which the device layer may give up on a frame; 4294967295 for never.
boolean16 bv_exp_get_img_timeout(int16 hcam, flt64* ptimeout);

// Exposure time for VARIABLE_TIMED_MODE; reading asks the camera, writing takes effect at start.
boolean16 bv_exp_get_time_seq(int16 hcam, uns16* exp_time);
boolean16 bv_exp_set_time_seq(int16 hcam, uns16 exp_time);

// Ignores anything that is no FRAME_IRQS value.
boolean16 bv_exp_enable_ints(int16 hcam, int16 mode);

// Wait for the next begin or end of a frame, at most `tlimit` milliseconds.
boolean16 bv_exp_wait_start_xfer(int16 hcam, uns32 tlimit);
boolean16 bv_exp_wait_end_xfer(int16 hcam, uns32 tlimit);

// Copies a buffer of several regions into one array for each; `exposure` is the index of the
// region that is wanted, 65535 for all.
boolean16 bv_exp_unravel(int16 hcam, uns16 exposure, void* pixel_stream, uns16 rgn_total,
                         const rgn_type* rgn_array, uns16** array_list);
