// Post-processing features. The host counts features, and the parameters of one, by selecting
// index after index until one does not take.

#include "firmware/firmware.h"

namespace firmware {
namespace {

using engine::ByteReader;
using engine::ByteWriter;

bool HasFilters(const Model& model) {
    return !model.filters.empty();
}

const FilterFeature& Feature(const Firmware& f) {
    return f.model.filters[f.settings.filter];
}
const FilterParameter& Parameter(const Firmware& f) {
    return Feature(f).parameters[f.settings.filter_parameter];
}
uint32_t& Value(Firmware& f) {
    return f.settings.filter_values[f.settings.filter][f.settings.filter_parameter];
}

#define TELL(id, expression)                                                 \
    {id, HasFilters, [](Firmware& f, ByteReader&, ByteWriter& out) -> bool { \
         out.expression;                                                     \
         return true;                                                        \
     }}

constexpr Command commands[] = {
    TELL(GET_PP_FEATURE_IDX, U16(f.settings.filter)),
    TELL(GET_PP_FEATURE_NAME, Text(Feature(f).name, 32)),
    TELL(GET_PP_FEATURE_ID, U32(Feature(f).id)),
    TELL(GET_PP_PARAM_IDX, U16(f.settings.filter_parameter)),
    TELL(GET_PP_PARAM_NAME, Text(Parameter(f).name, 32)),
    TELL(GET_PP_PARAM_ID, U32(Parameter(f).id)),
    TELL(GET_PP_PARAM_MIN, U32(Parameter(f).min)),
    TELL(GET_PP_PARAM_MAX, U32(Parameter(f).max)),
    TELL(GET_PP_PARAM_DEFAULT, U32(Parameter(f).initial)),
    TELL(GET_PP_PARAM, U32(Value(f))),
    {SET_PP_FEATURE_IDX, HasFilters,
     [](Firmware& f, ByteReader& in, ByteWriter&) -> bool {
         const uint16_t index = in.U16();
         if (index >= f.model.filters.size()) return true;
         f.settings.filter = index;
         f.settings.filter_parameter = 0;
         return true;
     }},
    {SET_PP_PARAM_IDX, HasFilters,
     [](Firmware& f, ByteReader& in, ByteWriter&) -> bool {
         const uint16_t index = in.U16();
         if (index < Feature(f).parameters.size()) f.settings.filter_parameter = index;
         return true;
     }},
    {SET_PP_PARAM, HasFilters,
     [](Firmware& f, ByteReader& in, ByteWriter&) -> bool {
         const uint32_t value = in.U32();
         if (value >= Parameter(f).min && value <= Parameter(f).max) Value(f) = value;
         return true;
     }},
    {RESET_PP, HasFilters,
     [](Firmware& f, ByteReader&, ByteWriter&) -> bool {
         f.settings.filter_values = InitialSettings(f.model).filter_values;
         return true;
     }},
};

#undef TELL

}  // namespace

std::span<const Command> FilterCommands() {
    return commands;
}

}  // namespace firmware
