#include "api/lifecycle.h"

#include <algorithm>
#include <array>
#include <memory>

#include "orvex/orvex_errors.h"

#include "camera/open.h"
#include "camera/tables.h"
#include "platform/module.h"
#include "plugins/post_processing_host.h"
#include "state/api_global.h"
#include "state/api_locks.h"
#include "state/camera_tables.h"

namespace {

constexpr uns32 call_limit_ms = 5000;

// The mutexes of all cameras: calls in progress are let end, and those of callbacks that come later
// find everything closed.
class AllCameras {
  public:
    AllCameras() {
        uns32 limit = call_limit_ms;
        for (size_t i = 0; i < held_.size(); ++i) {
            held_[i] = api_camera_mutexes[i].TryLockFor(limit);
            if (!held_[i]) limit = 0;
        }
    }
    ~AllCameras() {
        for (size_t i = 0; i < held_.size(); ++i)
            if (held_[i]) api_camera_mutexes[i].unlock();
    }
    AllCameras(const AllCameras&) = delete;
    AllCameras& operator=(const AllCameras&) = delete;

    // False when a call lasted too long.
    bool AreHeld() const {
        return std::ranges::all_of(held_, [](bool held) { return held; });
    }

  private:
    std::array<bool, max_cameras> held_{};
};

void CloseAllCameras() {
    for (int16 hcam = 0; hcam < total_cams; ++hcam) {
        if (pg_cam_info[row_of(hcam)].open) bv_cam_close(hcam);
    }
}

// A trace must not keep records back that tell of the end.
void FlushLog(bv::Call& call) {
    // Holds the log for the length of the flush.
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
    const std::shared_ptr<bv::Log> log = bv::ProcessLog();
    if (!log) return;
    const uint64_t dropped = log->Flush();
    if (dropped != 0) {
        call.warn("%llu log messages were dropped during flush",
                  static_cast<unsigned long long>(dropped));
    }
}

}  // namespace

boolean16 orvex_init(bv::Call& call) {
    if (orvex_initialized) {
        return call.fail(C2_ORVEX_ALREADY_INITED, "ORVEX can only be initialized once");
    }
    if (!oz_cam_init_globals()) return call.failed();
    bv_pop_loadlibrary();
    oz_orvex_notify_user();
    platform::KeepLibrary();
    orvex_initialized = 1;
    return bv::OZ_OK;
}

boolean16 orvex_uninit(bv::Call& call) {
    boolean16 result = bv::OZ_OK;
    if (orvex_initialized) {
        const AllCameras cameras;
        // A call that can't be waited for may be in the plug-in; its camera's close waits for it.
        const bool unloads_first = cameras.AreHeld();
        if (unloads_first) bv_pop_unloadlibrary();
        CloseAllCameras();
        if (!unloads_first) bv_pop_unloadlibrary();
        oz_cam_uninit_globals();
        orvex_initialized = 0;
        platform::ReleaseLibrary();
    } else {
        result = call.fail(C2_ORVEX_NOT_INITED, "ORVEX is not initialized");
    }
    FlushLog(call);
    return result;
}
