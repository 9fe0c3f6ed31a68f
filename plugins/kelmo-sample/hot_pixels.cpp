#include "hot_pixels.h"

#include <algorithm>
#include <array>

namespace kelmo {

namespace {

// The three rows around a pixel; null beyond the edge of the frame.
struct Surroundings {
    const uns16* above;
    const uns16* current;
    const uns16* below;
    size_t columns;
};

struct Neighbours {
    std::array<uns16, 8> values;
    size_t count;

    // Sorting is left to the few pixels that need the median itself.
    bool MedianIsBelow(int limit) const {
        const auto end = values.begin() + static_cast<std::ptrdiff_t>(count);
        const auto below =
            std::count_if(values.begin(), end, [=](uns16 value) { return value < limit; });
        return static_cast<size_t>(below) > count / 2;
    }
    uns16 Median() {
        const auto middle = values.begin() + static_cast<std::ptrdiff_t>(count / 2);
        const auto end = values.begin() + static_cast<std::ptrdiff_t>(count);
        std::nth_element(values.begin(), middle, end);
        return *middle;
    }
};

Neighbours NeighboursOf(const Surroundings& rows, size_t column) {
    Neighbours found{};
    const size_t first = column == 0 ? 0 : column - 1;
    const size_t last = std::min(column + 1, rows.columns - 1);
    for (const uns16* row : {rows.above, rows.current, rows.below}) {
        if (!row) continue;
        for (size_t i = first; i <= last; ++i) {
            if (row != rows.current || i != column) found.values[found.count++] = row[i];
        }
    }
    return found;
}

}  // namespace

void HotPixelRemoval::Process(const Frame& frame, uns16 threshold) {
    if (frame.count() < 2) return;
    above_.resize(frame.columns);
    current_.resize(frame.columns);
    for (size_t row = 0; row < frame.rows; ++row) {
        uns16* pixels = frame.row(row);
        std::swap(above_, current_);
        std::copy_n(pixels, frame.columns, current_.begin());
        const Surroundings rows{.above = row == 0 ? nullptr : above_.data(),
                                .current = current_.data(),
                                .below = row + 1 == frame.rows ? nullptr : frame.row(row + 1),
                                .columns = frame.columns};
        for (size_t column = 0; column < frame.columns; ++column) {
            Neighbours neighbours = NeighboursOf(rows, column);
            if (neighbours.MedianIsBelow(pixels[column] - threshold)) {
                pixels[column] = neighbours.Median();
            }
        }
    }
}

}  // namespace kelmo
