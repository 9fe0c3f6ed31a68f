#pragma once

#include <nlohmann/json.hpp>
#include <span>
#include <string>

#include "orvex/facts.h"

// The JSON file beside a recording: what the frames are, and which ones there are.
namespace orvex {

// "run.raw.json" of "run.raw".
std::string side_file_path(const std::string& recording);

// What a side file says of plain frames that are all there.
nlohmann::ordered_json recording_json(const Facts& facts, std::span<const FrameStamp> frames);

// When the frames began, in seconds after the first; null where that is not known.
nlohmann::ordered_json begins_json(std::span<const FrameStamp> frames);

// Writes the file anew. Throws std::runtime_error with the path.
void write_json(const std::string& path, const nlohmann::ordered_json& facts);

// Throws std::runtime_error with the path when there is none or it can't be read.
nlohmann::ordered_json read_side_file(const std::string& recording);

}  // namespace orvex
