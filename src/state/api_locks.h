#pragma once

#include <array>

#include "orvex/orvex_types.h"

#include "platform/mutex.h"
#include "state/camera_tables.h"

// The locks of the exported interface: one for everything that is not tied to a camera, and one a
// camera. They are not recursive and live from load to unload of the library.
extern platform::ErrorCheckingMutex api_global_mutex;
extern std::array<platform::ErrorCheckingMutex, max_cameras> api_camera_mutexes;

// The mutex of an open camera; null, with the error set, when the handle may not be used.
platform::ErrorCheckingMutex* api_select_camera_mutex(int16 hcam);
// For the holder of that mutex: false, with the error set, when the camera was closed while it
// waited. Traces nothing otherwise.
bool api_camera_still_open(int16 hcam);
