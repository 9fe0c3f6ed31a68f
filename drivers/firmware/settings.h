#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <vector>

#include "firmware/model.h"

namespace firmware {

// What the host has set. A run works on a copy, so that commands never change it half-way.
struct Settings {
    uint16_t port = 0;
    uint8_t speed = 0;
    uint8_t gain = 1;
    int16_t offset = 0;
    uint16_t multiplication = 1;
    uint16_t pixel_time = 0;  // what SET_TIME_PER_PIX left; the speed table decides
    uint16_t exposure_register = 0;
    uint16_t shutter_open_ms = 0;
    uint16_t shutter_close_ms = 0;

    uint16_t filter = 0;
    uint16_t filter_parameter = 0;
    std::vector<std::vector<uint32_t>> filter_values;

    bool tidal_enabled = false;
    std::vector<uint32_t> tidal_exposures;
    std::vector<uint32_t> tidal_delays;

    bool metadata = false;
    bool centroids = false;
    uint16_t centroid_radius = 0;
    uint16_t centroid_count = 0;
    uint16_t centroid_mode = 0;
    uint16_t centroid_background = 0;
    uint32_t centroid_threshold = 160;

    bool sensor_correction = true;
    uint16_t fan_speed = 0;
    uint16_t trigger_signal = 0;
    uint8_t last_muxed_signal = 0;
    uint16_t delivery_mode = 0;
};

Settings InitialSettings(const Model& model);

inline const Speed& CurrentSpeed(const Model& model, const Settings& settings) {
    return model.ports[settings.port].speeds[settings.speed];
}
inline double ElectronsPerCount(const Model& model, const Settings& settings) {
    return CurrentSpeed(model, settings).electrons_per_count[settings.gain - 1u];
}
// Electrons, root mean square.
inline double ReadNoise(const Model& model, const Settings& settings) {
    return CurrentSpeed(model, settings).read_noise[settings.gain - 1u];
}

constexpr size_t io_port_limit = 8;

// What changes while a program runs, readable at any time.
struct LiveState {
    std::atomic<bool> shutter_open = false;
    std::atomic<bool> running = false;
    std::atomic<bool> clearing = false;
    std::array<std::atomic<uint16_t>, io_port_limit> ports{};
    std::array<std::atomic<uint16_t>, io_port_limit> directions{};
    std::atomic<uint64_t> frames_written = 0;
    std::atomic<uint64_t> frames_behind = 0;    // that were due before they were ready
    std::atomic<int64_t> schedule_lost_ns = 0;  // by which the schedule was put off
    std::atomic<const char*> last_end = "none";
};

}  // namespace firmware
