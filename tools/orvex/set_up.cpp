#include "orvex/set_up.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace orvex {

void parse_region(const std::string& text, SetUp& set_up) {
    std::array<unsigned, 4> v{};
    int used = 0;
    const int size = static_cast<int>(text.size());
    if (std::sscanf(text.c_str(), "centre,%ux%u%n", &v[2], &v[3], &used) == 2 && used == size &&
        v[2] > 0 && v[3] > 0 && v[2] <= 65535 && v[3] <= 65535) {
        set_up.centre_width = static_cast<uns16>(v[2]);
        set_up.centre_height = static_cast<uns16>(v[3]);
        return;
    }
    used = 0;
    if (std::sscanf(text.c_str(), "%u,%u,%u,%u%n", v.data(), &v[1], &v[2], &v[3], &used) != 4 ||
        used != size || v[2] == 0 || v[3] == 0 ||
        std::any_of(v.begin(), v.end(), [](unsigned n) { return n > 65535; }) ||
        v[0] + v[2] > 65536 || v[1] + v[3] > 65536) {
        throw std::invalid_argument("'" + text + "' is no region; write x,y,width,height or " +
                                    "centre,WIDTHxHEIGHT, in unbinned pixels");
    }
    set_up.region = rgn_type{static_cast<uns16>(v[0]), static_cast<uns16>(v[0] + v[2] - 1), 1,
                             static_cast<uns16>(v[1]), static_cast<uns16>(v[1] + v[3] - 1), 1};
}

void parse_binning(const std::string& text, SetUp& set_up) {
    unsigned s = 0, p = 0;
    int used = 0;
    const int size = static_cast<int>(text.size());
    bool good = std::sscanf(text.c_str(), "%ux%u%n", &s, &p, &used) == 2 && used == size;
    if (!good) {
        good = std::sscanf(text.c_str(), "%u%n", &s, &used) == 1 && used == size;
        p = s;
    }
    if (!good || s == 0 || p == 0 || s > 65535 || p > 65535) {
        throw std::invalid_argument("'" + text + "' is no binning; write N or NxM, columns first");
    }
    set_up.sbin = static_cast<uns16>(s);
    set_up.pbin = static_cast<uns16>(p);
}

rgn_type resolve_region(const Camera& camera, const SetUp& set_up) {
    const uns16 columns = camera.get<uns16>(PARAM_SER_SIZE);
    const uns16 rows = camera.get<uns16>(PARAM_PAR_SIZE);
    rgn_type region{0, static_cast<uns16>(columns - 1), 1, 0, static_cast<uns16>(rows - 1), 1};
    if (set_up.region) {
        region = *set_up.region;
    } else if (set_up.centre_width) {
        const uns16 width = std::min(set_up.centre_width, columns);
        const uns16 height = std::min(set_up.centre_height, rows);
        region.s1 = static_cast<uns16>((columns - width) / 2);
        region.s2 = static_cast<uns16>(region.s1 + width - 1);
        region.p1 = static_cast<uns16>((rows - height) / 2);
        region.p2 = static_cast<uns16>(region.p1 + height - 1);
    }
    region.sbin = set_up.sbin;
    region.pbin = set_up.pbin;
    return region;
}

uns32 apply_exposure(const Camera& camera, double exposure_ms, int16 mode) {
    if (!(exposure_ms >= 0) || exposure_ms > 4294967295.0) {
        throw std::invalid_argument("the exposure must lie between 0 and 4294967295 ms");
    }
    const bool whole = exposure_ms == std::floor(exposure_ms);
    if (camera.available(PARAM_EXP_RES)) {
        camera.set<int32>(PARAM_EXP_RES, whole ? EXP_RES_ONE_MILLISEC : EXP_RES_ONE_MICROSEC);
    } else if (!whole) {
        throw std::invalid_argument("this camera takes exposures in whole milliseconds only");
    }
    const double units = whole ? exposure_ms : std::round(exposure_ms * 1000);
    if (units > 4294967295.0) {
        throw std::invalid_argument("an exposure with a fraction of a millisecond must be shorter");
    }
    if (mode == VARIABLE_TIMED_MODE) {
        // This mode takes the time of a register of 16 bits at each start.
        if (units > 65535) throw std::invalid_argument("the exposure is too long for this mode");
        camera.set<uns16>(PARAM_EXP_TIME, static_cast<uns16>(units));
    }
    return static_cast<uns32>(units);
}

Seconds frame_time_limit(const Camera& camera, double exposure_ms) {
    // What shutter, clearing and transport take on top.
    constexpr double margin_s = 5;
    const double pixel_ns = camera.get_or<uns16>(PARAM_PIX_TIME, 0);
    const double columns = camera.get<uns16>(PARAM_SER_SIZE) +
                           camera.get_or<uns16>(PARAM_PRESCAN, 0) +
                           camera.get_or<uns16>(PARAM_POSTSCAN, 0);
    const double rows = camera.get<uns16>(PARAM_PAR_SIZE) + camera.get_or<uns16>(PARAM_PREMASK, 0) +
                        camera.get_or<uns16>(PARAM_POSTMASK, 0);
    const double whole_sensor_us = pixel_ns * columns * rows / 1000;
    const double readout_us = camera.get_or<flt64>(PARAM_READOUT_TIME, whole_sensor_us);
    return Seconds(exposure_ms / 1e3 + readout_us / 1e6 + margin_s);
}

}  // namespace orvex
