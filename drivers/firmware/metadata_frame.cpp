#include "firmware/metadata_frame.h"

#include <algorithm>

#include "engine/bytes.h"

namespace firmware {
namespace {

using engine::StoreLittle;

constexpr uint32_t signature = 0x005A4E4C;
constexpr size_t frame_header_size = 48;
constexpr size_t region_header_size = 32;
constexpr uint8_t flag_list_ends = 1;
constexpr uint8_t flag_header_only = 2;

// Places in the frame header. Hosts read signature, region count and the size of the extension;
// the others are for whoever knows this camera.
constexpr size_t at_version = 4;
constexpr size_t at_number = 5;
constexpr size_t at_region_count = 9;
constexpr size_t at_begin = 11;
constexpr size_t at_end = 19;
constexpr size_t at_exposure = 27;
constexpr size_t at_bits = 35;
constexpr size_t at_color = 36;

// Places in a region header.
constexpr size_t at_region_number = 0;
constexpr size_t at_region = 10;
constexpr size_t at_flags = 22;
constexpr size_t at_extension_size = 23;

constexpr uint8_t end_tag = 255;

}  // namespace

void MetadataFrame::Begin(uint16_t region_count) {
    frame_.assign(frame_header_size, 0);
    regions_ = 0;
    StoreLittle(frame_.data(), signature, 4);
    frame_[at_version] = 1;
    StoreLittle(&frame_[at_region_count], region_count, 2);
}

void MetadataFrame::AddHeader(const rgn_type& region, uint8_t flags, const Spot* spot) {
    const size_t start = frame_.size();
    frame_.resize(start + region_header_size, 0);
    uint8_t* header = &frame_[start];
    StoreLittle(header + at_region_number, ++regions_, 2);
    uint8_t* field = header + at_region;
    for (const uint16_t value :
         {region.s1, region.s2, region.sbin, region.p1, region.p2, region.pbin}) {
        StoreLittle(field, value, 2);
        field += 2;
    }
    header[at_flags] = flags;
    StoreLittle(header + at_extension_size, extended_ ? region_extension_bytes : 0, 2);
    if (!extended_) return;

    const size_t extension = frame_.size();
    frame_.resize(extension + region_extension_bytes, 0);
    uint8_t* item = &frame_[extension];
    if (spot == nullptr) {
        *item = end_tag;
        return;
    }
    uint8_t tag = 0;
    for (const uint32_t value : {spot->id, spot->mass, spot->spread}) {
        *item = tag++;
        StoreLittle(item + 1, value, 4);
        item += 5;
    }
    *item = end_tag;
}

void MetadataFrame::AddRegion(const rgn_type& region, engine::Bytes pixels, const Spot* spot) {
    AddHeader(region, 0, spot);
    frame_.insert(frame_.end(), pixels.begin(), pixels.end());
}

void MetadataFrame::AddHeaderOnly(const rgn_type& region, const Spot& spot) {
    AddHeader(region, flag_header_only, &spot);
}

void MetadataFrame::EndList() {
    AddHeader({.s1 = 0, .s2 = 0, .sbin = 1, .p1 = 0, .p2 = 0, .pbin = 1}, flag_list_ends, nullptr);
}

void MetadataFrame::PadTo(size_t size) {
    frame_.resize(size, 0);
}

void MetadataFrame::Stamp(std::span<uint8_t> frame, const FrameFacts& facts) {
    if (frame.size() < frame_header_size) return;
    StoreLittle(&frame[at_number], facts.number, 4);
    StoreLittle(&frame[at_begin], static_cast<uint64_t>(facts.begin), 8);
    StoreLittle(&frame[at_end], static_cast<uint64_t>(facts.end), 8);
    StoreLittle(&frame[at_exposure], static_cast<uint64_t>(facts.exposure_ns), 8);
    frame[at_bits] = facts.bits;
    frame[at_color] = facts.color;
}

}  // namespace firmware
