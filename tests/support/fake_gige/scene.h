#pragma once

#include <cstdint>

// What the camera of fake_gige looks at.
namespace fake_gige {

constexpr uint32_t columns = 656;
constexpr uint32_t rows = 500;

// 16 bits; a format of fewer has the upper ones.
constexpr uint32_t Scene(uint32_t x, uint32_t y) {
    return (x * 67 + y * 101) & 0xFFFF;
}

}  // namespace fake_gige
