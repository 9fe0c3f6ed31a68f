#pragma once

#include <cstdint>
#include <vector>

#include "softcam/models.h"

namespace softcam {

// What tells the pixels of one sensor from each other, the same in every frame: normal deviates in
// steps of 1/32, for sensitivity, dark current and offset. The three are one table, read from rows
// that lie far apart.
class FixedPattern {
  public:
    static constexpr float step = 1.0F / 32;

    FixedPattern(const Geometry& geometry, uint64_t seed);

    const int8_t* Sensitivity(uint32_t row) const { return Row(row); }
    const int8_t* DarkCurrent(uint32_t row) const { return Row(row + rows_ / 3); }
    const int8_t* Offset(uint32_t row) const { return Row(row + 2 * rows_ / 3); }

  private:
    const int8_t* Row(uint32_t row) const { return &deviates_[size_t{row % rows_} * columns_]; }

    uint32_t columns_;
    uint32_t rows_;
    std::vector<int8_t> deviates_;
};

}  // namespace softcam
