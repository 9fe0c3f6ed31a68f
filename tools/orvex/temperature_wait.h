#pragma once

#include "orvex/set_up.h"

namespace orvex {

// Waits until the sensor is at its set-point, and shows the way there on a terminal. Throws when
// the camera tells no temperature, and when the time is over.
void wait_for_temperature(const Camera& camera, Seconds limit);

}  // namespace orvex
