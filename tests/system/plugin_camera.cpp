#include "plugin_camera.h"

#include <chrono>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds run_limit{20};

void CheckLimit(Clock::time_point end) {
    if (Clock::now() > end) throw std::runtime_error("frames never came");
    std::this_thread::yield();
}

}  // namespace

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
    const auto end = Clock::now() + run_limit;
    uns32 bytes = 0;
    for (uns32 rings = 0; bytes == 0 && rings == 0; CheckLimit(end)) {
        int16 status = 0;
        Require(ox_exp_check_cont_status(handle(), &status, &bytes, &rings), "status");
    }
}

uns32 PluginCamera::AwaitFrame(uns32 above, uns16** frame) const {
    const auto end = Clock::now() + run_limit;
    for (;; CheckLimit(end)) {
        FRAME_INFO info{};
        void* newest = nullptr;
        if (!ox_exp_get_latest_frame_ex(handle(), &newest, &info)) {
            Require(ox_error_code() == C3_FRAME_NOT_RETURNED, "latest frame");
            continue;
        }
        if (static_cast<uns32>(info.FrameNr) <= above) continue;
        *frame = static_cast<uns16*>(newest);
        return static_cast<uns32>(info.FrameNr);
    }
}
