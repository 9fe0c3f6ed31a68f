#pragma once

#include <cstdint>
#include <string>

#include "softcam/scene.h"

// Each format of image files stands in a file of its own, and is built when its library is there.
namespace softcam {

// Larger pictures are refused before memory is asked for.
constexpr uint32_t image_side_limit = 32768;

constexpr uint16_t FromEightBits(uint32_t value) {
    return static_cast<uint16_t>(value << 4);
}

// Reads a file of one format; false with a message.
using ReadImage = bool(const std::string& path, Image& image, std::string& message);

// False, with what the message shall be.
bool FailToRead(const std::string& path, const std::string& reason, std::string& message);

}  // namespace softcam
