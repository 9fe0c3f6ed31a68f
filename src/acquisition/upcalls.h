#pragma once

#include "orvex/orvex_types.h"

// What acquisition needs of the post-processing plug-in; defined in plugins/.

// 1 when the plug-in is loaded and has modules.
boolean16 bv_pop_ismoduleavailable(int16 hcam);
// 1 when the user has switched the plug-in's first module on.
boolean16 bv_pop_get_module_enabled_status(int16 hcam);
// 1 while the application has a callback registered.
boolean16 bv_pop_check_callback(int16 hcam);
// Puts a private ring in the place of *driver_buffer and keeps the application's.
boolean16 bv_pop_setup_alt_buffer(int16 hcam, void** driver_buffer, uns32 num_buffers,
                                  uns32 exp_bytes);
boolean16 bv_pop_clear_alt_buffer(int16 hcam, void* user_buffer);
// Drops the private ring and the count of frames of a run whose buffer the driver has no longer.
void bv_pop_forget_run(int16 hcam);
// Copies a frame as it is from the private ring to the same place of the application's; null
// without a private ring.
void* bv_pop_copy_unprocessed(int16 hcam, uns32 offset);
// Picks the slot of the application's ring for a frame number; 1 when the number is a new one.
boolean16 bv_pop_retrieve_user_buffer(int16 hcam, void** frame, uns32 frame_count);
boolean16 bv_pop_process(int16 hcam, void* input, void* output, uns32 offset, uns16 ser_pixels,
                         uns16 par_pixels, int16 flag);
boolean16 bv_pop_periodic_parameters(int16 hcam);
boolean16 bv_pop_start_kelmo_processing(int16 hcam);
boolean16 bv_pop_stop_kelmo_processing(int16 hcam);
