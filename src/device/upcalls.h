#pragma once

#include "orvex/orvex_ddi.h"
#include "orvex/orvex_types.h"

// What the device layer asks of the layers above it.

// Event delivery of a device, defined in notify/.
boolean16 orvex_callbacks_create(orvex_device* device);
boolean16 orvex_callbacks_destroy(orvex_device* device);
boolean16 orvex_callbacks_start(orvex_device* device);
boolean16 orvex_callbacks_stop(orvex_device* device);
boolean16 orvex_callbacks_reset(orvex_device* device);
boolean16 orvex_callbacks_set_frame_count(orvex_device* device, uns32 frame_count,
                                          boolean16 is_sequence);
boolean16 orvex_callbacks_get_latest_frame_info(orvex_device* device, FRAME_INFO* frame_info);
// Between the two, begin and end of frame call nobody back. Nothing happens for a device whose
// module delivers its events itself.
void orvex_callbacks_begin_abort(orvex_device* device);
void orvex_callbacks_end_abort(orvex_device* device);

// Longest time until a frame, in milliseconds; defined in acquisition/.
boolean16 bv_exp_get_img_timeout(int16 hcam, flt64* ptimeout);
