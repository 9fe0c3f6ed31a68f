#include "api/lifecycle.h"

#include <memory>

#include "orvex/orvex_errors.h"

#include "camera/open.h"
#include "camera/tables.h"
#include "platform/module.h"
#include "plugins/post_processing_host.h"
#include "state/api_global.h"
#include "state/camera_tables.h"

namespace {

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
        bv_pop_unloadlibrary();
        CloseAllCameras();
        oz_cam_uninit_globals();
        orvex_initialized = 0;
        platform::ReleaseLibrary();
    } else {
        result = call.fail(C2_ORVEX_NOT_INITED, "ORVEX is not initialized");
    }
    FlushLog(call);
    return result;
}
