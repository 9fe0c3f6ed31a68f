#pragma once

#include <cstdint>
#include <functional>
#include <span>

#include "engine/sensor.h"
#include "softcam/cooler.h"
#include "softcam/faults.h"
#include "softcam/fixed_pattern.h"
#include "softcam/frame_pump.h"
#include "softcam/hot_pixels.h"
#include "softcam/models.h"
#include "softcam/noise.h"
#include "softcam/scene.h"

namespace softcam {

// Signals at the trigger input: one every `period` from the start of the module on, whatever the
// camera does, active for `width`; or only by hand.
struct TriggerSource {
    double period_ms = 10.0;
    double width_ms = 5.0;
    bool manual = false;
};

// What a run of a program works with: what it refers to outlives the run, the rest is a copy that
// commands don't reach.
struct RunContext {
    const Model& model;
    const Physics& physics;
    Settings settings;
    LiveState& live;
    Scene& scene;
    Noise& noise;
    Faults& faults;
    const Cooler& cooler;
    FramePump& pump;
    engine::HostSide& host;
    CameraClock clock;
    int64_t start_ns = 0;  // camera time since the module was loaded, when the clock began
    TriggerSource trigger;
    std::span<const HotPixel> hot_pixels;
    const FixedPattern* pattern = nullptr;  // null in ideal mode
    bool ideal = false;
    bool stamp = false;  // frame number in the first and last 4 bytes of every frame
    double flux = 20.0;  // electrons per second and unit of scene brightness
    double time_scale = 1.0;
    uint32_t noise_frames = 8;  // different ones, where frames are repeated; 0: all differ

    int64_t Now() const { return start_ns + clock.Nanoseconds(); }
};

// Electrons that heat alone frees in one second, at the present temperature.
double DarkCurrent(const RunContext& context);

// Hands a finished frame to the host as it is read out: begin, pixels, end. False when the run is
// to end, because the host takes no more or something broke. `read` gives the pixels, in the time
// that their readout takes.
bool DeliverFrame(RunContext& context, int64_t readout_ns,
                  const std::function<std::span<uint8_t>()>& read);

// Waits for the next signal at the trigger input. One that comes while the camera is busy is
// missed.
bool WaitForTrigger(RunContext& context);

}  // namespace softcam
