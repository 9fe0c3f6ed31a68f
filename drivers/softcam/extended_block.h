#pragma once

#include <cstdint>
#include <vector>

#include "softcam/model.h"

namespace softcam {

// The self-description of a camera with extended capabilities, as it goes over the wire.
std::vector<uint8_t> ExtendedBlock(const Model& model);

}  // namespace softcam
