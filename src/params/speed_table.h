#pragma once

#include "orvex/orvex_types.h"

// The camera's table of readout speeds. Only the current row can be seen, and everything here but
// the number of rows asks the camera.
boolean16 bv_spdtab_get_bits(int16 hcam, int16* spdtab_bits);
boolean16 bv_spdtab_get_gain(int16 hcam, int16* spdtab_gain);
boolean16 bv_spdtab_get_max_gain(int16 hcam, int16* spd_max_gain);
// `gain_name` has room for 32 bytes; `len` is the length without terminator. Either may be null.
boolean16 bv_spdtab_get_gain_name(int16 hcam, char* gain_name, uns32* len);
boolean16 bv_spdtab_get_num(int16 hcam, int16* spdtab_num);
boolean16 bv_spdtab_get_port(int16 hcam, int16* spdtab_port);
boolean16 bv_spdtab_get_port_total(int16 hcam, int16* total_ports);
// Nanoseconds a pixel.
boolean16 bv_spdtab_get_time(int16 hcam, uns16* spdtab_time);
boolean16 bv_spdtab_set_gain(int16 hcam, int16 spdtab_gain);
boolean16 bv_spdtab_set_num(int16 hcam, int16 spdtab_num);
