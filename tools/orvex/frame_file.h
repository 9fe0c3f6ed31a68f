#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "orvex/facts.h"

// Files of frames. Each format stands in a file of its own and has a row in the table of
// frame_file.cpp, if the library that it needs was there when the program was built.
namespace orvex {

// Takes frames one by one, for as long as there are any.
class FrameFile {
  public:
    virtual ~FrameFile() = default;
    // Throws std::runtime_error with the path when the frame can't be written.
    virtual void add(std::span<const uint8_t> frame) = 0;
    // Makes the file readable with the frames that were added, about which this is known.
    virtual void finish(std::span<const FrameStamp> frames) = 0;
};

struct Format {
    const char* name;                  // "tif", what --format takes
    std::vector<std::string> endings;  // ".tif", ".tiff"
    // Whether it holds every frame as it came; else it is a picture of the first one.
    bool faithful;
    // A file that has to be told the size of its frames by a side file.
    bool bare;
    // The path is there and empty. The facts go into the file where it has a place for them.
    std::unique_ptr<FrameFile> (*create)(const std::string& path, const Facts& facts);
};

const std::vector<Format>& formats();
// "tif, fits or png"
std::string format_names();
// By name; throws std::invalid_argument with those that there are.
const Format& find_format(const std::string& name);
// By the ending of a path; null when it has none of theirs.
const Format* format_of(const std::string& path);
// The same for files that hold every frame; throws std::invalid_argument with their endings.
const Format& recording_format(const std::string& path);
// The same for files that programs show as pictures.
const Format& picture_format(const std::string& path);

[[noreturn]] void fail_to_write(const std::string& path, const std::string& why);

}  // namespace orvex
