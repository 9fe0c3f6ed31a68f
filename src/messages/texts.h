#pragma once

#include "orvex/orvex_types.h"

// Texts of the camera protocol for the trace; "<UNKNOWN>" outside a table.

const char* bv_text_hcmd(int32 id);
const char* bv_text_bridge_command(int32 bridge_command);
const char* bv_text_bridge_status(int32 status);
// What STOP_CCS does; also the two combinations that are in use.
const char* bv_text_hc_ccs(int32 ccs_optn);
