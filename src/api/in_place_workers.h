#pragma once

#include "orvex/orvex_types.h"

#include "state/call.h"

// What the exec layer does itself for some operations, in place of a worker of another folder. The
// functions that take a Call log and fail in the scope of the operation.

// Writes CAM_NAME_LEN bytes.
boolean16 cam_get_name(bv::Call& call, int16 cam_num, char* cam_name);
boolean16 cam_get_total(bv::Call& call, int16* totl_cams);
// Resets the features and learns their values anew. Talks to the camera.
boolean16 pp_reset(int16 hcam);

// The plain forms of calls whose frame number or frame information is dropped.
boolean16 exp_check_status(int16 hcam, int16* status, uns32* bytes_arrived);
boolean16 exp_check_cont_status(int16 hcam, int16* status, uns32* byte_cnt, uns32* buffer_cnt);
boolean16 exp_get_latest_frame(int16 hcam, void** frame);
boolean16 exp_get_oldest_frame(int16 hcam, void** frame);
