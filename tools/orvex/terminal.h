#pragma once

#include <cstddef>

// The terminal on which the error stream may end.
namespace orvex {

// Whether it does, and lines can be drawn over.
bool on_terminal();
// Characters of a line that does not wrap; 79 when nobody tells.
size_t terminal_width();

}  // namespace orvex
