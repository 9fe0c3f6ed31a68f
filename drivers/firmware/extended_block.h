#pragma once

#include <cstdint>
#include <vector>

#include "firmware/model.h"

namespace firmware {

// The self-description of a camera with extended capabilities, as it goes over the wire.
std::vector<uint8_t> ExtendedBlock(const Model& model);

}  // namespace firmware
