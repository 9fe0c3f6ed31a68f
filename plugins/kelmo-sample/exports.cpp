// A post-processing plug-in with two modules: hot-pixel removal and a running average.
#include <cstring>

#include "orvex/orvex_plugin.h"

#include "camera.h"

namespace {

std::array<kelmo::Camera, ORVEX_PLUGIN_CAMERAS> cameras;

// Null when there is no such camera.
kelmo::Camera* CameraOf(int16 hcam) {
    return hcam >= 0 && hcam < ORVEX_PLUGIN_CAMERAS ? &cameras[static_cast<size_t>(hcam)] : nullptr;
}

void CopyText(char* to, const char* from) {
    std::memcpy(to, from, std::strlen(from) + 1);
}

}  // namespace

void dll_open_camera(int16 hcam) {
    if (kelmo::Camera* camera = CameraOf(hcam)) *camera = {};
}

boolean16 dll_process(int16 hcam, void* input, void* output, uns32 ser_pixels, uns32 par_pixels,
                      int32, int32) {
    kelmo::Camera* camera = CameraOf(hcam);
    if (!camera || !input || !output) return 0;
    const kelmo::Frame frame{
        .pixels = static_cast<uns16*>(output), .columns = ser_pixels, .rows = par_pixels};
    if (input != output) std::memmove(output, input, frame.count() * sizeof(uns16));
    camera->Process(frame);
    return 1;
}

uns32 dll_get_module_count(int16 hcam) {
    return CameraOf(hcam) ? uns32{kelmo::module_count} : 0;
}

boolean16 dll_get_module_info(int16, uns32 module_index, const char* key, char* text) {
    if (module_index >= kelmo::module_count || std::strcmp(key, ORVEX_PLUGIN_KEY_NAME) != 0) {
        return 0;
    }
    CopyText(text, kelmo::modules[module_index].name);
    return 1;
}

uns32 dll_get_module_parameter_count(int16, uns32 module_index) {
    return module_index < kelmo::module_count ? kelmo::parameters_of_module : 0;
}

boolean16 dll_get_module_parameter(int16 hcam, uns32 module_index, uns32 parameter_index,
                                   flt64* minimum, flt64* maximum, flt64* standard, flt64* current,
                                   char* name) {
    const kelmo::Camera* camera = CameraOf(hcam);
    const flt64* value = camera ? camera->Value(module_index, parameter_index) : nullptr;
    if (!value) return 0;
    const kelmo::ParameterRow& row = kelmo::modules[module_index].parameters[parameter_index];
    *minimum = row.minimum;
    *maximum = row.maximum;
    *standard = row.standard;
    *current = *value;
    CopyText(name, row.name);
    return 1;
}

boolean16 dll_set_module_parameter(int16 hcam, uns32 module_index, uns32 parameter_index,
                                   const flt64* value) {
    kelmo::Camera* camera = CameraOf(hcam);
    return camera && camera->SetValue(module_index, parameter_index, *value);
}

// The modules need no facts of the camera; a library that tells them finds a willing listener.
boolean16 dll_set_common_parameter(int16 hcam, orvex_plugin_name, int32, orvex_plugin_value) {
    return CameraOf(hcam) != nullptr;
}
