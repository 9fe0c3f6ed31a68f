#pragma once

#include <span>
#include <string>

#include "orvex/facts.h"

namespace orvex {

// The description of an OME-TIFF (schema 2016-06) of one image with so many planes in time: sizes,
// detector, settings, and when each plane began. The facts stand in it as key and value, too.
std::string ome_xml(const Facts& facts, std::span<const FrameStamp> frames);

}  // namespace orvex
