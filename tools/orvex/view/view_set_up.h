#pragma once

#include <string>
#include <vector>

#include "orvex/view/commands.h"
#include "orvex/view/live_run.h"

namespace orvex::view {

// The set-up as a page knows it: without regions it is the whole sensor.
struct ViewSetUp {
    double exposure_ms = 10;
    std::vector<Change::Rectangle> regions;
    Change::Binning binning{1, 1};
    std::string mode = "timed";
};

// With the parts that change.
ViewSetUp changed(ViewSetUp set_up, const Change& change);
// As this camera takes it. Throws std::invalid_argument when it has no such mode.
RunSetUp resolve(const Camera& camera, const ViewSetUp& set_up);
nlohmann::json to_json(const ViewSetUp& set_up);

}  // namespace orvex::view
