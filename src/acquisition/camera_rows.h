#pragma once

#include "state/camera_tables.h"

// The rows of one camera; the handle has been checked, and the tables exist.
namespace bv {

inline cam_info_type& InfoOf(int16 hcam) {
    return pg_cam_info[static_cast<size_t>(hcam)];
}
inline decode_info_type& DecodeOf(int16 hcam) {
    return pg_decode_info[static_cast<size_t>(hcam)];
}
inline cam_cfg_type& ConfigOf(int16 hcam) {
    return pg_cam_cfg[static_cast<size_t>(hcam)];
}
inline const cam_reads_type& ReadsOf(int16 hcam) {
    return pg_cam_reads[static_cast<size_t>(hcam)];
}
inline acq_cache_type& LastSetupOf(int16 hcam) {
    return acq_cache[static_cast<size_t>(hcam)];
}

}  // namespace bv
