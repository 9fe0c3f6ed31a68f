#include "orvex/view/view_set_up.h"

#include <stdexcept>

#include "orvex/exposure_mode.h"

namespace orvex::view {

ViewSetUp changed(ViewSetUp set_up, const Change& change) {
    if (change.exposure_ms) set_up.exposure_ms = *change.exposure_ms;
    if (change.regions) set_up.regions = *change.regions;
    if (change.binning) set_up.binning = *change.binning;
    if (change.mode) set_up.mode = *change.mode;
    return set_up;
}

RunSetUp resolve(const Camera& camera, const ViewSetUp& set_up) {
    RunSetUp out;
    out.exposure = Milliseconds(set_up.exposure_ms);
    out.mode = exposure_mode(camera, set_up.mode, "");
    const auto [sbin, pbin] = set_up.binning;
    for (const Change::Rectangle& r : set_up.regions) {
        out.regions.push_back(make_region(r.x, r.y, r.width, r.height, sbin, pbin));
    }
    if (out.regions.size() > 1 && !camera.get_or<PARAM_METADATA_ENABLED>(false)) {
        throw std::invalid_argument(
            "several regions need frames with metadata; set metadata_enabled first");
    }
    if (out.regions.empty()) out.regions.push_back(whole_sensor(camera, sbin, pbin));
    return out;
}

nlohmann::json to_json(const ViewSetUp& set_up) {
    nlohmann::json regions = nlohmann::json::array();
    for (const Change::Rectangle& r : set_up.regions) {
        regions.push_back({r.x, r.y, r.width, r.height});
    }
    return {{"exposure_ms", set_up.exposure_ms},
            {"regions", regions},
            {"binning", {set_up.binning.columns, set_up.binning.rows}},
            {"mode", set_up.mode}};
}

}  // namespace orvex::view
