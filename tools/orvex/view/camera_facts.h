#pragma once

#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <vector>

#include "orvex/facts.h"
#include "orvex/frame_file.h"

namespace orvex::view {

// What a page has to know of a camera before it can ask for anything.
nlohmann::json camera_facts(const Camera& camera);

// Writes one frame, and the side file of a format that needs one; gives their paths.
std::vector<std::string> write_snap(const Format& format, const std::string& path,
                                    const Facts& facts, std::span<const uint16_t> pixels,
                                    uint32_t number);

}  // namespace orvex::view
