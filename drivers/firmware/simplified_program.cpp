#include "firmware/simplified_program.h"

#include <algorithm>

#include "orvex/orvex_protocol.h"

namespace firmware {
namespace {

constexpr size_t record_size = 5;

bool Valid(const rgn_type& region, const Geometry& geometry) {
    return region.sbin > 0 && region.pbin > 0 && region.s1 <= region.s2 && region.p1 <= region.p2 &&
           region.s2 < geometry.columns && region.p2 < geometry.rows &&
           region.s2 - region.s1 + 1 >= region.sbin && region.p2 - region.p1 + 1 >= region.pbin;
}

// Settings of a region act on the one that OP_BIN_X began last.
rgn_type* Current(SimplifiedProgram& program) {
    return program.regions.empty() ? nullptr : &program.regions.back();
}

bool Apply(SimplifiedProgram& program, orvex_sccl_operation setting, uint32_t value,
           uint32_t& announced) {
    rgn_type* region = Current(program);
    const auto word = static_cast<uint16_t>(value);
    const auto set = [&](uint16_t rgn_type::* field) {
        if (region == nullptr || value > 0xFFFF) return false;
        region->*field = word;
        return true;
    };
    switch (setting) {
        case OP_EXPOSE_RESOLUTION: program.resolution = value; return value <= EXP_RES_ONE_SEC;
        case OP_EXPOSURETIME: program.exposure = value; return true;
        case OP_EXPOSUREMODE: program.exposure_mode = value; return true;
        case OP_FRAME_COUNT: program.frame_count = value; return value > 0;
        case OP_MODE: program.buffer_mode = value; return value <= CIRC_NO_OVERWRITE;
        case OP_SUB_ROI_COUNT: announced = value; return value > 0;
        case OP_BIN_X:
            if (value > 0xFFFF || program.regions.size() == announced) return false;
            program.regions.push_back(
                {.s1 = 0, .s2 = 0, .sbin = word, .p1 = 0, .p2 = 0, .pbin = 1});
            return true;
        case OP_BIN_Y: return set(&rgn_type::pbin);
        case OP_IMGCOORD_TOPL_X: return set(&rgn_type::s1);
        case OP_IMGCOORD_TOPL_Y: return set(&rgn_type::p1);
        case OP_IMGCOORD_BOTR_X: return set(&rgn_type::s2);
        case OP_IMGCOORD_BOTR_Y: return set(&rgn_type::p2);
        case OP_SENSOR_CLEAR_MODE: program.clear_mode = value; return true;
        case OP_SENSOR_CLEAR_COUNT: program.clear_count = value; return true;
    }
    return false;
}

}  // namespace

int64_t SimplifiedProgram::Nanoseconds(uint32_t time) const {
    switch (resolution) {
        case EXP_RES_ONE_MICROSEC: return int64_t{time} * 1000;
        case EXP_RES_ONE_SEC: return int64_t{time} * 1'000'000'000;
        default: return int64_t{time} * 1'000'000;
    }
}

std::optional<SimplifiedProgram> ParseSimplified(engine::Bytes bytes, const Model& model) {
    if (bytes.empty() || bytes.size() % record_size != 0) return std::nullopt;
    SimplifiedProgram program;
    uint32_t announced = 0;
    engine::ByteReader reader(bytes);
    while (reader.Remaining() > 0) {
        const uint8_t setting = reader.U8();
        const uint32_t value = reader.U32();
        if (setting > OP_SENSOR_CLEAR_COUNT ||
            !Apply(program, static_cast<orvex_sccl_operation>(setting), value, announced))
            return std::nullopt;
    }
    const auto usable = [&](const rgn_type& region) { return Valid(region, model.geometry); };
    if (program.regions.empty() || program.regions.size() != announced ||
        announced > model.region_limit ||
        !std::all_of(program.regions.begin(), program.regions.end(), usable))
        return std::nullopt;
    return program;
}

int64_t ReadoutNanoseconds(const Model& model, const Speed& speed,
                           const SimplifiedProgram& program) {
    // Rows are read once, however many regions want them.
    std::vector<bool> wanted(model.geometry.rows);
    for (const rgn_type& region : program.regions)
        std::fill(wanted.begin() + region.p1, wanted.begin() + region.p2 + 1, true);
    const auto rows = std::count(wanted.begin(), wanted.end(), true);
    return static_cast<int64_t>(static_cast<double>(rows) * speed.row_time_us * 1000.0);
}

int64_t ClearNanoseconds(const Model& model, const Speed& speed) {
    // Rows are cleared ten times as fast as they are read.
    return static_cast<int64_t>(model.geometry.rows * speed.row_time_us * 100.0);
}

}  // namespace firmware
