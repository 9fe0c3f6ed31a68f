#pragma once

#include "softcam/run.h"

#include "firmware/simplified_program.h"

namespace softcam {

using firmware::SimplifiedProgram;

// Runs a simplified program until its end, or until the run is stopped.
void RunSimplifiedProgram(RunContext& context, const SimplifiedProgram& program);

}  // namespace softcam
