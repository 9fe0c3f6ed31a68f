#include "acquisition/regions.h"

#include <algorithm>

#include "orvex/orvex_errors.h"

#include "camera/reads.h"
#include "params/dispatch.h"
#include "params/io_ports.h"
#include "state/call.h"
#include "state/camera_rows.h"

using bv::arg;
using bv::Call;

namespace {

// The camera lists the pairs of binning factors that it can do.
bool HasBinningTable(const cam_reads_type& reads) {
    return reads.cap_extended && (reads.ext_caps_flags & EXT_CAPS_BINNING);
}

bool StandsInBinningTable(const cam_reads_type& reads, uns16 sbin, uns16 pbin) {
    const uns16 count = std::min(reads.binning_ser_nvp.count, reads.binning_par_nvp.count);
    for (uns16 i = 0; i < count; ++i) {
        if (reads.binning_ser_nvp.items[i].value == sbin &&
            reads.binning_par_nvp.items[i].value == pbin) {
            return true;
        }
    }
    return false;
}

bool Overlap(const rgn_type& a, const rgn_type& b) {
    return a.s1 <= b.s2 && b.s1 <= a.s2 && a.p1 <= b.p2 && b.p1 <= a.p2;
}

}  // namespace

boolean16 oz_validate_binnings(int16 hcam, const rgn_type* rgn_array, uns16 rgn_total) {
    Call call("oz_validate_binnings", arg("hcam", hcam), arg("rgn_array", rgn_array),
              arg("rgn_total", rgn_total));
    if (!rgn_array) return call.fail(C3_RGN_INVALID, "Null region array");
    if (!bv_cam_do_rws(hcam)) return call.failed();
    if (rgn_total == 0) return call.ok();

    const rgn_type& first = rgn_array[0];
    for (uns16 i = 1; i < rgn_total; ++i) {
        if (rgn_array[i].sbin != first.sbin || rgn_array[i].pbin != first.pbin) {
            return call.fail(C3_RGN_INVALID, "Region %u has different binning", unsigned{i});
        }
    }
    if (first.sbin == 0 || first.pbin == 0) {
        return call.fail(C3_RGN_INVALID, "Zero binning not allowed");
    }
    if (first.sbin < 2 && first.pbin < 2) return call.ok();
    const cam_reads_type& reads = bv::ReadsOf(hcam);
    if (HasBinningTable(reads) && !StandsInBinningTable(reads, first.sbin, first.pbin)) {
        return call.fail(C3_RGN_INVALID, "Camera does not support binning %ux%u",
                         unsigned{first.sbin}, unsigned{first.pbin});
    }
    return call.ok();
}

boolean16 oz_validate_rois(int16 hcam, const rgn_type* rgn_array, uns16 rgn_total) {
    Call call("oz_validate_rois", arg("hcam", hcam), arg("rgn_array", rgn_array),
              arg("rgn_total", rgn_total));
    if (!rgn_array) return call.fail(C3_RGN_INVALID, "Null region array");
    if (!bv_cam_do_rws(hcam)) return call.failed();

    // Each kind of fault is looked for in all regions before the next kind.
    for (uns16 i = 0; i < rgn_total; ++i) {
        if (rgn_array[i].s1 > rgn_array[i].s2 || rgn_array[i].p1 > rgn_array[i].p2) {
            return call.fail(C3_RGN_INVALID, "Region %u has left/top edge past right/bottom edge",
                             unsigned{i});
        }
    }
    const cam_cfg_type& cfg = bv::ConfigOf(hcam);
    for (uns16 i = 0; i < rgn_total; ++i) {
        if (rgn_array[i].p2 >= cfg.par_size || rgn_array[i].s2 >= cfg.ser_size) {
            return call.fail(C3_RGN_INVALID, "Region %u lies out of sensor area", unsigned{i});
        }
    }
    for (uns16 i = 0; i < rgn_total; ++i) {
        for (uns32 j = i + 1u; j < rgn_total; ++j) {
            if (Overlap(rgn_array[i], rgn_array[j])) {
                return call.fail(C3_RGN_INVALID, "Regions %u and %u overlap", unsigned{i}, j);
            }
        }
    }
    return call.ok();
}

bv::ParallelModeFlags bv::DecodeParallelMode(int32 pmode) {
    switch (pmode) {
        case PMODE_FT: return {.mpp = false, .frame_transfer = true, .alternate = false};
        case PMODE_MPP: return {.mpp = true, .frame_transfer = false, .alternate = false};
        case PMODE_FT_MPP: return {.mpp = true, .frame_transfer = true, .alternate = false};
        case PMODE_ALT_NORMAL: return {.mpp = false, .frame_transfer = false, .alternate = true};
        case PMODE_ALT_FT: return {.mpp = false, .frame_transfer = true, .alternate = true};
        case PMODE_ALT_MPP: return {.mpp = true, .frame_transfer = false, .alternate = true};
        case PMODE_ALT_FT_MPP: return {.mpp = true, .frame_transfer = true, .alternate = true};
    }
    return {.mpp = false, .frame_transfer = false, .alternate = false};
}

boolean16 bv_get_camera_info(int16 hcam, active_camera_type* active_camera) {
    Call call("bv_get_camera_info", arg("hcam", hcam), arg("active_camera", active_camera));
    if (!bv_cam_do_rws(hcam)) return call.failed();
    const auto read = [&](uns32 id, auto& value, int16 attribute = ATTR_CURRENT) {
        return bv_get_attribute(hcam, id, attribute, &value);
    };
    active_camera_type& cam = *active_camera;
    int32 clear_mode = 0;
    int32 shtr_open_mode = 0;
    int32 mpp_capable = 0;
    int32 pmode = 0;
    if (!read(PARAM_SHTR_CLOSE_DELAY, cam.shtr_close_delay) ||
        !read(PARAM_SHTR_OPEN_DELAY, cam.shtr_open_delay) || !read(PARAM_PAR_SIZE, cam.par_size) ||
        !read(PARAM_SER_SIZE, cam.ser_size) || !read(PARAM_PRESCAN, cam.prescan) ||
        !read(PARAM_POSTSCAN, cam.postscan) || !read(PARAM_PREMASK, cam.premask) ||
        !read(PARAM_POSTMASK, cam.postmask) ||
        !bv_get_preflash(hcam, ATTR_CURRENT, &cam.preflash) ||
        !read(PARAM_CLEAR_MODE, clear_mode) || !read(PARAM_CLEAR_CYCLES, cam.clear_cycles) ||
        !read(PARAM_PREAMP_DELAY, cam.preamp_delay)) {
        return call.failed();
    }
    {
        const bv::ErrorHold hold;
        if (read(PARAM_MPP_CAPABLE, mpp_capable)) {
            cam.mpp_selectable = mpp_capable == MPP_SELECTABLE;
        } else {
            // A camera that lacks the parameter has no choice; that is no error of the setup, which
            // would end at the first code that it finds set.
            bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
        }
    }
    if (!read(PARAM_FRAME_CAPABLE, cam.frame_capable, ATTR_AVAIL) ||
        !read(PARAM_SHTR_OPEN_MODE, shtr_open_mode) || !read(PARAM_PMODE, pmode) ||
        !bv_io_get_headers(hcam, &cam.io_info)) {
        return call.failed();
    }
    const bv::ParallelModeFlags flags = bv::DecodeParallelMode(pmode);
    cam.mpp_on = flags.mpp;
    cam.frame_transfer_on = flags.frame_transfer;
    cam.alt_on = flags.alternate;
    cam.clear_mode = static_cast<uns16>(clear_mode);
    cam.shtr_open_mode = static_cast<uns16>(shtr_open_mode);
    cam.exp_res = bv::ConfigOf(hcam).exp_res_index;
    return call.ok();
}

uns16 bv::CountAxisPixels(uns16 first, uns16 last, uns16 binning, uns16 size, uns16 ports) {
    const auto section = static_cast<uns16>(size / std::max<uns16>(ports, 1));
    uns16 total = 0;
    for (uns16 port = 0; port < std::max<uns16>(ports, 1); ++port) {
        const auto low = static_cast<uns16>(port * section);
        const auto high = static_cast<uns16>(low + section - 1);
        const bool first_inside = first >= low && first <= high;
        const bool last_inside = last >= low && last <= high;
        if (!first_inside && !last_inside) continue;
        const uns16 start = first_inside ? first : low;
        const uns16 end = last_inside ? last : high;
        // Each section bins for itself, so a region across the middle may lose a pixel.
        total = static_cast<uns16>(total + static_cast<uns16>(end - start + 1) / binning);
    }
    return total;
}

void bv_calculate_dimensions(int16 hcam, const rgn_type* rgn, uns32* pixels) {
    Call call("bv_calculate_dimensions", arg("hcam", hcam), arg("rgn", rgn), arg("pixels", pixels));
    const cam_cfg_type& cfg = bv::ConfigOf(hcam);
    const cam_reads_type& reads = bv::ReadsOf(hcam);
    decode_info_type& decode = bv::DecodeOf(hcam);
    decode.ser_pixels =
        bv::CountAxisPixels(rgn->s1, rgn->s2, rgn->sbin, cfg.ser_size, reads.ser_ports);
    decode.par_pixels =
        bv::CountAxisPixels(rgn->p1, rgn->p2, rgn->pbin, cfg.par_size, reads.par_ports);
    *pixels = uns32{decode.ser_pixels} * decode.par_pixels;
    call.returns(arg("*pixels", *pixels));
}

uns16 bv_set_boundaries(int16* boundary, const rgn_type* rgn_array, uns16 count, uns16 premask,
                        uns16 par_end) {
    Call call("bv_set_boundaries", arg("boundary", boundary), arg("rgn_array", rgn_array),
              arg("count", count), arg("premask", premask), arg("par_end", par_end));
    int16* end = boundary;
    *end++ = static_cast<int16>(-premask);
    for (uns16 i = 0; i < count; ++i) {
        *end++ = static_cast<int16>(rgn_array[i].p1);
        *end++ = static_cast<int16>(rgn_array[i].p2 + 1);
    }
    *end++ = static_cast<int16>(par_end);
    std::sort(boundary, end);
    const auto left = static_cast<uns16>(std::unique(boundary, end) - boundary);
    call.returns(arg("count", left));
    return left;
}
