#pragma once

#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "orvex/facts.h"

// Recorded frames that carry metadata.
namespace orvex {

// One frame with what the library finds in it.
class DecodedFrame {
  public:
    // Throws std::runtime_error when the bytes are no frame.
    DecodedFrame(std::vector<uint8_t> bytes, const std::string& name);

    const Metadata& metadata() const { return *metadata_; }
    // Header, regions and tagged values.
    nlohmann::ordered_json describe() const;
    // Begin of the frame in units of 100 ns; 0 when it does not say.
    uint64_t begin() const;

  private:
    std::vector<uint8_t> bytes_;
    std::optional<Metadata> metadata_;
};

class MetadataRecording {
  public:
    // Takes the size of the frames from the side file. Throws std::runtime_error.
    explicit MetadataRecording(const std::string& path);

    const std::string& path() const { return path_; }
    const nlohmann::ordered_json& facts() const { return facts_; }
    uint32_t frames() const { return frames_; }

    // Counted from 0.
    DecodedFrame frame(uint32_t index);

    // The facts of a picture as large as all its regions together.
    Facts canvas() const;
    // The regions of a frame as the pixels of such a picture. What no region covers is 0.
    static std::vector<uint16_t> recompose(const DecodedFrame& decoded, const Facts& canvas);

  private:
    std::string path_;
    nlohmann::ordered_json facts_;
    std::ifstream file_;
    uint32_t frame_bytes_ = 0;
    uint32_t frames_ = 0;
};

}  // namespace orvex
