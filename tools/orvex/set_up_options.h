#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "orvex/acquisition.h"

namespace orvex {

// The options of a set-up, shared by the commands that program a camera.
struct SetUpOptions {
    std::string camera;
    std::string region;
    std::string binning = "1";
    std::string mode = "timed";
    std::string expose_out;
    double exposure_ms = 10;
    unsigned frames = 1;
    std::vector<std::string> assignments;
    // Of those that run what they program:
    double timeout_s = -1;  // below 0: as long as is sensible
    bool wait_temperature = false;
    std::string image_type;

    void add_to(CLI::App& command);
    // All but the region and the count of frames.
    void add_settings_to(CLI::App& command);
    void add_run_options_to(CLI::App& command);

    SetUp set_up() const;
    // Applies the parameters given with --set, waits for the temperature when that is asked for.
    void apply(const Camera& camera) const;
    // With the set-up as the camera has it.
    RunRequest request(const Camera& camera) const;
};

// "NAME=VALUE", as the two.
std::pair<std::string, std::string> split_assignment(const std::string& assignment);

}  // namespace orvex
