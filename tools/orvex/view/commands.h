#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <variant>
#include <vector>

// What a page asks of the camera.
namespace orvex::view {

struct Start {};
struct Stop {};
// One frame into a file, of the run that is on or of one for it alone.
struct Snap {
    std::string format;
};
// A run into a file, until it is stopped or has so many frames.
struct Record {
    std::string format;
    uint32_t frames = 0;  // 0 any number
};
// The parts of a set-up that change.
struct Change {
    std::optional<double> exposure_ms;
    // Regions as x, y, width, height in unbinned pixels; without one it is the whole sensor.
    struct Rectangle {
        uint16_t x, y, width, height;
    };
    std::optional<std::vector<Rectangle>> regions;
    struct Binning {
        uint16_t columns, rows;
    };
    std::optional<Binning> binning;
    std::optional<std::string> mode;
};
// A parameter, as a person writes the value.
struct SetParameter {
    std::string name;
    std::string value;
};

using Command = std::variant<Start, Stop, Snap, Record, Change, SetParameter>;

// Reads {"do": "start"} and the like. Throws std::invalid_argument with what is wrong and what is
// possible.
Command parse_command(const std::string& body);

}  // namespace orvex::view
