#pragma once

#include "orvex/orvex_types.h"

#include "state/camera_tables.h"

// Digital and analogue ports of the camera, and its trigger table. One exchange each.
boolean16 bv_io_get_bitdepth(int16 hcam, uns16 addr, uns8* io_bits);
boolean16 bv_io_get_dir_attr(int16 hcam, uns16 addr, uns16* io_dir_attr);
boolean16 bv_io_get_direction(int16 hcam, uns16 addr, uns16* io_dir);
boolean16 bv_io_get_type(int16 hcam, uns16 addr, uns16* io_type);
// States are volts for a DAC port and the bits of a TTL port, which alone can be read.
boolean16 bv_io_get_current_state(int16 hcam, uns16 addr, flt64* io_state);
boolean16 bv_io_get_min_state(int16 hcam, uns16 addr, flt64* io_min);
boolean16 bv_io_get_max_state(int16 hcam, uns16 addr, flt64* io_max);
boolean16 bv_io_set_state(int16 hcam, uns16 addr, flt64 io_state);
boolean16 bv_io_set_direction(int16 hcam, uns16 addr, int32 io_dir);

// The port that the I/O parameters speak of.
boolean16 bv_set_io_addr(int16 hcam, uns16 io_addr);

boolean16 bv_io_set_trigtab_signal(int16 hcam, int32 value);
boolean16 bv_io_set_last_muxed_signal(int16 hcam, uns8 value);

// The camera's lists of port actions.
boolean16 bv_io_get_headers(int16 hcam, io_script_lists** io_info);
