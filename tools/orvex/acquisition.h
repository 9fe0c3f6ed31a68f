#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "orvex/session.h"

// One set-up as the command line tells it, and what came of it.
namespace orvex {

struct SetUp {
    std::optional<rgn_type> region;  // the whole sensor when not given; its binning is not used
    // A region centred on the sensor, "centre,WxH", when given instead of coordinates.
    uns16 centre_width = 0;
    uns16 centre_height = 0;
    uns16 sbin = 1;
    uns16 pbin = 1;
    double exposure_ms = 10;
    uns16 frames = 1;
};

// Frames of one sequence with the facts that go into the files.
struct Acquisition {
    std::string camera;
    std::string chip;
    std::string serial;
    rgn_type region{};
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t frame_bytes = 0;
    double exposure_ms = 0;
    int bit_depth = 16;
    int gain_index = 1;
    double pixel_time_ns = 0;
    double temperature_c = 0;
    std::string start_utc;  // ISO 8601
    std::vector<uint16_t> pixels;
    uint32_t frames = 0;

    std::span<const uint16_t> frame(uint32_t index) const;
};

// "x,y,w,h" or "centre,WxH".
void parse_region(const std::string& text, SetUp& set_up);
// "N" or "NxM", columns first.
void parse_binning(const std::string& text, SetUp& set_up);

// The region that a set-up means on this camera, with its binning.
rgn_type resolve_region(const Camera& camera, const SetUp& set_up);

// Chooses the camera's exposure resolution that holds the time, and returns the time in its unit.
uns32 apply_exposure(const Camera& camera, double exposure_ms);

// The facts that the camera tells of itself and of its settings.
void read_facts(const Camera& camera, Acquisition& out);

// ISO 8601, to the millisecond.
std::string utc_now();

// Sets up, runs to the end and reads out. Draws a progress bar on a terminal.
Acquisition take_sequence(const Camera& camera, const SetUp& set_up);

struct Statistics {
    double mean = 0;
    double deviation = 0;  // over the pixels of the frame
    double noise = 0;      // of one pixel, from the difference to a neighbouring frame
    uint16_t min = 0;
    uint16_t max = 0;
};

// The noise is 0 with a single frame.
Statistics measure(const Acquisition& acquisition, uint32_t index);

}  // namespace orvex
