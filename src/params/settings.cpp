#include "params/accessors.h"
#include "params/dispatch.h"
#include "params/exposure_answers.h"
#include "params/parameter.h"
#include "state/camera_rows.h"

using bv::arg;
using bv::Call;

namespace {

// Keeps a choice for the next setup.
template <auto Field, class T>
boolean16 Store(const char* function, const char* word, int16 hcam, T value) {
    Call call(function, arg("hcam", hcam), arg(word, value));
    bv::ConfigOf(hcam).*Field = value;
    return call.ok();
}

// The same for a choice that the program in the camera was made from.
template <auto Field, class T>
boolean16 StoreForScript(Call& call, int16 hcam, T value) {
    auto& kept = bv::ConfigOf(hcam).*Field;
    if (kept != value) bv::InfoOf(hcam).script_valid = 0;
    kept = value;
    return call.ok();
}

}  // namespace

boolean16 bv_ccd_set_preamp_off_control(int16 hcam, uns32 value) {
    return Store<&cam_cfg_type::preamp_off_control>("bv_ccd_set_preamp_off_control",
                                                    "preamp_off_control", hcam, value);
}

boolean16 bv_ccd_set_premask(int16 hcam, uns16 premask) {
    return Store<&cam_cfg_type::premask>("bv_ccd_set_premask", "premask", hcam, premask);
}

boolean16 bv_ccd_set_prescan(int16 hcam, uns16 prescan) {
    return Store<&cam_cfg_type::prescan>("bv_ccd_set_prescan", "prescan", hcam, prescan);
}

boolean16 bv_ccd_set_postmask(int16 hcam, uns16 postmask) {
    return Store<&cam_cfg_type::postmask>("bv_ccd_set_postmask", "postmask", hcam, postmask);
}

boolean16 bv_ccd_set_postscan(int16 hcam, uns16 postscan) {
    return Store<&cam_cfg_type::postscan>("bv_ccd_set_postscan", "postscan", hcam, postscan);
}

boolean16 bv_ccd_set_par_size(int16 hcam, uns16 par_size) {
    return Store<&cam_cfg_type::par_size>("bv_ccd_set_par_size", "par_size", hcam, par_size);
}

boolean16 bv_ccd_set_ser_size(int16 hcam, uns16 ser_size) {
    return Store<&cam_cfg_type::ser_size>("bv_ccd_set_ser_size", "ser_size", hcam, ser_size);
}

boolean16 bv_ccd_set_clear_cycles(int16 hcam, uns16 clear_cycles) {
    Call call("bv_ccd_set_clear_cycles", arg("hcam", hcam), arg("clear_cycles", clear_cycles));
    return StoreForScript<&cam_cfg_type::clear_cycles>(call, hcam, clear_cycles);
}

boolean16 bv_ccd_set_clear_mode(int16 hcam, int32 clear_mode) {
    Call call("bv_ccd_set_clear_mode", arg("hcam", hcam), arg("clear_mode", clear_mode));
    if (static_cast<uns32>(clear_mode) > CLEAR_PRE_EXPOSURE_POST_SEQ) {
        return call.fail(C2_NOT_AVAILABLE, "Unsupported clear mode");
    }
    return StoreForScript<&cam_cfg_type::clear_mode>(call, hcam, static_cast<int16>(clear_mode));
}

boolean16 bv_ccd_set_pmode(int16 hcam, int16 pmode) {
    Call call("bv_ccd_set_pmode", arg("hcam", hcam), arg("pmode", pmode));
    const bool wants_frame_transfer = pmode == PMODE_FT || pmode == PMODE_FT_MPP ||
                                      pmode == PMODE_ALT_FT || pmode == PMODE_ALT_FT_MPP;
    const bool wants_mpp = pmode == PMODE_MPP || pmode == PMODE_FT_MPP || pmode == PMODE_ALT_MPP ||
                           pmode == PMODE_ALT_FT_MPP;
    boolean16 frame_capable = 0;
    if (!bv_get_attribute(hcam, PARAM_FRAME_CAPABLE, ATTR_CURRENT, &frame_capable)) {
        return call.failed();
    }
    if (!frame_capable && wants_frame_transfer) {
        return call.fail(C2_NOT_AVAILABLE, "Frame transfer mode not available");
    }
    const uns16 mpp_capable = bv::row<cam_reads_type>(hcam).mpp_capable;
    if (mpp_capable == MPP_UNKNOWN) return call.fail(C2_NOT_AVAILABLE, "Unknown MPP mode");
    if ((mpp_capable == MPP_ALWAYS_OFF || mpp_capable == MPP_ALWAYS_ON) && wants_mpp) {
        return call.fail(C2_NOT_AVAILABLE, "MPP mode not selectable");
    }
    return StoreForScript<&cam_cfg_type::pmode>(call, hcam, pmode);
}

boolean16 bv_shtr_set_open_mode(int16 hcam, int32 shtr_open_mode) {
    Call call("bv_shtr_set_open_mode", arg("hcam", hcam), arg("shtr_open_mode", shtr_open_mode));
    // Applications hand over modes of later cameras; they get the usual one.
    const bool known = static_cast<uns32>(shtr_open_mode) <= OPEN_NO_CHANGE;
    return StoreForScript<&cam_cfg_type::shtr_open_mode>(
        call, hcam, static_cast<int16>(known ? shtr_open_mode : OPEN_PRE_EXPOSURE));
}

boolean16 bv_set_exp_res_index(int16 hcam, uns32 exp_res_index) {
    Call call("bv_set_exp_res_index", arg("hcam", hcam), arg("exp_res_index", exp_res_index));
    const uns32 total = bv::row<cam_reads_type>(hcam).exp_res_total;
    if (exp_res_index >= total) {
        return call.fail(C2_INDEX_OUT_OF_RANGE, "Index out of range, max. is %u",
                         total ? total - 1 : 0);
    }
    if (!bv::RangeOfResolution(hcam, exp_res_index)) {
        return call.fail(C2_INDEX_OUT_OF_RANGE, "No exposure range at resolution index %u",
                         exp_res_index);
    }
    return StoreForScript<&cam_cfg_type::exp_res_index>(call, hcam,
                                                        static_cast<uns16>(exp_res_index));
}
