#include "orvex/units.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

#include "orvex/orvex_units.h"

namespace orvex {

namespace {

struct Row {
    uns32 parameter;
    Unit unit;
};

#define ORVEX_UNIT_ROW(parameter, steps, name) {parameter, {name, steps}},
constexpr Row rows[] = {ORVEX_UNITS(ORVEX_UNIT_ROW)};
#undef ORVEX_UNIT_ROW

}  // namespace

std::optional<Unit> unit_of(uns32 parameter) {
    const auto* row = std::find_if(std::begin(rows), std::end(rows),
                                   [&](const Row& r) { return r.parameter == parameter; });
    return row == std::end(rows) ? std::nullopt : std::optional(row->unit);
}

std::string with_unit(double number, const Unit& unit) {
    std::array<char, 64> text{};
    if (unit.steps == 1) return number_text(number) + ' ' + unit.name;
    std::snprintf(text.data(), text.size(), "%.2f %s", number, unit.name);
    return text.data();
}

std::string number_text(double number) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.15g", number);
    return text.data();
}

}  // namespace orvex
