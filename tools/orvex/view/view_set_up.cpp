#include "orvex/view/view_set_up.h"

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
    out.exposure_ms = set_up.exposure_ms;
    out.mode = exposure_mode(camera, set_up.mode, "");
    SetUp one;
    one.sbin = set_up.binning.columns;
    one.pbin = set_up.binning.rows;
    for (const Change::Rectangle& r : set_up.regions) {
        one.region = rgn_type{r.x, static_cast<uns16>(r.x + r.width - 1),  1,
                              r.y, static_cast<uns16>(r.y + r.height - 1), 1};
        out.regions.push_back(resolve_region(camera, one));
    }
    if (out.regions.empty()) out.regions.push_back(resolve_region(camera, one));
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
