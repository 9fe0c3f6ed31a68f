// Settings of the centroid finder.

#include <algorithm>

#include "firmware/firmware.h"

namespace firmware {
namespace {

using engine::ByteReader;
using engine::ByteWriter;

constexpr uint32_t lowest_threshold = 16;
constexpr uint32_t highest_threshold = 4095;

bool HasCentroids(const Model& model) {
    return model.centroids.has_value();
}

template <typename Value>
void Take(Value wanted, Value min, Value max, Value& setting) {
    if (wanted >= min && wanted <= max) setting = wanted;
}

void TakeListed(uint16_t wanted, const std::vector<NamedValue>& list, uint16_t& setting) {
    const auto same = [&](const NamedValue& item) { return item.value == wanted; };
    if (std::any_of(list.begin(), list.end(), same)) setting = wanted;
}

#define TELL(id, expression)                                                   \
    {id, HasCentroids, [](Firmware& f, ByteReader&, ByteWriter& out) -> bool { \
         const Centroids& finder = *f.model.centroids;                         \
         (void)finder;                                                         \
         out.expression;                                                       \
         return true;                                                          \
     }}
#define SET(id, statement)                                                    \
    {id, HasCentroids, [](Firmware& f, ByteReader& in, ByteWriter&) -> bool { \
         const Centroids& finder = *f.model.centroids;                        \
         (void)finder;                                                        \
         statement;                                                           \
         return true;                                                         \
     }}

constexpr Command commands[] = {
    TELL(GET_CENTROIDS_ENABLED, U16(f.settings.centroids ? 1 : 0)),
    // A range goes out with its maximum first.
    TELL(GET_CENTROIDS_RADIUS_RANGE, U32(uint32_t{finder.max_radius} << 16 | finder.min_radius)),
    TELL(GET_CENTROIDS_COUNT_RANGE, U32(uint32_t{finder.max_count} << 16 | finder.min_count)),
    TELL(GET_CENTROIDS_RADIUS, U16(f.settings.centroid_radius)),
    TELL(GET_CENTROIDS_COUNT, U16(f.settings.centroid_count)),
    TELL(GET_CENTROIDS_MODE_CURRENT, U16(f.settings.centroid_mode)),
    TELL(GET_CENTROIDS_BG_COUNT_CURRENT, U16(f.settings.centroid_background)),
    TELL(GET_CENTROIDS_THRESHOLD, U32(f.settings.centroid_threshold)),
    SET(SET_CENTROIDS_ENABLED, f.settings.centroids = in.U16() != 0),
    SET(SET_CENTROIDS_RADIUS,
        Take(in.U16(), finder.min_radius, finder.max_radius, f.settings.centroid_radius)),
    SET(SET_CENTROIDS_COUNT,
        Take(in.U16(), finder.min_count, finder.max_count, f.settings.centroid_count)),
    SET(SET_CENTROIDS_MODE, TakeListed(in.U16(), finder.modes, f.settings.centroid_mode)),
    SET(SET_CENTROIDS_BG_COUNT,
        TakeListed(in.U16(), finder.background_counts, f.settings.centroid_background)),
    SET(SET_CENTROIDS_THRESHOLD,
        Take(in.U32(), lowest_threshold, highest_threshold, f.settings.centroid_threshold)),
};

#undef TELL
#undef SET

}  // namespace

std::span<const Command> CentroidCommands() {
    return commands;
}

}  // namespace firmware
