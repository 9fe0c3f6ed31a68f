#include "orvex/set_up.h"

#include <algorithm>
#include <array>
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
    rgn_type region = whole_sensor(camera);
    if (set_up.region) {
        region = *set_up.region;
    } else if (set_up.centre_width) {
        const uns32 columns = image_width(region), rows = image_height(region);
        const uns32 width = std::min<uns32>(set_up.centre_width, columns);
        const uns32 height = std::min<uns32>(set_up.centre_height, rows);
        region = make_region((columns - width) / 2, (rows - height) / 2, width, height);
    }
    region.sbin = set_up.sbin;
    region.pbin = set_up.pbin;
    return region;
}

}  // namespace orvex
