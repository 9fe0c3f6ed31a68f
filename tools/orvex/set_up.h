#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "orvex/session.h"

// One set-up as the command line tells it.
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

// "x,y,w,h" or "centre,WxH".
void parse_region(const std::string& text, SetUp& set_up);
// "N" or "NxM", columns first.
void parse_binning(const std::string& text, SetUp& set_up);

// The region that a set-up means on this camera, with its binning.
rgn_type resolve_region(const Camera& camera, const SetUp& set_up);

using Seconds = std::chrono::duration<double>;

}  // namespace orvex
