#pragma once

#include <string>

#include "orvex/acquisition.h"

// Writers of image files; each throws std::runtime_error with the path when it can't write, and
// leaves no half-written file behind.
namespace orvex {

// 16 bits, one page a frame, the facts in the standard tags and as JSON in ImageDescription.
void write_tiff(const std::string& path, const Acquisition& acquisition);

// An unsigned 16-bit cube, or an image for a single frame, with the facts in the header.
void write_fits(const std::string& path, const Acquisition& acquisition);

// 8 bits, one frame, stretched between the 0.5th and the 99.8th percentile.
void write_preview(const std::string& path, const Acquisition& acquisition, uint32_t index);

// The facts of an acquisition as JSON text.
std::string facts_json(const Acquisition& acquisition);

}  // namespace orvex
