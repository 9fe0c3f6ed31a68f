#pragma once

#include "orvex/orvex_types.h"

#include "state/camera_tables.h"

// The rules that an array of regions must pass, and the arithmetic that turns regions into pixel
// counts and parallel strips.

// Geometry and modes of a camera at the moment of a setup; a program is generated from it.
struct active_camera_type {
    uns16 shtr_close_delay = 0;  // ms
    uns16 shtr_open_delay = 0;   // ms
    uns16 par_size = 0;          // rows
    uns16 ser_size = 0;          // columns
    uns16 prescan = 0;           // serial pixels ahead of the image
    uns16 postscan = 0;          // serial pixels behind it
    uns16 premask = 0;           // masked rows ahead of the image
    uns16 postmask = 0;          // masked rows behind it
    uns16 preflash = 0;
    uns16 clear_cycles = 0;
    uns16 preamp_delay = 0;
    uns16 mpp_selectable = 0;
    uns16 frame_capable = 0;
    uns16 clear_mode = 0;
    uns16 shtr_open_mode = 0;
    uns16 mpp_on = 0;
    uns16 frame_transfer_on = 0;
    uns16 alt_on = 0;
    int32 exp_res = 0;
    io_script_lists* io_info = nullptr;
};

boolean16 oz_validate_binnings(int16 hcam, const rgn_type* rgn_array, uns16 rgn_total);
boolean16 oz_validate_rois(int16 hcam, const rgn_type* rgn_array, uns16 rgn_total);

// Fails as soon as one value can't be read; the record is partly filled then.
boolean16 bv_get_camera_info(int16 hcam, active_camera_type* active_camera);

// The binned pixels of a region. Leaves the two counts in the camera's decode record, where the
// last region measured wins.
void bv_calculate_dimensions(int16 hcam, const rgn_type* rgn, uns32* pixels);

// Cuts the parallel axis into strips that every region covers alike. `boundary` has room for
// count * 2 + 2 entries; returns how many are left after duplicates went.
uns16 bv_set_boundaries(int16* boundary, const rgn_type* rgn_array, uns16 count, uns16 premask,
                        uns16 par_end);

namespace bv {

struct ParallelModeFlags {
    bool mpp;
    bool frame_transfer;
    bool alternate;
};

// What a PMODE_ value switches on.
ParallelModeFlags DecodeParallelMode(int32 pmode);

// Binned pixels along one axis of a sensor that is read through `ports` sections.
uns16 CountAxisPixels(uns16 first, uns16 last, uns16 binning, uns16 size, uns16 ports);

}  // namespace bv
