#include "state/api_locks.h"

#include "state/api_global.h"

// There before all other process-wide objects and after them, so that a call may come at any time.
constinit platform::ErrorCheckingMutex api_global_mutex;
constinit std::array<platform::ErrorCheckingMutex, max_cameras> api_camera_mutexes;

platform::ErrorCheckingMutex* api_select_camera_mutex(int16 hcam) {
    if (!oz_cam_check(hcam)) return nullptr;
    return &api_camera_mutexes[row_of(hcam)];
}

bool api_camera_still_open(int16 hcam) {
    const bool open = orvex_initialized.load(std::memory_order_relaxed) && has_row(hcam) &&
                      pg_cam_info[row_of(hcam)].open;
    return open || oz_cam_check(hcam);
}
