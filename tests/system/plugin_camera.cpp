#include "plugin_camera.h"

#include "support/eventually.h"

std::vector<uns16> PluginCamera::StartContinuous(size_t frames, const rgn_type& roi,
                                                 uns32 exposure_ms) const {
    uns32 bytes = 0;
    Require(ox_exp_setup_cont(handle(), 1, &roi, TIMED_MODE, exposure_ms, &bytes, CIRC_OVERWRITE),
            "setup");
    std::vector<uns16> ring(bytes / 2 * frames, untouched);
    Require(ox_exp_start_cont(handle(), ring.data(), static_cast<uns32>(bytes * frames)), "start");
    return ring;
}

void PluginCamera::AwaitFirstFrame() const {
    const bool came = support::Eventually([this] {
        int16 status = 0;
        uns32 bytes = 0, rings = 0;
        Require(ox_exp_check_cont_status(handle(), &status, &bytes, &rings), "status");
        return bytes != 0 || rings != 0;
    });
    if (!came) throw std::runtime_error("frames never came");
}

uns32 PluginCamera::AwaitFrame(uns32 above, uns16** frame) const {
    FRAME_INFO info{};
    void* newest = nullptr;
    const bool came = support::Eventually([&] {
        if (ox_exp_get_latest_frame_ex(handle(), &newest, &info))
            return static_cast<uns32>(info.FrameNr) > above;
        Require(ox_error_code() == C3_FRAME_NOT_RETURNED, "latest frame");
        return false;
    });
    if (!came) throw std::runtime_error("frames never came");
    *frame = static_cast<uns16*>(newest);
    return static_cast<uns32>(info.FrameNr);
}
