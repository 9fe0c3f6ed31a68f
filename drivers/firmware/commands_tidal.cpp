// Lists of exposure times that the camera cycles through. It rounds times down to the step of its
// clock, which the host finds out by reading them back.

#include "orvex/orvex_types.h"

#include "firmware/firmware.h"

namespace firmware {
namespace {

using engine::ByteReader;
using engine::ByteWriter;

bool HasTidal(const Model& model) {
    return model.tidal.has_value();
}

bool TakeList(Firmware& f, ByteReader& in, std::vector<uint32_t>& list) {
    const uint16_t count = in.U16();
    if (count > f.model.tidal->max_entries) return true;
    const uint32_t step = f.head.ExposureListStep();
    list.clear();
    for (uint16_t i = 0; i < count; ++i) {
        const uint32_t time = in.U32();
        list.push_back(time - time % step);
    }
    return true;
}

bool GiveList(const std::vector<uint32_t>& list, ByteWriter& out) {
    out.U16(list.size());
    for (const uint32_t time : list) out.U32(time);
    return true;
}

#define TELL(id, expression)                                               \
    {id, HasTidal, [](Firmware& f, ByteReader&, ByteWriter& out) -> bool { \
         (void)f;                                                          \
         out.U16(expression);                                              \
         return true;                                                      \
     }}

constexpr Command commands[] = {
    TELL(GET_TIDAL_STREAM_MODE, TDLMODE_ARBITRARY_ALL),
    TELL(GET_TIDAL_STREAM_ENABLED, f.settings.tidal_enabled ? 1 : 0),
    TELL(GET_TIDAL_STREAM_EXP_COUNT, f.settings.tidal_exposures.size()),
    TELL(GET_TIDAL_STREAM_DLY_COUNT, f.settings.tidal_delays.size()),
    TELL(GET_TIDAL_STREAM_MAX_EXP_COUNT, f.model.tidal->max_entries),
    // There is one mode; another does not take.
    {SET_TIDAL_STREAM_MODE, HasTidal, [](Firmware&, ByteReader&, ByteWriter&) { return true; }},
    {SET_TIDAL_STREAM_ENABLED, HasTidal,
     [](Firmware& f, ByteReader& in, ByteWriter&) -> bool {
         f.settings.tidal_enabled = in.U16() != 0;
         return true;
     }},
    {GET_TIDAL_STREAM_EXP_PARAMS, HasTidal,
     [](Firmware& f, ByteReader&, ByteWriter& out) {
         return GiveList(f.settings.tidal_exposures, out);
     }},
    {GET_TIDAL_STREAM_DLY_PARAMS, HasTidal,
     [](Firmware& f, ByteReader&, ByteWriter& out) {
         return GiveList(f.settings.tidal_delays, out);
     }},
    {SET_TIDAL_STREAM_EXP_PARAMS, HasTidal,
     [](Firmware& f, ByteReader& in, ByteWriter&) {
         return TakeList(f, in, f.settings.tidal_exposures);
     }},
    {SET_TIDAL_STREAM_DLY_PARAMS, HasTidal,
     [](Firmware& f, ByteReader& in, ByteWriter&) {
         return TakeList(f, in, f.settings.tidal_delays);
     }},
};

#undef TELL

}  // namespace

std::span<const Command> TidalCommands() {
    return commands;
}

}  // namespace firmware
