#pragma once

#include <string>

#include "orvex/orvex.hpp"

namespace orvex {

// Opens a camera as the command line names it: by name, or by its index in 'orvex list'. Throws
// what comes near when there is none.
Camera open_camera(const Library& library, const std::string& name_or_index);

}  // namespace orvex
