#pragma once

#include "engine/bytes.h"
#include "softcam/charge_array.h"
#include "softcam/run.h"

namespace softcam {

// Time that a frame of a program takes between its last exposure and its end.
int64_t ReadoutNanoseconds(const Speed& speed, engine::Bytes program);

// Runs a full program on a charge array until its end, or until the run is stopped.
void RunFullProgram(RunContext& context, engine::Bytes program);

}  // namespace softcam
