#include "api/legacy_workers.h"

#include <algorithm>
#include <cstdlib>

#include "orvex/orvex_errors.h"
#include "orvex/orvex_params.h"

#include "acquisition/sequence.h"
#include "device/ddi.h"
#include "params/dispatch.h"
#include "state/camera_tables.h"

namespace {

cam_info_type& CamInfo(int16 hcam) {
    return pg_cam_info[row_of(hcam)];
}

decode_info_type& DecodeInfo(int16 hcam) {
    return pg_decode_info[row_of(hcam)];
}

}  // namespace

boolean16 ccd_get_tmp_range(int16 hcam, int16* tmp_hi_val, int16* tmp_lo_val) {
    return bv_get_param(hcam, PARAM_TEMP_SETPOINT, ATTR_MAX, tmp_hi_val) &&
           bv_get_param(hcam, PARAM_TEMP_SETPOINT, ATTR_MIN, tmp_lo_val);
}

boolean16 spdtab_get_entries(int16 hcam, int16* spdtab_entries) {
    uns32 count = 0;
    if (!bv_get_attribute(hcam, PARAM_SPDTAB_INDEX, ATTR_COUNT, &count)) return bv::OZ_FAIL;
    *spdtab_entries = static_cast<int16>(count);
    return bv::OZ_OK;
}

boolean16 exp_check_progress(int16 hcam, int16* status, uns32* bytes_arrived) {
    uns32 frame_nr = 0;
    if (!bv_exp_check_status(hcam, status, bytes_arrived, &frame_nr)) return bv::OZ_FAIL;
    if (frame_nr >= DecodeInfo(hcam).frame_count) *status = READOUT_COMPLETE;
    return bv::OZ_OK;
}

boolean16 bv_ddi_get_ver(uns16* ddi_version) {
    bv::Call call("bv_ddi_get_ver", bv::arg("ddi_version", ddi_version));
    if (!dv_ddi_get_ver(ddi_version)) return call.failed();
    return call.ok(bv::arg("*ddi_version", *ddi_version));
}

boolean16 exp_set_cont_mode(int16 hcam, int16 mode) {
    CamInfo(hcam).buf_mode = static_cast<uns16>(mode);
    return bv::OZ_OK;
}

boolean16 exp_get_bytes(int16 hcam, uns32* exp_bytes) {
    *exp_bytes = DecodeInfo(hcam).seq_bytes;
    return bv::OZ_OK;
}

boolean16 exp_get_frames(int16 hcam, uns32* exp_frames) {
    *exp_frames = DecodeInfo(hcam).frame_count;
    return bv::OZ_OK;
}

boolean16 exp_set_frames(bv::Call& call, int16 hcam, uns32 exp_frames) {
    if (!pg_decode_info) return call.fail(C3_NOT_INITIALIZED, "Null decode_desc structure");
    DecodeInfo(hcam).frame_count = exp_frames;
    return bv::OZ_OK;
}

boolean16 exp_get_script(int16 hcam, boolean16* script_valid) {
    *script_valid = CamInfo(hcam).script_valid;
    return bv::OZ_OK;
}

boolean16 exp_set_script(int16 hcam, boolean16 script_valid) {
    CamInfo(hcam).script_valid = script_valid;
    return bv::OZ_OK;
}

boolean16 cam_get_dev_handle(int16 hcam, int16* hdev) {
    *hdev = hcam;
    return bv::OZ_OK;
}

void* heap_allocate(bv::Call& call, size_t items, size_t size) {
    void* block = std::calloc(items, size);
    if (!block) call.fail(C2_CANNOT_ALLOCATE_MEMORY, "Cannot allocate new block");
    return block;
}

void* heap_resize(bv::Call& call, void* block, size_t size) {
    // A size of 0 would free the block, which stays the caller's.
    void* resized = std::realloc(block, std::max<size_t>(size, 1));
    if (!resized) call.fail(C2_CANNOT_ALLOCATE_MEMORY, "Cannot allocate new block");
    return resized;
}

boolean16 heap_free(void* block) {
    std::free(block);
    return bv::OZ_OK;
}
