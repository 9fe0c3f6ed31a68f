// The cameras of this module: those of the configuration file that the environment names, or none.

#include "engine/module.h"
#include "engine/platform.h"
#include "softcam/head.h"

#include "firmware/camera.h"

namespace engine {

bool FindSensors(std::vector<std::unique_ptr<Sensor>>& sensors, std::string& message) {
    std::vector<softcam::CameraOptions> cameras;
    const std::string path = EnvironmentVariable("ORVEX_SOFTCAM");
    if (path == "off") return true;
    if (path.empty())
        cameras = softcam::DefaultCameras();
    else if (!softcam::ReadConfiguration(path, cameras, message))
        return false;
    for (softcam::CameraOptions& options : cameras) {
        const softcam::Geometry& geometry = options.type->model.geometry;
        auto scene = softcam::MakeScene(options.scene, geometry.columns, geometry.rows,
                                        options.seed, message);
        if (!scene) return false;
        sensors.push_back(std::make_unique<firmware::Camera>(
            std::make_unique<softcam::Head>(std::move(options), std::move(scene))));
    }
    return true;
}

}  // namespace engine
