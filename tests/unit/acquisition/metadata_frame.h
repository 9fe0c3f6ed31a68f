#pragma once

#include <cstdint>
#include <vector>

#include "orvex/orvex_types.h"

// Metadata frames built byte by byte, as a camera sends them.
namespace metadata_test {

using Bytes = std::vector<uint8_t>;

inline void PutWord(Bytes& bytes, size_t at, uns16 value) {
    bytes[at] = static_cast<uint8_t>(value);
    bytes[at + 1] = static_cast<uint8_t>(value >> 8);
}

struct Region {
    rgn_type roi;
    uns8 flags = 0;
    Bytes extended = {};
    std::vector<uns16> pixels = {};
};

// The count of regions is the list's unless `announced` says otherwise.
inline Bytes Frame(const std::vector<Region>& regions, const Bytes& extended = {},
                   int announced = -1) {
    Bytes frame(48);
    frame[0] = 'L';
    frame[1] = 'N';
    frame[2] = 'Z';
    PutWord(frame, 9,
            static_cast<uns16>(announced < 0 ? static_cast<int>(regions.size()) : announced));
    PutWord(frame, 38, static_cast<uns16>(extended.size()));
    frame.insert(frame.end(), extended.begin(), extended.end());
    for (const Region& region : regions) {
        const size_t at = frame.size();
        frame.resize(at + 32);
        const rgn_type& r = region.roi;
        const uns16 coordinates[] = {r.s1, r.s2, r.sbin, r.p1, r.p2, r.pbin};
        for (size_t i = 0; i < 6; ++i) PutWord(frame, at + 10 + 2 * i, coordinates[i]);
        frame[at + 22] = region.flags;
        PutWord(frame, at + 23, static_cast<uns16>(region.extended.size()));
        frame.insert(frame.end(), region.extended.begin(), region.extended.end());
        for (uns16 pixel : region.pixels) {
            frame.push_back(static_cast<uint8_t>(pixel));
            frame.push_back(static_cast<uint8_t>(pixel >> 8));
        }
    }
    return frame;
}

}  // namespace metadata_test
