#pragma once

#include <chrono>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

#include "orvex/view/commands.h"

namespace orvex::view {

// What a page has seen of the lists that grow.
struct Seen {
    uint64_t temperatures = 0;
    uint64_t lines = 0;
};

// The camera as pages know it. Any thread.
class Control {
  public:
    virtual ~Control() = default;

    // Waits until it is done. Throws what the camera, or the view, refuses.
    virtual nlohmann::json act(const Command& command) = 0;
    // What goes on, with the list items that were not seen yet.
    virtual nlohmann::json state(const Seen& seen) const = 0;
    virtual nlohmann::json parameters() const = 0;
    virtual nlohmann::json program() const = 0;
    // A file that was written since the start; empty when there is none of that name.
    virtual std::string file_path(const std::string& name) const = 0;
};

}  // namespace orvex::view
