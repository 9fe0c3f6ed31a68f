#include "firmware/extended_block.h"

#include <algorithm>

#include "engine/bytes.h"

namespace firmware {
namespace {

// Sections, by their bits in the flags word.
constexpr uint32_t section_ccl = 1;
constexpr uint32_t section_binning = 2;
constexpr uint32_t section_trigger = 16;
constexpr uint32_t section_sensor = 32;
constexpr uint32_t section_ports = 64;
constexpr uint32_t section_lists = 128;
constexpr uint32_t section_blobs = 256;
constexpr uint32_t section_exposure_ranges = 512;
constexpr uint32_t section_interfaces = 1024;

constexpr uint32_t ccl_simplified = 2;
constexpr uint32_t sensor_read_only = 2;
constexpr uint8_t binning_list = 4;

// Each bit of the lists word promises a container.
uint32_t ListBits(const Model& model) {
    const Extended& extended = *model.extended;
    uint32_t bits = 0;
    const auto add = [&bits](unsigned bit, bool present) { bits |= present ? 1u << bit : 0u; };
    add(0, !extended.fan_speeds.empty());
    add(1, !extended.trigger_signals.empty());
    add(2, model.centroids && !model.centroids->modes.empty());
    add(3, model.centroids && !model.centroids->background_counts.empty());
    add(4, !extended.frame_delivery_modes.empty());
    add(5, !extended.clear_modes.empty());
    return bits;
}

// The lists themselves are little-endian, unlike everything around them.
void WriteBinning(engine::ByteWriter& out, const std::vector<BinningPair>& pairs,
                  uint16_t BinningPair::* factor) {
    out.U8(binning_list);
    out.U16(pairs.size() * 2);
    for (const BinningPair& pair : pairs) {
        const uint16_t value = pair.*factor;
        out.U8(value & 0xFFu);
        out.U8(value >> 8);
    }
    out.U32(0xFF);  // mask of factors; kept by hosts and not used
    out.U16(0);     // no further factors
}

void WriteRanges(engine::ByteWriter& out, const std::vector<ExposureRange>& ranges) {
    out.U32(1);
    out.U16(ranges.size());
    for (const ExposureRange& range : ranges) {
        out.U32(range.resolution);
        out.U32(range.min);
        out.U32(range.max);
    }
}

void WriteInterfaces(engine::ByteWriter& out, const std::vector<Interface>& interfaces) {
    out.U32(3);  // types and modes
    out.U32(interfaces.size());
    for (const Interface& entry : interfaces) out.U32(entry.type);
    for (const Interface& entry : interfaces) out.U32(entry.mode);
}

}  // namespace

std::vector<uint8_t> ExtendedBlock(const Model& model) {
    std::vector<uint8_t> block;
    if (!model.extended) return block;
    const Extended& extended = *model.extended;
    engine::ByteWriter out(block);
    uint32_t flags = section_ccl | section_lists | section_blobs;
    if (!extended.binnings.empty()) flags |= section_binning;
    if (!extended.trigger_modes.empty()) flags |= section_trigger;
    if (extended.geometry_fixed) flags |= section_sensor;
    if (extended.port_names) flags |= section_ports;
    if (!extended.exposure_ranges.empty()) flags |= section_exposure_ranges;
    if (!extended.interfaces.empty()) flags |= section_interfaces;

    out.U32(flags);
    out.U32(model.dialect == Dialect::simplified ? ccl_simplified : 0);
    if ((flags & section_binning) != 0) {
        WriteBinning(out, extended.binnings, &BinningPair::serial);
        WriteBinning(out, extended.binnings, &BinningPair::parallel);
    }
    if ((flags & section_trigger) != 0) out.U32(1);
    if ((flags & section_sensor) != 0) out.U32(sensor_read_only);
    if ((flags & section_ports) != 0) out.U32(1);
    out.U32(ListBits(model));
    out.U32(extended.startup_values_blob ? 1 : 0);
    if ((flags & section_exposure_ranges) != 0) WriteRanges(out, extended.exposure_ranges);
    if ((flags & section_interfaces) != 0) WriteInterfaces(out, extended.interfaces);
    return block;
}

}  // namespace firmware
