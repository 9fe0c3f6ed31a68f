#pragma once

#include <string>
#include <vector>

#include "softcam/faults.h"
#include "softcam/models.h"
#include "softcam/run.h"
#include "softcam/scene.h"

namespace softcam {

// One camera as configured.
struct CameraOptions {
    const CameraType* type = nullptr;
    std::string name;
    uint32_t driver_type = 0;
    bool kernel_driver = true;
    SceneChoice scene;
    uint64_t seed = 1;
    bool ideal = false;
    bool stamp = false;
    uint32_t hot_pixels = 0;
    uint32_t noise_frames = 8;
    double flux = 20.0;
    double time_scale = 1.0;
    uint32_t tidal_step = 0;  // 0: as the model has it
    TriggerSource trigger;
    std::vector<FaultPlan> faults;
};

// The cameras that are there when nothing was configured: one of each type, with noise, at the
// pace of real ones.
std::vector<CameraOptions> DefaultCameras();

// Reads a configuration. Its settings outside "cameras" hold for all cameras that do not set
// them. False with a message that says where it is wrong.
bool ParseConfiguration(const std::string& text, std::vector<CameraOptions>& cameras,
                        std::string& message);
bool ReadConfiguration(const std::string& path, std::vector<CameraOptions>& cameras,
                       std::string& message);

}  // namespace softcam
