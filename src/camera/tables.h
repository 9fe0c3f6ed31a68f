#pragma once

#include "orvex/orvex_types.h"

// Life of the per-camera tables (state/camera_tables.h).

// Loads the driver module and makes a row for each of its cameras, max_cameras at most. A machine
// without cameras succeeds with no tables.
boolean16 oz_cam_init_globals();
// Frees what there is, also after an init that stopped half-way.
void oz_cam_uninit_globals();
