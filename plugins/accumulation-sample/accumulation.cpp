// A frame-accumulation plug-in that keeps the settings of every camera.
#include <array>
#include <cstddef>

#include "orvex/orvex_plugin.h"

namespace {

struct Settings {
    uns16 paired = 0;
    uns16 accumulate = 0;
    uns32 frames = 1;  // that make up one frame
};

std::array<Settings, ORVEX_PLUGIN_CAMERAS> all_settings;

bool IsCamera(int16 hcam) {
    return hcam >= 0 && hcam < ORVEX_PLUGIN_CAMERAS;
}

template <class T>
void Set(int16 hcam, T Settings::* setting, T value) {
    if (IsCamera(hcam)) all_settings[static_cast<size_t>(hcam)].*setting = value;
}

template <class T>
void Get(int16 hcam, T Settings::* setting, T* value) {
    if (IsCamera(hcam)) *value = all_settings[static_cast<size_t>(hcam)].*setting;
}

}  // namespace

void ox_ff_init_plugin() {
    all_settings.fill({});
}

void ox_ff_uninit_plugin(void*) {}

void ox_ff_get_accum_capable(int16 hcam, uns16* accum_capable) {
    *accum_capable = IsCamera(hcam);
}

void ox_ff_set_paired_mode(int16 hcam, uns16 flag) {
    Set<uns16>(hcam, &Settings::paired, flag != 0);
}

void ox_ff_get_paired_mode(int16 hcam, uns16* flag) {
    Get(hcam, &Settings::paired, flag);
}

void ox_ff_set_accum_mode(int16 hcam, uns16 flag) {
    Set<uns16>(hcam, &Settings::accumulate, flag != 0);
}

void ox_ff_get_accum_mode(int16 hcam, uns16* flag) {
    Get(hcam, &Settings::accumulate, flag);
}

void ox_ff_set_accum_num(int16 hcam, uns32 number) {
    if (number != 0) Set(hcam, &Settings::frames, number);
}

void ox_ff_get_accum_num(int16 hcam, uns32* number) {
    Get(hcam, &Settings::frames, number);
}
