#pragma once

#include "acquisition/generator.h"
#include "state/call.h"

namespace bv {

// How a camera finds spots by itself and sends their surroundings.
struct CentroidSettings {
    boolean16 enabled = 0;
    uns16 count = 0;
    uns16 radius = 0;
    int32 mode = 0;
};

// A setup that passed all tests, and what its frames hold beside pixels.
struct CheckedSetup {
    ProgramSetup program;
    CentroidSettings centroids;
    uns32 md_bytes = 0;  // metadata in a frame
};

// Tests a setup and takes the snapshot of the camera, in the order that applications know from
// the errors. False after a failure, which went to the caller's scope. Talks to the camera.
bool CheckSetup(Call& call, CheckedSetup& setup);

}  // namespace bv
