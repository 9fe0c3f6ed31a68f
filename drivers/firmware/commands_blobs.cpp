// Objects stored in the camera, fetched and stored in chunks. There is one: the values that
// parameters start with.

#include <algorithm>

#include "orvex/orvex_params.h"
#include "orvex/orvex_types.h"

#include "firmware/firmware.h"

namespace firmware {
namespace {

using engine::ByteReader;
using engine::ByteWriter;

bool HasBlobs(const Model& model) {
    return HasExtended(model) && model.extended->startup_values_blob;
}

struct StartupValue {
    uint32_t parameter;
    uint16_t attribute;
    uint64_t value;
};

constexpr StartupValue startup_values[] = {
    {.parameter = PARAM_GAIN_INDEX, .attribute = ATTR_DEFAULT, .value = 1},
    {.parameter = PARAM_SPDTAB_INDEX, .attribute = ATTR_DEFAULT, .value = 0},
    {.parameter = PARAM_READOUT_PORT, .attribute = ATTR_DEFAULT, .value = 0},
    {.parameter = PARAM_TEMP_SETPOINT, .attribute = ATTR_DEFAULT, .value = 0},
};

// Records in host byte order: count, then parameter, attribute and value of each.
std::vector<uint8_t>& Stored(Firmware& f) {
    std::vector<uint8_t>& blob = f.startup_blob;
    if (!blob.empty()) return blob;
    const auto add = [&blob](uint64_t value, size_t size) {
        blob.resize(blob.size() + size);
        engine::StoreLittle(&blob[blob.size() - size], value, size);
    };
    add(std::size(startup_values), 2);
    for (const StartupValue& row : startup_values) {
        add(row.parameter, 4);
        add(row.attribute, 2);
        add(row.value, 8);
    }
    return blob;
}

constexpr Command commands[] = {
    {GET_BINARY_BLOB_SIZE, HasBlobs,
     [](Firmware& f, ByteReader& in, ByteWriter& out) -> bool {
         out.U32(in.U16() == OX_BLOB_ID_PIAV ? Stored(f).size() : 0);
         return true;
     }},
    {GET_BINARY_BLOB, HasBlobs,
     [](Firmware& f, ByteReader& in, ByteWriter& out) -> bool {
         const uint16_t id = in.U16();
         const uint32_t offset = in.U32();
         const uint16_t length = in.U16();
         const std::vector<uint8_t>& blob = Stored(f);
         if (id != OX_BLOB_ID_PIAV || offset > blob.size() || blob.size() - offset < length)
             return false;
         out.Raw(engine::Bytes(blob).subspan(offset, length));
         return true;
     }},
    {SET_BINARY_BLOB, HasBlobs,
     [](Firmware& f, ByteReader& in, ByteWriter& out) -> bool {
         const uint16_t id = in.U16();
         const uint32_t total = in.U32();
         const uint32_t offset = in.U32();
         const engine::Bytes chunk = in.Take(in.U16());
         std::vector<uint8_t>& blob = Stored(f);
         const bool fits = id == OX_BLOB_ID_PIAV && total <= blob.size() && offset <= total &&
                           total - offset >= chunk.size();
         if (fits) std::copy(chunk.begin(), chunk.end(), blob.begin() + offset);
         out.U16(fits ? 0 : 1);
         return true;
     }},
};

}  // namespace

std::span<const Command> BlobCommands() {
    return commands;
}

}  // namespace firmware
