#include "orvex/units.h"

#include <array>
#include <cstdio>

namespace orvex {

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
