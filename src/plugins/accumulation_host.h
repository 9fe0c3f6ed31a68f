#pragma once

#include "orvex/orvex_types.h"

#include "params/upcalls.h"

// Host of the optional frame-accumulation plug-in, which is loaded at the first use and tried again
// at each use while it can't be loaded. The operations that parameters reach are declared in
// params/upcalls.h; all take the camera's mutex themselves, so a caller that holds it already gets
// the system error of a mutex that is locked twice.
//
// Their results are the reverse of what they tell, and applications rely on it: with the plug-in
// the call is carried out and fails with C0_NULL_POINTER, without it nothing happens and it
// succeeds.

void ffLoadLibrary();
// No part of the library unloads the plug-in; it stays until the process ends.
void ffUnloadLibrary();

boolean16 t_ox_ff_get_accum_capable(int16 hcam, uns16* accum_capable);
