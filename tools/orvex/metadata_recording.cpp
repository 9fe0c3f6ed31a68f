#include "orvex/metadata_recording.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "orvex/side_file.h"

namespace orvex {

namespace {

constexpr uns8 known_version = 1;
constexpr uns8 flag_list_ends = 1;
constexpr uns8 flag_header_only = 2;

uint64_t little_endian(const void* bytes, size_t size) {
    uint64_t value = 0;
    for (size_t i = size; i-- > 0;) value = value << 8 | static_cast<const uns8*>(bytes)[i];
    return value;
}

// What the library leaves to those who know the camera; this is the layout of version 1.
void describe_camera_fields(const md_frame_header& header, nlohmann::ordered_json& out) {
    if (header.reserved1[0] != known_version) return;
    out["number"] = little_endian(&header.reserved1[1], 4);
    out["begin_100ns"] = little_endian(&header.reserved2[0], 8);
    out["end_100ns"] = little_endian(&header.reserved2[8], 8);
    out["exposure_ns"] = little_endian(&header.reserved2[16], 8);
    out["bit_depth"] = header.reserved2[24];
}

nlohmann::ordered_json describe_region(const rgn_type& r) {
    return {r.s1, r.p1, r.s2 - r.s1 + 1, r.p2 - r.p1 + 1};
}

nlohmann::ordered_json describe_tags(const std::vector<Tag>& tags) {
    nlohmann::ordered_json out = nlohmann::ordered_json::array();
    for (const Tag& tag : tags) out.push_back({{"name", tag.name}, {"value", tag.value}});
    return out;
}

// The box around regions that are told as x, y, width, height.
rgn_type bounding_box(const nlohmann::ordered_json& regions) {
    rgn_type box{65535, 0, 1, 65535, 0, 1};
    for (const auto& region : regions) {
        const auto x = region.at(0).get<unsigned>(), y = region.at(1).get<unsigned>();
        const auto width = region.at(2).get<unsigned>(), height = region.at(3).get<unsigned>();
        if (width == 0 || height == 0 || x + width > 65536 || y + height > 65536) {
            throw std::runtime_error("the side file tells of a region that can't be");
        }
        box.s1 = std::min(box.s1, static_cast<uns16>(x));
        box.s2 = std::max(box.s2, static_cast<uns16>(x + width - 1));
        box.p1 = std::min(box.p1, static_cast<uns16>(y));
        box.p2 = std::max(box.p2, static_cast<uns16>(y + height - 1));
    }
    return box;
}

// Pixels from one place on the sensor to another, when binning starts at the sensor's edge.
uint32_t binned_span(uns16 first, uns16 last, uns16 binning) {
    return last / binning - first / binning + 1u;
}

// The library paints where the headers say, whatever the size of the picture.
bool fits(const rgn_type& r, const rgn_type& box) {
    return r.sbin == box.sbin && r.pbin == box.pbin && r.s1 <= r.s2 && r.p1 <= r.p2 &&
           r.s1 >= box.s1 && r.s2 <= box.s2 && r.p1 >= box.p1 && r.p2 <= box.p2;
}

}  // namespace

DecodedFrame::DecodedFrame(std::vector<uint8_t> bytes, const std::string& name)
    : bytes_(std::move(bytes)) {
    try {
        metadata_.emplace(Bytes(bytes_.data(), bytes_.size()));
    } catch (const Error& error) {
        throw Error(name + " can't be decoded", error.code());
    }
}

nlohmann::ordered_json DecodedFrame::describe() const {
    const Metadata& frame = *metadata_;
    nlohmann::ordered_json out;
    describe_camera_fields(*frame.record().header, out);
    out["box"] = frame.record().roiCount ? describe_region(frame.box()) : nullptr;
    out["tags"] = describe_tags(frame.tags());
    out["regions"] = nlohmann::ordered_json::array();
    for (const MetadataRegion& region : frame.regions()) {
        const rgn_type place = region.region();
        out["regions"].push_back({{"number", little_endian(region.record().header->reserved1, 2)},
                                  {"region", describe_region(place)},
                                  {"binning", {place.sbin, place.pbin}},
                                  {"pixel_bytes", region.record().dataSize},
                                  {"tags", describe_tags(region.tags())}});
    }
    return out;
}

uint64_t DecodedFrame::begin() const {
    const md_frame_header& header = *metadata_->record().header;
    return header.reserved1[0] == known_version ? little_endian(&header.reserved2[0], 8) : 0;
}

MetadataRecording::MetadataRecording(const std::string& path)
    : path_(path), facts_(read_side_file(path)), file_(path, std::ios::binary) {
    if (!file_) throw std::runtime_error("cannot read '" + path + "'");
    try {
        if (!facts_.at("metadata").get<bool>()) {
            throw std::runtime_error("'" + path + "' was recorded without metadata; set " +
                                     "METADATA_ENABLED=on for it");
        }
        frame_bytes_ = facts_.at("frame_bytes").get<uint32_t>();
    } catch (const nlohmann::json::exception&) {
        throw std::runtime_error("'" + side_file_path(path) + "' does not describe a recording");
    }
    if (frame_bytes_ == 0) throw std::runtime_error("'" + path + "' has frames of no size");
    // Not what the side file says: it is right too for a recording that was cut off.
    frames_ = static_cast<uint32_t>(std::filesystem::file_size(path) / frame_bytes_);
}

DecodedFrame MetadataRecording::frame(uint32_t index) {
    const std::string name = "frame " + std::to_string(index + 1) + " of '" + path_ + "'";
    std::vector<uint8_t> bytes(frame_bytes_);
    file_.seekg(static_cast<std::streamoff>(uint64_t{index} * frame_bytes_));
    file_.read(reinterpret_cast<char*>(bytes.data()), frame_bytes_);
    if (!file_) throw std::runtime_error("cannot read " + name);
    return DecodedFrame(std::move(bytes), name);
}

Facts MetadataRecording::canvas() const {
    Facts out;
    try {
        out = facts_from_json(facts_);
        out.region = bounding_box(facts_.at("regions"));
        out.region.sbin = facts_.at("binning").at(0).get<uns16>();
        out.region.pbin = facts_.at("binning").at(1).get<uns16>();
    } catch (const nlohmann::json::exception&) {
        throw std::runtime_error("'" + side_file_path(path_) + "' does not describe a recording");
    }
    const rgn_type& r = out.region;
    if (r.s1 > r.s2 || r.sbin == 0 || r.pbin == 0) {
        throw std::runtime_error("'" + side_file_path(path_) + "' tells of no region");
    }
    out.width = binned_span(r.s1, r.s2, r.sbin);
    out.height = binned_span(r.p1, r.p2, r.pbin);
    out.frame_bytes = out.width * out.height * 2;
    return out;
}

std::vector<uint16_t> MetadataRecording::recompose(const DecodedFrame& decoded,
                                                   const Facts& canvas) {
    const Metadata& frame = decoded.metadata();
    std::vector<uint16_t> pixels(size_t{canvas.width} * canvas.height);
    const rgn_type& box = canvas.region;
    bool painted = false;
    for (const MetadataRegion& region : frame.regions()) {
        if (region.record().header->flags & (flag_list_ends | flag_header_only)) continue;
        if (!fits(region.region(), box)) {
            throw std::runtime_error("a region lies outside of those that were recorded");
        }
        painted = true;
    }
    if (!painted) return pixels;
    const rgn_type implied = frame.box();
    if (implied.s1 < box.s1 || implied.p1 < box.p1) {
        throw std::runtime_error("a region lies outside of those that were recorded");
    }
    const auto x = static_cast<uns16>(implied.s1 / box.sbin - box.s1 / box.sbin);
    const auto y = static_cast<uns16>(implied.p1 / box.pbin - box.p1 / box.pbin);
    frame.recompose(pixels.data(), static_cast<uns16>(canvas.width),
                    static_cast<uns16>(canvas.height), x, y);
    return pixels;
}

}  // namespace orvex
