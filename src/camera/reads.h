#pragma once

#include "orvex/orvex_types.h"

#include "camera/subsystems.h"

// What is read from a camera once, and the small reads that belong to no parameter. All talk to the
// camera.

// Everything that can't change, in few exchanges; nothing when it has been read since the open.
boolean16 bv_cam_do_reads(int16 hcam);
boolean16 bv_cam_get_io_reads(int16 hcam);
boolean16 bv_cam_get_fast_exp_reads(int16 hcam);
// The six sensor sizes, read when first needed and again after a change of the readout port.
boolean16 bv_cam_do_rws(int16 hcam);

// The first `bytes` bytes of the camera's status table, as they stand on the wire.
boolean16 bv_cam_get_status_table(int16 hcam, uns8* table, uns8 bytes);

// Sends a text to the firmware's console. `reply_str` gets at most `reply_len` bytes, terminator
// included; with 0 no reply is asked for.
boolean16 bv_cam_send_debug(int16 hcam, const char* debug_str, uns16 reply_len, char* reply_str);

// Operations that fit in the camera's program memory.
boolean16 bv_cam_get_ccs_mem(int16 hcam, uns16* size);
