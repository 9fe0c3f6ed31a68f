#pragma once

#include <optional>
#include <string>

#include "orvex/orvex.h"

// What the numbers of parameters count.
namespace orvex {

struct Unit {
    const char* name;  // "C"
    // The library counts in whole steps of a part of the unit: 100 for hundredths.
    int steps = 1;
};

// Of a parameter whose unit is always the same.
std::optional<Unit> unit_of(uns32 parameter);

// "24.99 C"
std::string with_unit(double number, const Unit& unit);

// As short as the number can be told.
std::string number_text(double number);

}  // namespace orvex
