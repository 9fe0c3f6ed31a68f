#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "orvex/orvex_types.h"

// Files of 16-bit frames, read without the libraries that wrote them.
namespace support {

struct Frames {
    uns32 width = 0;
    uns32 height = 0;
    std::vector<std::vector<uns16>> pixels;
    std::map<std::string, std::string> cards;  // of FITS, as they are written, without blanks
};

// Each throws std::runtime_error for a file that is damaged or not whole.

// One uncompressed strip a page, TIFF or BigTIFF, little-endian.
Frames ReadTiff(const std::filesystem::path& path);

// An unsigned image or cube, and what follows it.
Frames ReadFits(const std::filesystem::path& path);

// Bare frames of a known size.
std::vector<std::vector<uns16>> ReadRaw(const std::filesystem::path& path, size_t frame_bytes);

}  // namespace support
