#pragma once

#include "orvex/orvex_protocol.h"
#include "orvex/orvex_types.h"

namespace bv {

// How a value stands on the wire.
enum class HostCommandDataType : uns32 {
    BigEndian = HC_BIG_ENDIAN,  // an integer, high byte first
    Raw = HC_RAW,               // a block whose layout belongs to the reader
    String = HC_STRING,         // characters; the host forces the last to zero
};

const char* bv_text_data_type(HostCommandDataType type);

// What follows a command's id byte, and what the command adds to the status buffer. Sizes are bytes
// or an orvex_hc_size.
struct HostCommandShape {
    int32 writeBytes;
    HostCommandDataType writeType;
    int32 readBytes;
    HostCommandDataType readType;
};

// Of an id outside the table: no data, no reply.
HostCommandShape ShapeOf(uns8 id);

}  // namespace bv
