#pragma once

#include <cstdint>
#include <optional>

#include "orvex/orvex_types.h"

#include "genicam/pixels.h"

namespace genicam {

// What a camera allows of its window in one direction: starts are multiples of a step, sizes a
// least one and steps from there on.
struct Axis {
    uint32_t limit = 0;  // where the sensor ends
    uint32_t start_step = 1;
    uint32_t size_min = 1;
    uint32_t size_step = 1;

    // The largest size from the first pixel on.
    uint32_t LargestSize() const;
};

struct Axes {
    Axis columns;
    Axis rows;
};

// The smallest window that a camera allows around a region, with lines of multiples of so many
// pixels where there is one. None when there is no window.
std::optional<Window> WindowAround(const rgn_type& region, const Axes& axes, uint32_t multiple);

}  // namespace genicam
