#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "orvex/facts.h"
#include "orvex/set_up.h"

namespace orvex {

// What a run is asked for.
struct RunRequest {
    SetUp set_up;
    int16 mode = TIMED_MODE;
    std::string image_type;  // what the frames show, when somebody says it
    // From one frame to the next; what the run says when not given, 0 for none.
    std::optional<Seconds> limit;
};

// Frames of one sequence with what is known of them.
struct Acquisition {
    Facts facts;
    std::vector<uint16_t> pixels;
    std::vector<FrameStamp> stamps;

    std::span<const uint16_t> frame(uint32_t index) const;
};

// The request as the library takes it.
RunSetUp run_set_up(const RunRequest& request, const std::vector<rgn_type>& regions);

// The limit of a request whose run has a usual one; nothing for a run that nobody limits.
std::optional<Seconds> time_limit(const RunRequest& request, std::optional<Milliseconds> usual);

// The facts of a run of plain frames that was set up.
Facts run_facts(const Camera& camera, const RunRequest& request, const rgn_type& region,
                uint32_t frame_bytes);

// Bias, dark or light, by exposure and shutter.
std::string image_type(const Camera& camera, const Facts& facts);

// Sets up, runs to the end and reads out. Draws a progress bar on a terminal.
Acquisition take_sequence(const Camera& camera, const RunRequest& request);

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
