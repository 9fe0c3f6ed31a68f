#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/sensor.h"

namespace engine {

// Supplied by the module: finds its cameras, at most ORVEX_DDI_MAX_DEVICES of which are used.
// False with a message when that is impossible.
bool FindSensors(std::vector<std::unique_ptr<Sensor>>& sensors, std::string& message);

}  // namespace engine
