#pragma once

#include <span>

#include "orvex/orvex_types.h"

#include "acquisition/regions.h"
#include "acquisition/script.h"

// The one place where a setup becomes a program for the camera and a frame size for the host.

// Talks to the camera. Fills `script` from bv_script_alloc(), stores the bytes of one frame, and
// writes exp_mode and post_abort_delay of the camera. Throws std::out_of_range when the camera
// has no exposure range at its current resolution, which an opened camera always has.
boolean16 bv_script_generate(int16 hcam, script_type* script, uns16 max_entries, uns16 exp_total,
                             uns16 rgn_total, const rgn_type* rgn_array, int16 exp_mode,
                             uns32 exposure_time, uns32* buffer_size);

namespace bv {

// All that the text of a program depends on.
struct ProgramSetup {
    int16 hcam = 0;  // for the I/O script lists alone
    active_camera_type camera;
    bool parallel_clear = false;  // the camera clears in one operation
    uns32 preamp_off_control = 0;
    int16 buf_mode = CIRC_NONE;
    uns16 exp_total = 1;
    std::span<const rgn_type> regions;
    int16 exp_mode = TIMED_MODE;
    uns32 exposure_time = 0;
};

// An exposure as the two 16-bit factors that the camera multiplies; both 0 when it has none.
struct ExposureFactors {
    uns16 scale = 0;
    uns16 count = 0;
};

ExposureFactors SplitExposure(const active_camera_type& camera, int16 exp_mode,
                              uns32 exposure_time);

// Both write through the calling thread's load state. The full program also lists the strips in
// `script`; false when the regions can't be read out together, with the error set.
void WriteSimplifiedProgram(const ProgramSetup& setup);
bool WriteFullProgram(const ProgramSetup& setup, script_type& script);

}  // namespace bv
