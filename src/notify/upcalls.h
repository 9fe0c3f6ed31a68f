#pragma once

#include "orvex/orvex_types.h"

// What notification asks of the layers above it.

// Remember whether the application is called back for a camera's events; defined in plugins/.
void bv_pop_register_callback(int16 hcam);
void bv_pop_deregister_callback(int16 hcam);
