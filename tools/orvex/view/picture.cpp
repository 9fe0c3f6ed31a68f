#include "orvex/view/picture.h"

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace orvex::view {

namespace {

// A page of more pixels is shown at this size.
constexpr uint32_t most_pixels_of_a_side = 4096;
constexpr size_t bins = 256;

// The numbers of "1,2,3", so many as there have to be.
template <class T>
std::vector<T> numbers(const std::string& name, const std::string& text, size_t count) {
    std::vector<T> out;
    const char* at = text.data();
    const char* const end = at + text.size();
    while (out.size() < count) {
        T value{};
        const auto [next, error] = std::from_chars(at, end, value);
        if (error != std::errc()) break;
        out.push_back(value);
        at = next;
        if (out.size() == count || at == end || *at != ',') break;
        ++at;
    }
    if (at != end || out.size() != count) {
        throw std::invalid_argument("'" + text + "' is no value of " + name + "; it takes " +
                                    std::to_string(count) + " whole numbers with commas between");
    }
    return out;
}

Part parse_part(const std::string& name, const std::string& text) {
    const std::vector<uint32_t> n = numbers<uint32_t>(name, text, 4);
    if (n[2] == 0 || n[3] == 0) throw std::invalid_argument(name + " has no pixels");
    return {n[0], n[1], n[2], n[3]};
}

Stretch parse_stretch(const std::string& name, const std::string& text) {
    const std::vector<uint16_t> n = numbers<uint16_t>(name, text, 2);
    if (n[0] >= n[1]) throw std::invalid_argument(name + " must rise");
    return {n[0], n[1]};
}

Compression parse_compression(const std::string& text) {
    if (text == "jpeg") return Compression::jpeg;
    if (text == "png") return Compression::png;
    throw std::invalid_argument("there is no format '" + text + "'; take jpeg or png");
}

Part cut(const Part& part, Size size) {
    if (part.x >= size.width || part.y >= size.height) return {0, 0, size.width, size.height};
    return {part.x, part.y, std::min(part.width, size.width - part.x),
            std::min(part.height, size.height - part.y)};
}

// Where the columns or rows of the frame begin that become each one of the picture.
std::vector<uint32_t> borders(uint32_t from, uint32_t count, uint32_t pixels) {
    std::vector<uint32_t> out(pixels + 1);
    for (uint32_t i = 0; i <= pixels; ++i) {
        out[i] = from + static_cast<uint32_t>(uint64_t{count} * i / pixels);
    }
    return out;
}

std::vector<uint8_t> stretch_table(Stretch stretch) {
    std::vector<uint8_t> table(65536);
    const double range = stretch.high - stretch.low;
    for (size_t value = 0; value < table.size(); ++value) {
        const double share = (static_cast<double>(value) - stretch.low) / range;
        table[value] = static_cast<uint8_t>(std::clamp(share, 0.0, 1.0) * 255 + 0.5);
    }
    return table;
}

void copy_part(const Frame& frame, const std::vector<uint8_t>& table, Picture& picture) {
    const Part& part = picture.part;
    uint8_t* out = picture.pixels.data();
    for (uint32_t y = 0; y < part.height; ++y) {
        const uint16_t* row = &frame.pixels[size_t{part.y + y} * frame.size.width + part.x];
        for (uint32_t x = 0; x < part.width; ++x) *out++ = table[row[x]];
    }
}

void average_part(const Frame& frame, const std::vector<uint8_t>& table, Picture& picture) {
    const Part& part = picture.part;
    const Size size = picture.size;
    const std::vector<uint32_t> columns = borders(0, part.width, size.width);
    const std::vector<uint32_t> lines = borders(part.y, part.height, size.height);
    std::vector<uint32_t> sums(part.width);
    uint8_t* out = picture.pixels.data();
    for (uint32_t y = 0; y < size.height; ++y) {
        std::fill(sums.begin(), sums.end(), 0);
        for (uint32_t from = lines[y]; from < lines[y + 1]; ++from) {
            const uint16_t* row = &frame.pixels[size_t{from} * frame.size.width + part.x];
            for (uint32_t x = 0; x < part.width; ++x) sums[x] += row[x];
        }
        for (uint32_t x = 0; x < size.width; ++x) {
            uint64_t sum = 0;
            for (uint32_t from = columns[x]; from < columns[x + 1]; ++from) sum += sums[from];
            const uint64_t count =
                uint64_t{columns[x + 1] - columns[x]} * (lines[y + 1] - lines[y]);
            *out++ = table[(sum + count / 2) / count];
        }
    }
}

// Single pixels are looked at where they are enlarged: there nothing may be made up.
Compression fitting(const Picture& picture, Size room) {
    const bool enlarged = uint64_t{picture.size.width} * 2 <= room.width &&
                          uint64_t{picture.size.height} * 2 <= room.height;
    return enlarged ? Compression::png : Compression::jpeg;
}

nlohmann::json part_json(const Part& part) {
    return {part.x, part.y, part.width, part.height};
}

nlohmann::json describe(const Frame& frame, const PictureRequest& request, const Picture& picture,
                        Stretch stretch) {
    const Levels& levels = frame.levels();
    const rgn_type& r = frame.region;
    const Stretch range = request.histogram.value_or(Stretch{0, frame.saturation});
    nlohmann::json out = {
        {"serial", frame.serial},
        {"frame", frame.number},
        {"width", frame.size.width},
        {"height", frame.size.height},
        {"part", part_json(picture.part)},
        {"region", {r.s1, r.p1, r.s2 - r.s1 + 1, r.p2 - r.p1 + 1}},
        {"binning", {r.sbin, r.pbin}},
        {"saturation", frame.saturation},
        {"stretch", {stretch.low, stretch.high}},
        {"min", levels.min},
        {"max", levels.max},
        {"mean", levels.mean},
        {"deviation", levels.deviation},
        {"saturated", levels.saturated},
        {"histogram",
         {{"low", range.low}, {"high", range.high}, {"counts", histogram(levels, range)}}}};
    if (request.pointer && request.pointer->x < frame.size.width &&
        request.pointer->y < frame.size.height) {
        const Part& p = *request.pointer;
        out["pointer"] = {{"x", p.x}, {"y", p.y}, {"value", frame.at(p.x, p.y)}};
    }
    return out;
}

}  // namespace

PictureRequest parse_picture_request(const Query& query) {
    PictureRequest out;
    for (const auto& [name, text] : query) {
        if (name == "after") {
            out.after = numbers<uint64_t>(name, text, 1)[0];
        } else if (name == "part") {
            out.part = parse_part(name, text);
        } else if (name == "room") {
            const std::vector<uint32_t> n = numbers<uint32_t>(name, text, 2);
            out.most = {std::clamp(n[0], 1u, most_pixels_of_a_side),
                        std::clamp(n[1], 1u, most_pixels_of_a_side)};
        } else if (name == "stretch") {
            out.stretch = parse_stretch(name, text);
        } else if (name == "format") {
            out.compression = parse_compression(text);
        } else if (name == "pointer") {
            const std::vector<uint32_t> n = numbers<uint32_t>(name, text, 2);
            out.pointer = Part{n[0], n[1], 1, 1};
        } else if (name == "histogram") {
            out.histogram = parse_stretch(name, text);
        } else {
            throw std::invalid_argument("a picture has no '" + name + "'");
        }
    }
    return out;
}

Stretch automatic_stretch(const Levels& levels) {
    const uint16_t low = std::min<uint16_t>(levels.percentile(0.005), 65534);
    return {low, std::max(levels.percentile(0.998), static_cast<uint16_t>(low + 1))};
}

Picture make_picture(const Frame& frame, const std::optional<Part>& part, Size most,
                     Stretch stretch) {
    Picture picture;
    picture.part = cut(part.value_or(Part{0, 0, frame.size.width, frame.size.height}), frame.size);
    picture.size = {std::min(picture.part.width, most.width),
                    std::min(picture.part.height, most.height)};
    picture.pixels.resize(size_t{picture.size.width} * picture.size.height);
    const std::vector<uint8_t> table = stretch_table(stretch);
    const bool whole =
        picture.size.width == picture.part.width && picture.size.height == picture.part.height;
    whole ? copy_part(frame, table, picture) : average_part(frame, table, picture);
    return picture;
}

std::vector<uint32_t> histogram(const Levels& levels, Stretch range) {
    std::vector<uint32_t> out(bins);
    const size_t span = size_t{range.high} - range.low + 1;
    const size_t last = std::min(levels.max, range.high);
    for (size_t value = std::max(levels.min, range.low); value <= last; ++value) {
        out[(value - range.low) * bins / span] += levels.counts[value];
    }
    return out;
}

std::string picture_answer(const Frame& frame, const PictureRequest& request) {
    const Stretch stretch = request.stretch.value_or(automatic_stretch(frame.levels()));
    const Picture picture = make_picture(frame, request.part, request.most, stretch);
    const std::string facts = describe(frame, request, picture, stretch).dump();
    std::string out;
    for (unsigned shift = 0; shift < 32; shift += 8) {
        out.push_back(static_cast<char>(facts.size() >> shift & 0xFF));
    }
    out += facts;
    out += compress(picture, request.compression.value_or(fitting(picture, request.most)));
    return out;
}

}  // namespace orvex::view
