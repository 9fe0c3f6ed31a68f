#include "api/in_place_workers.h"

#include <cstring>

#include "orvex/orvex_errors.h"

#include "acquisition/continuous.h"
#include "acquisition/sequence.h"
#include "params/post_processing.h"
#include "state/api_global.h"
#include "state/camera_tables.h"

boolean16 cam_get_name(bv::Call& call, int16 cam_num, char* cam_name) {
    if (!orvex_initialized) return call.fail(C2_ORVEX_NOT_INITED, "ORVEX is not initialized");
    const int16 count = total_cams;
    if (cam_num < 0 || cam_num >= count) {
        return call.fail(C0_CAM_NAME_OUT_OF_RNG, "Camera index out of range for %d cameras", count);
    }
    std::strncpy(cam_name, pg_cam_info[row_of(cam_num)].name, CAM_NAME_LEN);
    return bv::OZ_OK;
}

boolean16 cam_get_total(bv::Call& call, int16* totl_cams) {
    if (!orvex_initialized) return call.fail(C2_ORVEX_NOT_INITED, "ORVEX is not initialized");
    *totl_cams = total_cams;
    return bv::OZ_OK;
}

boolean16 pp_reset(int16 hcam) {
    return bv_pp_reset(hcam) && bv_cam_pp_cache_all_entries(hcam);
}

boolean16 exp_check_status(int16 hcam, int16* status, uns32* bytes_arrived) {
    uns32 frame_cnt = 0;
    return bv_exp_check_status(hcam, status, bytes_arrived, &frame_cnt);
}

boolean16 exp_check_cont_status(int16 hcam, int16* status, uns32* byte_cnt, uns32* buffer_cnt) {
    FRAME_INFO frame_info = {};
    return bv_exp_check_cont_status(hcam, status, byte_cnt, buffer_cnt, &frame_info);
}

boolean16 exp_get_latest_frame(int16 hcam, void** frame) {
    FRAME_INFO frame_info = {};
    return bv_exp_get_latest_frame(hcam, frame, &frame_info);
}

boolean16 exp_get_oldest_frame(int16 hcam, void** frame) {
    FRAME_INFO frame_info = {};
    return bv_exp_get_oldest_frame(hcam, frame, &frame_info);
}
