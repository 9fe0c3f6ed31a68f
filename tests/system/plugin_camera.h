#pragma once

#include <memory>
#include <string>
#include <vector>

#include "orvex/orvex.h"

#include "support/environment.h"
#include "support/scene_image.h"
#include "support/temp_dir.h"

// A noiseless software camera that looks at a known picture, with or without the sample plug-ins
// in reach of the library, and what their tests do with it.
class PluginCamera {
  public:
    enum class Plugins { none, samples };

    struct Setup {
        std::string model = "cmos";  // of the configuration of the software camera
        uns32 size = 2048;           // of the sensor, in both directions
        std::string time_scale = "0";
        bool stamp = false;  // frames begin with their numbers
    };

    PluginCamera(Plugins plugins, const Setup& setup);
    ~PluginCamera();

    int16 handle() const { return handle_; }
    // What the camera sees of the region, before any plug-in.
    std::vector<uns16> Seen() const { return scene_.CropAndBin(region); }

    // Throws with the library's own text when a call was refused.
    void Require(boolean16 result, const char* what) const;
    template <class T>
    T Get(uns32 id, int16 attribute = ATTR_CURRENT) const {
        T value{};
        Require(ox_get_param(handle_, id, attribute, &value), "get");
        return value;
    }
    std::string Text(uns32 id) const;
    template <class T>
    void Set(uns32 id, T value) const {
        Require(ox_set_param(handle_, id, &value), "set");
    }

    // Sets a parameter of a module of the plug-in.
    void SetModule(int16 module, int16 parameter, uns32 value) const;
    // Lets frames through the plug-in; hot pixels are those above the threshold.
    void SwitchOn(uns32 threshold) const;

    // Sets a sequence of the region up and starts it.
    std::vector<uns16> StartSequence(uns16 frames) const;
    void StartSequence(std::vector<uns16>& pixels) const;
    // Polls until all frames are there.
    void AwaitSequence() const;
    // A whole sequence that is polled.
    std::vector<uns16> RunSequence(uns16 frames) const;

    // Starts a continuous run over a ring, which is filled with `untouched`.
    std::vector<uns16> StartContinuous(size_t frames, const rgn_type& roi, uns32 exposure_ms) const;
    // Polls until the camera has written a frame, without looking at it.
    void AwaitFirstFrame() const;
    // Takes the newest frame as soon as one above a number is there; returns its number.
    uns32 AwaitFrame(uns32 above, uns16** frame) const;

    static constexpr rgn_type region{
        .s1 = 100, .s2 = 163, .sbin = 1, .p1 = 40, .p2 = 87, .pbin = 1};
    static constexpr size_t frame_pixels = 64 * 48;
    static constexpr uns16 untouched = 0xABCD;  // above all values of a scene

  private:
    support::TempDir folder_;
    support::SceneImage scene_;
    std::vector<std::unique_ptr<support::Environment>> environment_;
    int16 handle_ = -1;
};
