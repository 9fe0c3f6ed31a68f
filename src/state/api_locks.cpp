#include "state/api_locks.h"

// There before all other process-wide objects and after them, so that a call may come at any time.
constinit platform::ErrorCheckingMutex api_global_mutex;
constinit std::array<platform::ErrorCheckingMutex, max_cameras> api_camera_mutexes;

platform::ErrorCheckingMutex* api_select_camera_mutex(int16 hcam) {
    if (!oz_cam_check(hcam)) return nullptr;
    return &api_camera_mutexes[static_cast<size_t>(hcam)];
}
