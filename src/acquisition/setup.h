#pragma once

#include "orvex/orvex_types.h"

#include "acquisition/script.h"

namespace bv {

// What an application asks for in a setup of either kind.
struct SetupRequest {
    int16 hcam;
    uns16 exp_total;
    uns16 rgn_total;
    const rgn_type* rgn_array;
    int16 exp_mode;
    uns32 exposure_time;
    int16 buf_mode;
};

// The last setup had these regions, exposure and buffer mode.
bool MatchesLastSetup(const SetupRequest& request);
void RememberSetup(const SetupRequest& request);
// The camera holds another program: the next setup matches none.
void ForgetSetup(int16 hcam);

// Generates the program into `script`, which it allocates; `frame_bytes` receives the bytes of a
// frame.
boolean16 GenerateProgram(const SetupRequest& request, ScriptOwner& script, uns32* frame_bytes);
// Downloads the program, frees it and marks the camera as programmed.
boolean16 LoadProgram(const SetupRequest& request, ScriptOwner& script);

}  // namespace bv
