#include <algorithm>
#include <array>

#include "params/dispatch.h"
#include "params/parameters_driver.h"
#include "params/parameters_exposure.h"
#include "params/parameters_features.h"
#include "params/parameters_names.h"
#include "params/parameters_readout.h"
#include "params/parameters_sensor.h"

namespace bv {

namespace {

struct Entry {
    uns32 id;
    const Parameter* parameter;
};

// The rows of all topics, by id.
template <size_t... Sizes>
constexpr auto Merge(const Parameter (&... topics)[Sizes]) {
    std::array<Entry, (Sizes + ...)> entries{};
    size_t next = 0;
    (std::ranges::for_each(topics, [&](const Parameter& row) { entries[next++] = {row.id, &row}; }),
     ...);
    std::ranges::sort(entries, {}, &Entry::id);
    return entries;
}

constexpr auto table =
    Merge(driver_parameters, name_parameters, sensor_parameters, exposure_parameters,
          readout_parameters, frame_feature_parameters, io_parameters, post_processing_parameters,
          tidal_parameters, accumulation_parameters);

#define ORVEX_PARAM_ID(name, id) id,
constexpr std::array ids{ORVEX_PARAMS(ORVEX_PARAM_ID)};
#undef ORVEX_PARAM_ID

static_assert(std::ranges::adjacent_find(ids, std::ranges::greater_equal{}) == ids.end(),
              "parameter ids are sorted and unique");
static_assert(std::ranges::equal(table, ids, {}, &Entry::id),
              "every parameter has exactly one row");

// What may be written can be set, and what may not can't.
constexpr bool IsSettableAsTold(const Parameter& row) {
    const bool settable = row.set || row.set_record || row.act;
    if (row.delegate) return true;
    if (!row.access.constant()) return settable;
    const int64 access = row.access.number();
    return settable == (access == ACC_READ_WRITE || access == ACC_WRITE_ONLY);
}

// A row has a name, and something to say unless it is closed for good.
constexpr bool IsComplete(const Parameter& row) {
    if (row.delegate) return true;
    const bool answers = row.text || row.direct || row.current.given();
    const bool closed = row.available.constant() && !row.available.number();
    return *row.getter && (answers || closed) && (row.shape == Shape::text) == bool(row.text) &&
           (row.shape == Shape::items) == row.entries.any();
}

static_assert(std::ranges::all_of(table, [](const Entry& e) {
    return IsSettableAsTold(*e.parameter) && IsComplete(*e.parameter);
}));

// Where a row stands in the table, by a hash of its id: look-up is on the path of every read. An
// empty place ends a search, and there are several for each row.
constexpr size_t hash_places = 512;
constexpr uns8 empty_place = 255;
static_assert(table.size() < empty_place);

constexpr size_t PlaceOf(uns32 id) {
    return uns32{id * 0x9E3779B1u} >> 23;
}

constexpr auto places = [] {
    std::array<uns8, hash_places> built{};
    built.fill(empty_place);
    for (size_t i = 0; i < table.size(); ++i) {
        size_t place = PlaceOf(table[i].id);
        while (built[place] != empty_place) place = (place + 1) % hash_places;
        built[place] = static_cast<uns8>(i);
    }
    return built;
}();

constexpr Parameter preflash{
    .getter = "bv_get_preflash", .type = TYPE_UNS16, .current = field<&cam_reads_type::preflash>};

}  // namespace

const Parameter* FindParameter(uns32 param_id) {
    for (size_t place = PlaceOf(param_id); places[place] != empty_place;
         place = (place + 1) % hash_places) {
        const Entry& entry = table[places[place]];
        if (entry.id == param_id) return entry.parameter;
    }
    return nullptr;
}

}  // namespace bv

boolean16 bv_get_preflash(int16 hcam, int16 param_attribute, void* param_value) {
    return bv::AnswerAttribute(bv::preflash, hcam, param_attribute, param_value);
}
