#pragma once

#include "engine/bytes.h"
#include "softcam/charge_array.h"
#include "softcam/run.h"

namespace softcam {

// Runs a full program on a charge array until its end, or until the run is stopped.
void RunFullProgram(RunContext& context, engine::Bytes program);

}  // namespace softcam
