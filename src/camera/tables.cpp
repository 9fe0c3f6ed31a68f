#include "camera/tables.h"

#include <new>

#include "orvex/orvex_errors.h"

#include "camera/extended_capabilities.h"
#include "camera/upcalls.h"
#include "device/ddi.h"
#include "state/call.h"
#include "state/camera_rows.h"

namespace {

template <class T>
bool MakeTable(bv::Call& call, std::unique_ptr<T[]>& table, const char* name) {
    table.reset(new (std::nothrow) T[row_of(total_cams)]());
    if (table) return true;
    call.fail(C2_CANNOT_ALLOCATE_MEMORY, "Cannot allocate %s", name);
    return false;
}

template <class T>
bool MakeRowPart(bv::Call& call, std::unique_ptr<T>& part, const char* name, int16 hcam) {
    part.reset(new (std::nothrow) T());
    if (part) return true;
    call.fail(C2_CANNOT_ALLOCATE_MEMORY, "Cannot allocate %s for hcam %d", name, hcam);
    return false;
}

void ResetCache(acq_cache_type& cache, const cam_reads_type& reads, uns16 exp_res_index) {
    cache.exposure_time = (*reads.exp_range_map)[exp_res_index].min;
    cache.tidal_stream_mode = 0;
    cache.tidal_stream_enabled = 0;
    cache.tidal_exp_params.clear();
    cache.tidal_dly_params.clear();
}

bool MakeRow(bv::Call& call, int16 hcam) {
    const size_t row = row_of(hcam);
    cam_info_type& info = pg_cam_info[row];
    dv_ddi_get_cam_name(hcam, &info.name);
    info.bridge_caps.reset(new (std::nothrow) bv::BridgeCaps());
    if (!info.bridge_caps) {
        call.fail(C2_CANNOT_ALLOCATE_MEMORY, "Cannot allocate BridgeCaps object.");
        return false;
    }
    cam_cfg_type& cfg = pg_cam_cfg[row];
    cam_reads_type& reads = pg_cam_reads[row];
    if (!MakeRowPart(call, cfg.io_script_info, "io_script_info", hcam) ||
        !MakeRowPart(call, reads.blob_piav_map, "blob_piav_map", hcam) ||
        !MakeRowPart(call, reads.exp_range_map, "exp_range_map", hcam)) {
        return false;
    }
    bv::SeedExposureRanges(*reads.exp_range_map);
    ResetCache(acq_cache[row], reads, cfg.exp_res_index);
    return true;
}

bool MakeRows(bv::Call& call) {
    for (int16 hcam = 0; hcam < total_cams; ++hcam) {
        if (!MakeRow(call, hcam)) return false;
    }
    return true;
}

}  // namespace

boolean16 oz_cam_init_globals() {
    bv::Call call("oz_cam_init_globals");
    if (!dv_ddi_init()) return call.failed();
    int16 reported = 0;
    if (dv_ddi_get_total_cams(&reported) != 1) {
        oz_cam_uninit_globals();
        return call.failed();
    }
    if (reported > max_cameras) {
        call.warn("The device driver reports %d cameras, only the first %d are used", reported,
                  max_cameras);
        reported = max_cameras;
    }
    total_cams = reported;
    if (reported <= 0) return call.ok();

    if (!MakeTable(call, pg_cam_info, "pg_cam_info") ||
        !MakeTable(call, pg_decode_info, "pg_decode_info") ||
        !MakeTable(call, pg_cam_cfg, "pg_cam_cfg") ||
        !MakeTable(call, pg_cam_reads, "pg_cam_reads") || !MakeRows(call)) {
        oz_cam_uninit_globals();
        return bv::OZ_FAIL;
    }
    return call.ok();
}

void oz_cam_uninit_globals() {
    bv::Call call("oz_cam_uninit_globals");
    pg_cam_reads.reset();
    if (pg_cam_cfg) {
        for (int16 hcam = 0; hcam < total_cams; ++hcam) {
            if (bv::ConfigOf(hcam).io_script_info) oz_io_clear_script_control(hcam);
        }
    }
    pg_cam_cfg.reset();
    pg_cam_info.reset();
    pg_decode_info.reset();
    dv_ddi_uninit();
    total_cams = 0;
}
