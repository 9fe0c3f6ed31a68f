#include "camera.h"

namespace kelmo {

Camera::Camera() {
    for (size_t module = 0; module < module_count; ++module) {
        for (size_t i = 0; i < parameters_of_module; ++i) {
            values_[module][i] = modules[module].parameters[i].standard;
        }
    }
}

const flt64* Camera::Value(size_t module, size_t parameter) const {
    if (module >= module_count || parameter >= parameters_of_module) return nullptr;
    return &values_[module][parameter];
}

bool Camera::SetValue(size_t module, size_t parameter, flt64 value) {
    if (!Value(module, parameter)) return false;
    const ParameterRow& row = modules[module].parameters[parameter];
    const bool in_range = value >= row.minimum && value <= row.maximum;  // false for no number
    if (!in_range) return false;
    values_[module][parameter] = value;
    // Frames from before would show in those after.
    if (module == running_average && parameter == parameter_enabled) average_.Restart();
    return true;
}

void Camera::Process(const Frame& frame) {
    if (IsEnabled(hot_pixel_removal)) {
        const flt64 threshold = values_[hot_pixel_removal][hot_pixel_threshold];
        hot_pixels_.Process(frame, static_cast<uns16>(threshold));
    }
    if (IsEnabled(running_average)) {
        average_.Process(frame,
                         static_cast<size_t>(values_[running_average][running_average_length]));
    }
}

}  // namespace kelmo
