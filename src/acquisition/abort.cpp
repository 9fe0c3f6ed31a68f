#include "acquisition/abort.h"

#include <algorithm>
#include <array>
#include <limits>

#include "acquisition/sequence.h"
#include "acquisition/upcalls.h"
#include "device/ddi.h"
#include "device/image_transfer.h"
#include "log/enum_texts.h"
#include "messages/host_command_message.h"
#include "messages/texts.h"
#include "platform/system.h"
#include "state/call.h"
#include "state/camera_rows.h"

using bv::arg;
using bv::Call;

namespace {

// What the camera needs to halt its control system.
constexpr uns32 halt_wait_ms = 10;

constexpr int64 nanoseconds_per_ms = 1000000;
// Nobody waits longer for a camera, which may have sent garbage.
constexpr int64 post_abort_max = 10000 * nanoseconds_per_ms;
constexpr flt64 transfer_margin_ms = 2000;
constexpr flt64 unknown_exposure_ms = 5000;

struct HaltOption {
    int16 cam_state;
    uns16 ccs_optn;
};
constexpr std::array<HaltOption, 6> halt_options{{
    {CCS_HALT, HC_CCS_NONE},
    {CCS_HALT_CLOSE_SHTR, HC_CCS_CLOSE_SHTR},
    {CCS_CLEAR, HC_CCS_CONT_CLEAR},
    {CCS_CLEAR_CLOSE_SHTR, HC_CCS_CONT_CLEAR | HC_CCS_CLOSE_SHTR},
    {CCS_OPEN_SHTR, HC_CCS_OPEN_SHTR},
    {CCS_CLEAR_OPEN_SHTR, HC_CCS_CONT_CLEAR | HC_CCS_OPEN_SHTR},
}};

// One that is gone sends nothing any more.
bool IsRemoved(int16 hcam) {
    orvex_device* device = dv_device(hcam);
    return device && dv_device_state(device) == DEVICE_REMOVED;
}

// False when the driver still has its hands on the buffer.
bool IdleTransfer(int16 hcam) {
    return !dv_driver_is_image_data_active(hcam) || dv_driver_set_image_data_idle(hcam);
}

// Returns the milliseconds that the camera had to come to rest. A failure stays in the error
// state.
uns32 HaltControlSystem(int16 hcam, int16 cam_state) {
    const auto option =
        std::find_if(halt_options.begin(), halt_options.end(),
                     [&](const HaltOption& candidate) { return candidate.cam_state == cam_state; });
    if (option == halt_options.end()) return 0;
    bv_stop_ccs(hcam, option->ccs_optn);
    return halt_wait_ms;
}

// A camera that does not end the transfer by itself answers zero; the host then does. `disarmed`
// stays false while the driver still has its hands on the buffer.
boolean16 StopAcquisition(int16 hcam, bool& disarmed) {
    bv::HostCommandMessage message(hcam);
    message.BeginReply();
    message.AddWriteRead(STOP_ACQUISITION, uns32{0});
    message.RequestReply();
    if (!message.Execute()) return 0;
    disarmed = true;
    if (message.Reply<uns32>(STOP_ACQUISITION) != 0) return 1;
    flt64 exposure = unknown_exposure_ms;
    if (!bv_exp_get_exp_time_msec(hcam, &exposure)) exposure = unknown_exposure_ms;
    const flt64 limit =
        std::min<flt64>(exposure + transfer_margin_ms, std::numeric_limits<int32>::max());
    disarmed = dv_driver_stop_data_transfer(hcam, static_cast<int32>(limit));
    return 1;
}

// Some cameras want to be left alone for a while after an abort.
void WaitPostAbort(Call& call, int16 hcam, uns32 waited_ms) {
    if (!bv::ReadsOf(hcam).cap_post_abort_delay) return;
    const int64 delay = bv::InfoOf(hcam).post_abort_delay;
    if (delay > post_abort_max) {
        call.warn("Post-abort delay of %lld ns is cut to %lld ns", static_cast<long long>(delay),
                  static_cast<long long>(post_abort_max));
    }
    if (const uns32 wait_ms = bv::PostAbortWaitMs(delay, waited_ms)) platform::SleepMs(wait_ms);
}

}  // namespace

uns32 bv::PostAbortWaitMs(int64 delay, uns32 waited_ms) {
    const int64 left = std::min(delay, post_abort_max) / nanoseconds_per_ms - waited_ms;
    return static_cast<uns32>(std::max<int64>(left, 0));
}

boolean16 bv_exp_abort(int16 hcam, int16 cam_state) {
    Call call("bv_exp_abort", arg("hcam", hcam),
              bv::enumerated("cam_state", cam_state, bv_text_ccs));
    cam_info_type& info = bv::InfoOf(hcam);
    // Every setup and every message begins with an abort; most find nothing to end.
    if (!info.exp_started) return call.ok();
    if (bv_pop_ismoduleavailable(hcam) && info.buf_mode != CIRC_NONE) {
        bv_pop_stop_kelmo_processing(hcam);
    }
    // The messages of the abort itself are not to abort.
    info.exp_started = 0;
    uns32 waited_ms = 0;
    bool disarmed = false;
    boolean16 accepted = 1;
    if (!bv::ReadsOf(hcam).cap_stop_acquisition) {
        disarmed = IdleTransfer(hcam);
        waited_ms = HaltControlSystem(hcam, cam_state);
    } else {
        accepted = StopAcquisition(hcam, disarmed);
    }
    // A run whose frames may still come is not over: the next abort has it to end.
    if (!disarmed && !IsRemoved(hcam)) info.exp_started = 1;
    if (!accepted) return call.failed();
    WaitPostAbort(call, hcam, waited_ms);
    return call.result(!bv::ApiGlobal::IsErrorCodeSet());
}

boolean16 bv_stop_ccs(int16 hcam, uns16 ccs_optn) {
    Call call("bv_stop_ccs", arg("hcam", hcam),
              bv::enumerated("ccs_optn", ccs_optn, bv_text_hc_ccs));
    bv::HostCommandMessage message(hcam);
    message.AddWrite(STOP_CCS, ccs_optn);
    message.AddReadLength();
    if (!message.Execute()) return call.failed();
    platform::SleepMs(halt_wait_ms);
    return call.ok();
}
