#include <gtest/gtest.h>

#include "messages/command_shapes.h"
#include "messages/texts.h"
#include "support/scripted_firmware.h"

namespace {

using Type = bv::HostCommandDataType;

struct Part {
    int32 bytes;
    Type type;
};

// One way of speaking: what stands behind a command, what it adds to the reply, and whose it is.
struct Group {
    Part sent;
    Part received;
    const char* ids;
};

constexpr Part nothing{0, Type::Raw};
constexpr Part number(int32 bytes) {
    return {bytes, Type::BigEndian};
}
constexpr Part raw(int32 bytes) {
    return {bytes, Type::Raw};
}
constexpr Part text(int32 bytes) {
    return {bytes, Type::String};
}

// By the bytes on the wire, since the names are the library's own.
const Group groups[] = {
    {nothing, nothing, "26 2E 66"},
    {nothing, number(1), "00 01 04 08 0A 11 15 17 19 1A 1B 1E 24 25 29 38 3E 41 A0 A1 A3"},
    {nothing, number(2),
     "02 03 07 09 0B 0C 0D 0E 0F 10 12 13 14 16 1F 20 23 37 3A 3C 3F 53 54 57 5D 60 64 65 "
     "6C 71 72 75 76 7D 84 85 88 8A 8D 8F 92 95 9E B0 B4 BA"},
    {nothing, number(4), "63 67 68 69 6A 6B 78 79 7E 80 86 96 9C AC AD B1 B6 B7 BB"},
    {nothing, number(8), "A7 A8 A9 AA AB"},
    {nothing, raw(4), "18 8C 90 93"},
    {nothing, raw(8), "3B"},
    {nothing, raw(16), "05"},
    {nothing, text(32), "4C 58 5E 61 82 83 98 A4 A5"},
    {nothing, raw(HC_VARIABLE), "6D 73 7A 7F 81 87 97 9D AE B2 B8 BC"},
    {number(1), nothing, "2B 2C A2"},
    {number(2), nothing, "2A 2D 30 31 33 39 3D 55 56 5C 5F 6F 70 7C 89 8B 8E 91 94 9F AF B3 B9"},
    {number(4), nothing, "62 B5"},
    {raw(4), nothing, "48 4A"},
    {raw(HC_VARIABLE), nothing, "6E 74"},
    {number(1), number(2), "2F"},
    {number(1), raw(3), "21"},
    {number(1), text(128), "22"},
    {number(2), number(1), "42"},
    {number(2), number(2), "43 44 45 46 47 4B"},
    {number(4), number(4), "BD"},
    {raw(HC_VARIABLE), number(4), "99"},
    {raw(HC_VARIABLE), raw(HC_VARIABLE), "9A"},
    {raw(HC_VARIABLE), number(2), "9B"},
    {raw(HC_VARIABLE), text(HC_VARIABLE), "34"},
};

TEST(CommandTable, EveryCommandHasItsShape) {
    for (const Group& group : groups) {
        for (const uint8_t id : support::hex(group.ids)) {
            SCOPED_TRACE(bv_text_hcmd(id));
            const bv::HostCommandShape shape = bv::ShapeOf(id);
            EXPECT_EQ(shape.writeBytes, group.sent.bytes);
            EXPECT_EQ(shape.readBytes, group.received.bytes);
            EXPECT_EQ(shape.writeType, group.sent.type);
            EXPECT_EQ(shape.readType, group.received.type);
        }
    }
}

}  // namespace
