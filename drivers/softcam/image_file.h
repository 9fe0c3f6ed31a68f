#pragma once

#include <string>

#include "softcam/scene.h"

namespace softcam {

// Reads a PNG or TIFF file as grey values; 8-bit ones become 12-bit ones. False with a message.
bool ReadImageFile(const std::string& path, Image& image, std::string& message);

}  // namespace softcam
