#pragma once

#include <string>
#include <vector>

#include "support/scene_camera.h"

// A software camera with the sample plug-ins in reach of the library, and what their tests do with
// it.
class PluginCamera : public support::SceneCamera {
  public:
    explicit PluginCamera(const std::string& time_scale = "0", bool stamp = false)
        : SceneCamera({.time_scale = time_scale,
                       .stamp = stamp,
                       .modules = ORVEX_LIBRARY_DIR "/orvex:" ORVEX_LIBRARY_DIR "/plugins"}) {}

    // What the camera sees of the region, before any plug-in.
    std::vector<uns16> Seen() const { return scene().CropAndBin(region); }

    // Sets a parameter of a module of the plug-in.
    void SetModule(int16 module, int16 parameter, uns32 value) const {
        Set(PARAM_PP_INDEX, static_cast<int16>(camera_features + module));
        Set(PARAM_PP_PARAM_INDEX, parameter);
        Set(PARAM_PP_PARAM, value);
    }
    // Lets frames through the plug-in; hot pixels are those above the threshold.
    void SwitchOn(uns32 threshold) const {
        SetModule(0, 0, 1);
        SetModule(0, 1, threshold);
    }

    std::vector<uns16> StartSequence(uns16 frames) const {
        return Start(frames, {region}, TIMED_MODE, 5);
    }
    std::vector<uns16> RunSequence(uns16 frames) const {
        return Run(frames, {region}, TIMED_MODE, 5);
    }

    // Starts a continuous run over a ring, which is filled with `untouched`.
    std::vector<uns16> StartContinuous(size_t frames, const rgn_type& roi, uns32 exposure_ms) const;
    // Polls until the camera has written a frame, without looking at it.
    void AwaitFirstFrame() const;
    // Takes the newest frame as soon as one above a number is there; returns its number.
    uns32 AwaitFrame(uns32 above, uns16** frame) const;

    static constexpr int16 camera_features = 4;  // ahead of those of the plug-in
    static constexpr rgn_type region{
        .s1 = 100, .s2 = 163, .sbin = 1, .p1 = 40, .p2 = 87, .pbin = 1};
    static constexpr size_t frame_pixels = 64 * 48;
};
