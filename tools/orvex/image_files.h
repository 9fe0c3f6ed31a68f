#pragma once

#include <string>

#include "orvex/acquisition.h"
#include "orvex/frame_file.h"

// Writers of image files; each throws std::runtime_error with the path when it can't write, and
// leaves no half-written file behind.
namespace orvex {

// All frames of an acquisition.
void write_frames(FileKind kind, const std::string& path, const Acquisition& acquisition);

// 8 bits, one frame, stretched between the 0.5th and the 99.8th percentile.
void write_preview(const std::string& path, const Acquisition& acquisition, uint32_t index);

}  // namespace orvex
