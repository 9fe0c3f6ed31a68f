#pragma once

#include "state/camera_tables.h"

// The rows of one camera; the handle has been checked, and the tables exist.
namespace bv {

inline cam_info_type& InfoOf(int16 hcam) {
    return pg_cam_info[row_of(hcam)];
}
inline decode_info_type& DecodeOf(int16 hcam) {
    return pg_decode_info[row_of(hcam)];
}
inline cam_cfg_type& ConfigOf(int16 hcam) {
    return pg_cam_cfg[row_of(hcam)];
}
inline cam_reads_type& ReadsOf(int16 hcam) {
    return pg_cam_reads[row_of(hcam)];
}
inline acq_cache_type& CacheOf(int16 hcam) {
    return acq_cache[row_of(hcam)];
}

// Replies to host commands begin with a status byte; false also for a handle without a row.
inline bool ReplyHasStatusByte(int16 hcam) {
    return has_row(hcam) && InfoOf(hcam).bridge_caps &&
           InfoOf(hcam).bridge_caps->HasReplyStatusByte();
}

}  // namespace bv
