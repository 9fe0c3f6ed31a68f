#include "engine/command_shapes.h"

#include <array>

#include "orvex/orvex_protocol.h"

namespace engine {
namespace {

struct Shape {
    int16_t write = HC_UNSENT;
    int16_t reply = HC_UNSENT;
};

constexpr std::array<Shape, 256> MakeShapes() {
    std::array<Shape, 256> shapes{};
#define SHAPE(name, id, write_bytes, write_encoding, reply_bytes, reply_encoding) \
    shapes[id] = Shape{.write = write_bytes, .reply = reply_bytes};
    ORVEX_HOST_COMMANDS(SHAPE)
#undef SHAPE
    return shapes;
}

constexpr std::array<Shape, 256> shapes = MakeShapes();

// Commands whose data says how long it is.
size_t SelfDescribedSize(uint8_t id, ByteReader& reader) {
    switch (id) {
        case SET_TIDAL_STREAM_EXP_PARAMS:
        case SET_TIDAL_STREAM_DLY_PARAMS: reader.Take(reader.U16() * size_t{4}); break;
        case DEBUG_CMD: reader.Take(reader.U16()); break;
        case GET_BINARY_BLOB_SIZE:
            reader.U16();
            reader.Take(reader.U16());
            break;
        case GET_BINARY_BLOB:
            reader.Take(8);
            reader.Take(reader.U16());
            break;
        case SET_BINARY_BLOB:
            reader.Take(10);
            reader.Take(reader.U16());
            reader.Take(reader.U16());
            break;
        default: reader.Take(reader.Remaining() + 1); break;
    }
    return reader.Position();
}

}  // namespace

std::optional<size_t> HostCommandDataSize(uint8_t id, Bytes rest) {
    const int write = shapes[id].write;
    if (write == HC_UNSENT) return std::nullopt;
    ByteReader reader(rest);
    if (write == HC_VARIABLE)
        SelfDescribedSize(id, reader);
    else
        reader.Take(static_cast<size_t>(write));
    if (!reader.Ok()) return std::nullopt;
    return reader.Position();
}

std::optional<size_t> PluginCommandDataSize(uint8_t id, Bytes rest) {
    constexpr uint8_t set_exposure_mode = 10;
    constexpr uint8_t get_state = 7;
    const size_t size = id == set_exposure_mode || id == SEND_STAT_BUF ? 2 : 0;
    const bool known = size != 0 || id == get_state || id == CLEAR_STAT_BUF;
    if (!known || rest.size() < size) return std::nullopt;
    return size;
}

std::optional<size_t> HostCommandReplySize(uint8_t id) {
    const int reply = shapes[id].reply;
    if (reply < 0) return std::nullopt;
    return static_cast<size_t>(reply);
}

}  // namespace engine
