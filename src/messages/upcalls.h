#pragma once

#include "orvex/orvex_types.h"

// What the messages ask of the layers above them.

// Ends the run of a camera, if it has one; `cam_state` is a CCS_ value. Defined in acquisition/.
boolean16 bv_exp_abort(int16 hcam, int16 cam_state);
