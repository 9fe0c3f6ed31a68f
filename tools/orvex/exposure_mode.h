#pragma once

#include <string>

#include "orvex/session.h"

// Exposure modes and expose-out modes by name.
namespace orvex {

// An exposure mode of the library, "timed" or TIMED_MODE; with the camera's own names for its
// modes beside those of the library. An expose-out mode, when there is one, is added to it.
// Throws std::invalid_argument with the modes that the camera has.
int16 exposure_mode(const Camera& camera, const std::string& mode, const std::string& expose_out);

// "timed", "ext-trig-edge-rising"
std::string exposure_mode_name(int16 mode);

// For the help: all names, with blanks and commas between.
std::string all_exposure_modes();
std::string all_expose_out_modes();

}  // namespace orvex
