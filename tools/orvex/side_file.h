#pragma once

#include <nlohmann/json.hpp>
#include <string>

// The JSON file beside a recording: what the frames are, and which ones there are.
namespace orvex {

// "run.raw.json" of "run.raw".
std::string side_file_path(const std::string& recording);

// Replaces what is there in one step.
void write_side_file(const std::string& recording, const nlohmann::ordered_json& facts);

// Throws std::runtime_error with the path when there is none or it can't be read.
nlohmann::ordered_json read_side_file(const std::string& recording);

}  // namespace orvex
