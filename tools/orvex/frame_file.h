#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "orvex/acquisition.h"

// Files that take frames one by one, for as long as there are any.
namespace orvex {

class FrameFile {
  public:
    virtual ~FrameFile() = default;
    // Throws std::runtime_error with the path when the frame can't be written.
    virtual void add(std::span<const uint8_t> frame) = 0;
    // Makes the file readable with the frames that it has.
    virtual void finish() = 0;
};

enum class FileKind { tiff, fits, raw };

// By the ending of the path; throws std::invalid_argument with the endings that exist.
FileKind file_kind(const std::string& path);

// The facts tell the size of a frame, and how many are planned: 0 when nobody knows. They go into
// the file where it has a place for them; their pixels are not looked at.
//
// TIFF: 16 bits, one page a frame, the facts in the standard tags and as JSON in ImageDescription.
// FITS: an unsigned 16-bit cube, or an image when a single frame is planned.
// raw: frame after frame as the camera delivers them.
std::unique_ptr<FrameFile> create_frame_file(FileKind kind, const std::string& path,
                                             const Acquisition& facts);

// The facts of an acquisition as JSON text.
std::string facts_json(const Acquisition& acquisition);

}  // namespace orvex
