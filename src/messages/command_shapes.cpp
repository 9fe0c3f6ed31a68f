#include "messages/command_shapes.h"

#include <array>

namespace bv {
namespace {

// Nothing is sent where a row says HC_NONE; Raw stands for it.
constexpr HostCommandDataType TypeOf(orvex_hc_encoding encoding) {
    return encoding == HC_NONE ? HostCommandDataType::Raw
                               : static_cast<HostCommandDataType>(encoding);
}

#define SHAPE_OF_HOST_COMMAND(name, id, write_bytes, write_encoding, read_bytes, read_encoding) \
    HostCommandShape{.writeBytes = write_bytes,                                                 \
                     .writeType = TypeOf(write_encoding),                                       \
                     .readBytes = read_bytes,                                                   \
                     .readType = TypeOf(read_encoding)},
constexpr std::array shapes{ORVEX_HOST_COMMANDS(SHAPE_OF_HOST_COMMAND)};

}  // namespace

HostCommandShape ShapeOf(uns8 id) {
    if (id < shapes.size()) return shapes[id];
    return {.writeBytes = 0,
            .writeType = HostCommandDataType::Raw,
            .readBytes = 0,
            .readType = HostCommandDataType::Raw};
}

const char* bv_text_data_type(HostCommandDataType type) {
    switch (type) {
        case HostCommandDataType::BigEndian: return "BigEndian";
        case HostCommandDataType::Raw: return "Raw";
        case HostCommandDataType::String: return "String";
    }
    return "<UNKNOWN>";
}

}  // namespace bv
