#pragma once

#include "orvex/orvex_types.h"

// Boards of a camera that answer for themselves, addressed from 0. All talk to the camera.

// Characters that a name takes, with terminator.
constexpr uns16 subsystem_name_bytes = 128;

// The reply is the identification, high byte first, and the version.
boolean16 bv_subsys_get_id(int16 hcam, uns8 subsys_address, uns16* subsys_id,
                           uns8* subsys_minor_version);
// Writes subsystem_name_bytes.
boolean16 bv_subsys_get_name(int16 hcam, uns8 subsys_address, char* subsys_name);
// Runs the board's self-test; err_code 0 is a healthy board.
boolean16 bv_subsys_do_diag(int16 hcam, uns8 subsys_address, uns16* err_code);
