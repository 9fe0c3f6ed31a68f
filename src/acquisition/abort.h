#pragma once

#include "orvex/orvex_types.h"

// Ends the run of a camera, if it has one; `cam_state` is a CCS_ value. Talks to the camera and
// waits until it is idle.
boolean16 bv_exp_abort(int16 hcam, int16 cam_state);

// Halts the camera's control system; `ccs_optn` is made of HC_CCS_ bits.
boolean16 bv_stop_ccs(int16 hcam, uns16 ccs_optn);

namespace bv {

// Milliseconds that an abort still waits for a camera that wants to be left alone for `delay`
// nanoseconds, 10 s at most.
uns32 PostAbortWaitMs(int64 delay, uns32 waited_ms);

}  // namespace bv
