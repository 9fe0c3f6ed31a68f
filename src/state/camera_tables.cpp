#include "state/camera_tables.h"

#include "log/never_destroyed.h"
#include "state/call.h"

// An application may end without ox_orvex_uninit while notification threads run, so the tables are
// freed by that operation alone and never by the end of the process. All but acq_cache are there
// before any constructor runs.
namespace {

constinit bv::NeverDestroyed<std::unique_ptr<cam_info_type[]>> cam_info;
constinit bv::NeverDestroyed<std::unique_ptr<decode_info_type[]>> decode_info;
constinit bv::NeverDestroyed<std::unique_ptr<cam_cfg_type[]>> cam_cfg;
constinit bv::NeverDestroyed<std::unique_ptr<cam_reads_type[]>> cam_reads;

}  // namespace

constinit std::unique_ptr<cam_info_type[]>& pg_cam_info = cam_info.value;
constinit std::unique_ptr<decode_info_type[]>& pg_decode_info = decode_info.value;
constinit std::unique_ptr<cam_cfg_type[]>& pg_cam_cfg = cam_cfg.value;
constinit std::unique_ptr<cam_reads_type[]>& pg_cam_reads = cam_reads.value;
std::array<acq_cache_type, max_cameras>& acq_cache = *new std::array<acq_cache_type, max_cameras>;
bv::Word<int16> total_cams{0};

boolean16 oz_cam_check(int16 hcam) {
    bv::Call call("oz_cam_check", bv::arg("hcam", hcam));
    if (!orvex_initialized.load(std::memory_order_relaxed)) {
        return call.fail(C2_ORVEX_NOT_INITED, "ORVEX is not initialized");
    }
    if (!has_row(hcam) || !pg_cam_info[row_of(hcam)].open) {
        return call.fail(C0_INVALID_HANDLE, "Invalid camera handle or camera not open");
    }
    return call.ok();
}
