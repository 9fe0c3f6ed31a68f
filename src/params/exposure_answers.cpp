#include "params/exposure_answers.h"

#include <algorithm>

#include "device/command_io.h"
#include "params/accessors.h"
#include "params/upcalls.h"
#include "state/camera_rows.h"

namespace bv {

namespace {

// Largest buffer that the driver addresses, in whole pages.
constexpr uns32 buffer_bytes_max = 0x7FFFE000;
// What a ring usually has room for.
constexpr uns32 usual_frames = 2048;
constexpr uns32 usual_bytes = 0x8000000;

const exp_range_type* CurrentRange(int16 hcam) {
    return RangeOfResolution(hcam, row<cam_cfg_type>(hcam).exp_res_index);
}

boolean16 UnknownResolution(Call& call) {
    return call.fail(C0_EXPOSURE_OUT_OF_RANGE, "Unknown exposure resolution");
}

// Nanoseconds in one unit of a resolution; 0 for an unknown one.
uns64 NanosecondsOf(uns16 resolution) {
    switch (resolution) {
        case EXP_RES_ONE_MILLISEC: return 1000000;
        case EXP_RES_ONE_MICROSEC: return 1000;
        case EXP_RES_ONE_SEC: return 1000000000;
        default: return 0;
    }
}

bool IsSetUp(int16 hcam) {
    return row<cam_info_type>(hcam).script_valid != 0;
}

// The first entry where no setup has chosen one.
boolean16 Binning(int16 hcam, uns16 decode_info_type::* chosen,
                  nvp_container cam_reads_type::* container, Value& value) {
    value = IsSetUp(hcam) ? row<decode_info_type>(hcam).*chosen
                          : (row<cam_reads_type>(hcam).*container).items[0].value;
    return OZ_OK;
}

}  // namespace

const exp_range_type* RangeOfResolution(int16 hcam, uns32 resolution) {
    const auto& map = row<cam_reads_type>(hcam).exp_range_map;
    if (!map) return nullptr;
    const auto found = map->find(static_cast<int32>(resolution));
    return found == map->end() ? nullptr : &found->second;
}

boolean16 ExposureTime(Call& call, int16 hcam, Value& value) {
    if (row<cam_reads_type>(hcam).cap_exposure_time) {
        uns64 nanoseconds = 0;
        if (!bv_ccd_get_exposure_time(hcam, &nanoseconds)) return OZ_FAIL;
        const uns64 unit = NanosecondsOf(row<cam_cfg_type>(hcam).exp_res_index);
        if (!unit) return UnknownResolution(call);
        value = nanoseconds / unit;
        return OZ_OK;
    }
    const exp_range_type* range = CurrentRange(hcam);
    if (!range) return UnknownResolution(call);
    // The maximum holds where a camera tells its bounds the wrong way round.
    value = std::min(std::max(CacheOf(hcam).exposure_time, range->min), range->max);
    return OZ_OK;
}

boolean16 ShortestExposure(Call& call, int16 hcam, Value& value) {
    const exp_range_type* range = CurrentRange(hcam);
    if (!range) return UnknownResolution(call);
    value = range->min;
    return OZ_OK;
}

boolean16 LongestExposure(Call& call, int16 hcam, Value& value) {
    const exp_range_type* range = CurrentRange(hcam);
    if (!range) return UnknownResolution(call);
    value = range->max;
    return OZ_OK;
}

boolean16 BufferBytes(Call&, int16 hcam, Value& value) {
    const decode_info_type& decode = row<decode_info_type>(hcam);
    value = row<cam_info_type>(hcam).buf_mode != CIRC_NONE
                ? uns64{decode.frame_count.get()} * decode.frame_bytes.get()
                : uns64{decode.seq_bytes.get()};
    return OZ_OK;
}

boolean16 SmallestBuffer(Call&, int16 hcam, Value& value) {
    const decode_info_type& decode = row<decode_info_type>(hcam);
    value = row<cam_info_type>(hcam).buf_mode != CIRC_NONE ? decode.frame_bytes.get()
                                                           : decode.seq_bytes.get();
    return OZ_OK;
}

boolean16 LargestBuffer(Call&, int16 hcam, Value& value) {
    const uns32 frame_bytes = row<decode_info_type>(hcam).frame_bytes;
    value = frame_bytes ? buffer_bytes_max / frame_bytes * frame_bytes : 0;
    return OZ_OK;
}

boolean16 UsualBuffer(Call&, int16 hcam, Value& value) {
    const decode_info_type& decode = row<decode_info_type>(hcam);
    const uns32 frame_bytes = decode.frame_bytes;
    if (row<cam_info_type>(hcam).buf_mode == CIRC_NONE) {
        value = decode.seq_bytes.get();
    } else {
        value = frame_bytes ? frame_bytes * std::min(usual_frames, usual_bytes / frame_bytes) : 0;
    }
    return OZ_OK;
}

boolean16 ExposureMode(Call&, int16 hcam, Value& value) {
    const uns16 mode = row<cam_info_type>(hcam).exp_mode;
    value = mode < 256 ? mode : mode & 0xFF00;
    return OZ_OK;
}

boolean16 ExposeOutMode(Call&, int16 hcam, Value& value) {
    value = row<cam_info_type>(hcam).exp_mode & 0xFF;
    return OZ_OK;
}

boolean16 RegionCount(Call&, int16 hcam, Value& value) {
    value = IsSetUp(hcam) ? row<decode_info_type>(hcam).rgn_total : uns16{1};
    return OZ_OK;
}

boolean16 RegionLimit(Call&, int16 hcam, Value& value) {
    uns16 count = 1;
    if (row<cam_reads_type>(hcam).cap_roi_count && !bv_ccd_get_roi_count_max(hcam, &count)) {
        return OZ_FAIL;
    }
    value = count;
    return OZ_OK;
}

boolean16 SerialBinning(Call&, int16 hcam, Value& value) {
    return Binning(hcam, &decode_info_type::sbin_first, &cam_reads_type::binning_ser_nvp, value);
}

boolean16 ParallelBinning(Call&, int16 hcam, Value& value) {
    return Binning(hcam, &decode_info_type::pbin_first, &cam_reads_type::binning_par_nvp, value);
}

boolean16 UsualClearMode(Call&, int16 hcam, Value& value) {
    const cam_reads_type& reads = row<cam_reads_type>(hcam);
    value = reads.nvp_caps & NVP_CAPS_CLEAR_MODES ? reads.clear_mode_nvp.items[0].value
                                                  : uns16{CLEAR_PRE_EXPOSURE};
    return OZ_OK;
}

boolean16 CountsInterrupts(Call&, int16 hcam, Value& value) {
    const ErrorHold hold;
    uns16 capabilities = 0;
    if (!dv_driver_get_pci_cap(hcam, &capabilities)) {
        ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
        capabilities = 0;
    }
    value = capabilities & 1;
    return OZ_OK;
}

boolean16 SetCountedInterrupts(int16 hcam, int32 mode) {
    // A value beyond 16 bits is no mode; it must not turn into one.
    const bool known = mode >= NO_FRAME_IRQS && mode <= BEGIN_END_FRAME_IRQS;
    return bv_exp_enable_ints(hcam, known ? static_cast<int16>(mode) : int16{-1});
}

}  // namespace bv
