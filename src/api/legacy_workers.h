#pragma once

#include <cstddef>

#include "orvex/orvex_types.h"

#include "state/call.h"

// What older operations need and nothing else does.

boolean16 ccd_get_tmp_range(int16 hcam, int16* tmp_hi_val, int16* tmp_lo_val);
boolean16 spdtab_get_entries(int16 hcam, int16* spdtab_entries);
// Reports completion as soon as the last frame has its number, ahead of the driver's own status.
boolean16 exp_check_progress(int16 hcam, int16* status, uns32* bytes_arrived);
boolean16 bv_ddi_get_ver(uns16* ddi_version);

// Words of the camera's rows, untested and without traffic.
boolean16 exp_set_cont_mode(int16 hcam, int16 mode);
boolean16 exp_get_bytes(int16 hcam, uns32* exp_bytes);
boolean16 exp_get_frames(int16 hcam, uns32* exp_frames);
boolean16 exp_set_frames(bv::Call& call, int16 hcam, uns32 exp_frames);
boolean16 exp_get_script(int16 hcam, boolean16* script_valid);
boolean16 exp_set_script(int16 hcam, boolean16 script_valid);
boolean16 cam_get_dev_handle(int16 hcam, int16* hdev);

// The application's side of the library's heap; null when memory ran out.
void* heap_allocate(bv::Call& call, size_t items, size_t size);
void* heap_resize(bv::Call& call, void* block, size_t size);
boolean16 heap_free(void* block);
