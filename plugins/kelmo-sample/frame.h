#pragma once

#include <cstddef>

#include "orvex/orvex_types.h"

namespace kelmo {

// A frame of 16-bit pixels that is changed where it lies.
struct Frame {
    uns16* pixels;
    size_t columns;
    size_t rows;

    size_t count() const { return columns * rows; }
    uns16* row(size_t index) const { return pixels + index * columns; }
};

}  // namespace kelmo
