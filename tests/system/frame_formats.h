#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/image_reading.h"

// The formats that the program of this build writes.
namespace tests {

inline const std::vector<std::string> formats = {
#define ORVEX_FORMAT(name) #name,
#include "orvex_formats.def"
#undef ORVEX_FORMAT
};

inline std::string JoinedFormats() {
    std::string list;
    for (const std::string& format : formats) list += (list.empty() ? "" : ",") + format;
    return list;
}

// Those that a recording can have, which is all but single pictures.
inline std::vector<std::string> RecordedEndings() {
    std::vector<std::string> endings;
    for (const std::string& format : formats)
        if (format != "png") endings.push_back('.' + format);
    return endings;
}

// Frames of that shape; others are thrown at.
inline std::vector<std::vector<uns16>> ReadFrames(const std::filesystem::path& file, uns32 width,
                                                  uns32 height) {
    if (file.extension() == ".raw")
        return support::ReadRaw(file, size_t{width} * height * sizeof(uns16));
    const support::Frames frames =
        file.extension() == ".fits" ? support::ReadFits(file) : support::ReadTiff(file);
    if (frames.width != width || frames.height != height)
        throw std::runtime_error(file.string() + " has another shape");
    return frames.pixels;
}

}  // namespace tests
