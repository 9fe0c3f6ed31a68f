#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "orvex/view/frame.h"
#include "orvex/view/request.h"

// What a page shows of a frame: a part of it, scaled down, stretched to 8 bits and compressed.
namespace orvex::view {

// In pixels of the frame.
struct Part {
    uint32_t x = 0;
    uint32_t y = 0;
    uint32_t width = 0;
    uint32_t height = 0;
};

struct Stretch {
    uint16_t low = 0;
    uint16_t high = 65535;
};

enum class Compression { jpeg, png };

struct PictureRequest {
    uint64_t after = 0;              // the frame that the page has
    std::optional<Part> part;        // else the whole frame
    Size most{1024, 1024};           // pixels that the page has room for
    std::optional<Stretch> stretch;  // else by percentiles
    std::optional<Compression> compression;
    std::optional<Part> pointer;       // a place whose value is asked for
    std::optional<Stretch> histogram;  // the range of its bins; else the whole range
};

// Throws std::invalid_argument with what is wrong.
PictureRequest parse_picture_request(const Query& query);

// The 0.5th and the 99.8th percentile; the few darkest and brightest are clipped.
Stretch automatic_stretch(const Levels& levels);

struct Picture {
    Part part;
    Size size;
    std::vector<uint8_t> pixels;
};

// Each pixel is the mean of those of the frame that it stands for. A part that reaches outside is
// cut; one that lies outside is the whole frame.
Picture make_picture(const Frame& frame, const std::optional<Part>& part, Size most,
                     Stretch stretch);

// The whole range in so many bins.
std::vector<uint32_t> histogram(const Levels& levels, Stretch range);

std::string compress(const Picture& picture, Compression compression);

// A length of 4 bytes, little-endian, so many of JSON that tell what is shown, and the picture.
std::string picture_answer(const Frame& frame, const PictureRequest& request);

}  // namespace orvex::view
