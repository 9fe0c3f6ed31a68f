#include "orvex/set_up_options.h"

#include "orvex/parameters.h"

namespace orvex {

void SetUpOptions::add_to(CLI::App& command) {
    add_settings_to(command);
    command.add_option("--frames", frames, "frames to take")
        ->check(CLI::Range(1u, 65535u))
        ->capture_default_str();
    command.add_option("--roi", region,
                       "x,y,width,height in unbinned pixels, or centre,WIDTHxHEIGHT; default all");
}

void SetUpOptions::add_settings_to(CLI::App& command) {
    command.add_option("camera", camera, "name or index")->required();
    command.add_option("--exposure", exposure_ms, "exposure of a frame in ms")
        ->capture_default_str();
    command.add_option("--bin", binning, "binning, N or NxM, columns first")->capture_default_str();
    // One at a time, so that the camera may follow.
    command.add_option("--set", assignments, "NAME=VALUE, a parameter to set before; repeatable")
        ->allow_extra_args(false);
}

SetUp SetUpOptions::set_up() const {
    SetUp out;
    if (!region.empty()) parse_region(region, out);
    parse_binning(binning, out);
    out.exposure_ms = exposure_ms;
    out.frames = static_cast<uns16>(frames);
    return out;
}

void SetUpOptions::apply(const Camera& opened) const {
    for (const std::string& assignment : assignments) {
        const size_t equals = assignment.find('=');
        if (equals == std::string::npos) {
            throw std::invalid_argument("'" + assignment + "' is no NAME=VALUE");
        }
        set_from_text(opened, find_parameter(assignment.substr(0, equals)),
                      assignment.substr(equals + 1));
    }
}

}  // namespace orvex
