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
    double exposure_ms = 10;
    unsigned frames = 1;
    std::vector<std::string> assignments;

    void add_to(CLI::App& command);
    // All but the region and the count of frames.
    void add_settings_to(CLI::App& command);
    SetUp set_up() const;
    // Applies the parameters given with --set.
    void apply(const Camera& camera) const;
};

}  // namespace orvex
