#include "acquisition/generator/setup_checks.h"

#include <algorithm>

#include "orvex/orvex_errors.h"
#include "orvex/orvex_params.h"

#include "acquisition/exposure_range.h"
#include "camera/tidal_stream_owner.h"
#include "log/enum_texts.h"
#include "params/accessors.h"
#include "params/dispatch.h"
#include "params/tidal_stream.h"
#include "state/camera_rows.h"

namespace {

using bv::Call;
using bv::CentroidSettings;
using bv::CheckedSetup;

// Sizes of the two headers of a metadata frame.
constexpr uns32 frame_md_bytes = sizeof(md_frame_header);
constexpr uns32 roi_md_bytes = sizeof(md_frame_roi_header);

// Codes without a line of their own.
bool Refuse(Call& call, int16 code) {
    call.fail_silently(code);
    return false;
}

// The getter has told the reason.
bool Failed(Call& call) {
    call.failed();
    return false;
}

bool ReadCentroids(int16 hcam, CentroidSettings& centroids) {
    if (!bv::ReadsOf(hcam).cap_centroids) return true;
    if (!bv::ReadParam(hcam, PARAM_CENTROIDS_ENABLED, centroids.enabled)) return false;
    if (centroids.enabled != 1) return true;
    uns16 has_mode = 0;
    if (!bv::ReadParam(hcam, PARAM_CENTROIDS_COUNT, centroids.count) ||
        !bv::ReadParam(hcam, PARAM_CENTROIDS_RADIUS, centroids.radius) ||
        !bv::ReadParam(hcam, PARAM_CENTROIDS_MODE, has_mode, ATTR_AVAIL)) {
        return false;
    }
    return has_mode != 1 || bv::ReadParam(hcam, PARAM_CENTROIDS_MODE, centroids.mode);
}

// Several regions always arrive with metadata around them, and so do centroids.
bool CheckRegionCount(Call& call, int16 hcam, size_t regions, bool centroids,
                      boolean16& metadata_enabled) {
    if (centroids && regions >= 2) return Refuse(call, C3_RGN_INVALID);
    uns16 max_regions = 1;
    if (!bv::ReadParam(hcam, PARAM_ROI_COUNT, max_regions, ATTR_MAX) || regions > max_regions) {
        return Refuse(call, C3_RGN_INVALID);
    }
    if (bv::ReadsOf(hcam).cap_metadata &&
        !bv::ReadParam(hcam, PARAM_METADATA_ENABLED, metadata_enabled)) {
        return Failed(call);
    }
    if (!metadata_enabled && (centroids || regions > 1)) return Refuse(call, C2_NOT_AVAILABLE);
    return true;
}

bool MeasureMetadata(Call& call, int16 hcam, CheckedSetup& setup) {
    uns32 frame_md = frame_md_bytes;
    uns32 roi_md = roi_md_bytes;
    if (bv::ReadsOf(hcam).cap_ext_metadata) {
        uns16 frame_ext = 0;
        uns16 roi_ext = 0;
        if (!bv_ccd_get_ext_metadata_size(hcam, &frame_ext, &roi_ext)) return Failed(call);
        frame_md += frame_ext;
        roi_md += roi_ext;
    }
    auto records = static_cast<uns32>(setup.program.regions.size());
    if (setup.centroids.enabled) {
        switch (setup.centroids.mode) {
            case OX_CENTROIDS_MODE_LOCATE: records = setup.centroids.count; break;
            case OX_CENTROIDS_MODE_TRACK: records = setup.centroids.count + 1u; break;
            default:
                call.fail(C0_UNKNOWN_ERROR, "Unhandled centroid mode: %d(%s)", setup.centroids.mode,
                          bv_text_centroids_mode(setup.centroids.mode));
                return false;
        }
    }
    setup.md_bytes = records * roi_md + frame_md;
    return true;
}

// All exposures of the list that the camera cycles through.
bool CheckTidalExposures(Call& call, int16 hcam, const exp_range_type& range) {
    uns16 max_entries = 0;
    if (!bv_get_tidal_stream_exp_mode_params_max(hcam, &max_entries)) return Failed(call);
    const bv::TidalStreamOwner stream = bv::MakeTidalStream(max_entries);
    if (!stream) return Failed(call);
    if (!bv_get_tidal_stream_exp_mode_params(hcam, stream.get())) return Failed(call);
    const bool all_in_range =
        std::all_of(stream->params, stream->params + stream->entries,
                    [&](uns32 exposure) { return bv::InRange(range, exposure); });
    return all_in_range || Refuse(call, C0_EXPOSURE_OUT_OF_RANGE);
}

bool CheckExposure(Call& call, int16 hcam, uns32 exposure_time) {
    const exp_range_type& range = bv::CurrentExposureRange(hcam);
    if (bv::ReadsOf(hcam).cap_tidal_stream) {
        uns16 enabled = 0;
        if (!bv_get_tidal_stream_enabled_state(hcam, &enabled)) return Failed(call);
        if (enabled == 1) return CheckTidalExposures(call, hcam, range);
    }
    return bv::InRange(range, exposure_time) || Refuse(call, C0_EXPOSURE_OUT_OF_RANGE);
}

bool CheckRegions(Call& call, int16 hcam, CheckedSetup& setup) {
    const auto& regions = setup.program.regions;
    const auto count = static_cast<uns16>(regions.size());
    boolean16 metadata_enabled = 0;
    if (!CheckRegionCount(call, hcam, count, setup.centroids.enabled, metadata_enabled)) {
        return false;
    }
    if (metadata_enabled && !MeasureMetadata(call, hcam, setup)) return false;
    if (!oz_validate_binnings(hcam, regions.data(), count) ||
        !oz_validate_rois(hcam, regions.data(), count)) {
        return Failed(call);
    }
    if (setup.centroids.enabled && (regions[0].pbin > 1 || regions[0].sbin >= 2)) {
        return Refuse(call, C0_BINNING_INVALID);
    }
    return true;
}

bool TakeSnapshot(Call& call, int16 hcam, bv::ProgramSetup& program) {
    cam_info_type& info = bv::InfoOf(hcam);
    const cam_reads_type& reads = bv::ReadsOf(hcam);
    if (reads.cap_post_abort_delay && !bv_ccd_get_post_abort_delay(hcam, &info.post_abort_delay)) {
        return Failed(call);
    }
    if (!bv_get_camera_info(hcam, &program.camera)) return Failed(call);
    if (program.camera.frame_transfer_on && !program.camera.frame_capable) {
        return Refuse(call, C32_CCL_CANT_FRAME_TRANSFER);
    }
    if (!bv_get_attribute(hcam, PARAM_PREAMP_OFF_CONTROL, ATTR_CURRENT,
                          &program.preamp_off_control)) {
        return Failed(call);
    }
    program.parallel_clear = reads.cap_parallel_clear != 0;
    program.buf_mode = static_cast<int16>(info.buf_mode.get());
    info.exp_mode = static_cast<uns16>(program.exp_mode);
    return true;
}

}  // namespace

bool bv::CheckSetup(Call& call, CheckedSetup& setup) {
    const int16 hcam = setup.program.hcam;
    if (setup.program.regions.empty() || !setup.program.regions.data()) {
        return Refuse(call, C3_RGN_INVALID);
    }
    if (!ReadCentroids(hcam, setup.centroids)) return Failed(call);
    return CheckRegions(call, hcam, setup) &&
           CheckExposure(call, hcam, setup.program.exposure_time) &&
           TakeSnapshot(call, hcam, setup.program);
}
