#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "orvex/session.h"

// What is known of frames beside their pixels; it goes into their files.
namespace orvex {

struct Facts {
    std::string camera;
    std::string vendor;
    std::string product;
    std::string chip;
    std::string serial;
    std::string image_type;  // light, dark, bias or flat
    std::string exposure_mode;
    std::string readout_port;
    std::string gain_name;
    std::string start_utc;  // ISO 8601
    double exposure_ms = 0;
    int bit_depth = 16;
    int gain_index = 1;
    double pixel_time_ns = 0;
    // Of a pixel of the sensor, before binning.
    std::optional<double> pixel_width_um;
    std::optional<double> pixel_height_um;
    // Not every camera tells these.
    std::optional<double> electrons_per_count;
    std::optional<double> read_noise_electrons;
    std::optional<int> adc_offset;
    std::optional<int> multiplication_gain;
    std::optional<double> temperature_c;
    std::optional<double> setpoint_c;

    rgn_type region{};
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t frame_bytes = 0;
    uint32_t frames = 0;  // planned; 0 when nobody knows
};

// A frame of a file: its number in the run, from 1, and when it began, in seconds after the first
// frame of the run. The camera may not have told of it in time.
struct FrameStamp {
    uint32_t number = 0;
    std::optional<double> begin_s;
};

// The facts that the camera tells of itself and of its settings.
Facts read_facts(const Camera& camera);

// The facts that have a value, by name.
nlohmann::ordered_json facts_json(const Facts& facts);
// All but the region and the sizes; throws nlohmann::json::exception.
Facts facts_from_json(const nlohmann::ordered_json& json);

// Port and speed of the readout, as in "Normal, 1 MHz".
std::string readout_text(const Facts& facts);

// What a pixel can hold.
inline unsigned saturation(const Facts& facts) {
    return facts.bit_depth >= 16 ? 65535u : (1u << facts.bit_depth) - 1;
}

// ISO 8601, to the millisecond.
std::string utc_now();
// The time of a start, as utc_now() gives it, and so many seconds more, to the microsecond; empty
// when there is no start.
std::string utc_after(const std::string& start_utc, double seconds);

}  // namespace orvex
