#pragma once

#include <string>

#include "orvex/orvex.h"
#include "orvex/orvex.hpp"

// What the numbers of parameters count.
namespace orvex {

// "24.99 C"
std::string with_unit(double number, const Unit& unit);

// As short as the number can be told.
std::string number_text(double number);

}  // namespace orvex
