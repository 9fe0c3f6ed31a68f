#include "state/bytes.h"

#include <array>
#include <gmock/gmock.h>

#include "state/word.h"

using testing::ElementsAre;

namespace {

TEST(BytesReader, NeverReadsPastTheEnd) {
    const std::array<uint8_t, 5> bytes = {1, 2, 3, 4, 5};
    bv::BigEndianReader reader(bytes);
    EXPECT_EQ(reader.take<uint16_t>(), 0x0102);
    EXPECT_THAT(reader.take_bytes(1), ElementsAre(3));
    EXPECT_EQ(reader.left(), 2u);
    EXPECT_FALSE(reader.overrun());
    EXPECT_EQ(reader.take<uint32_t>(), 0u);
    EXPECT_TRUE(reader.overrun());
    EXPECT_EQ(reader.take<uint8_t>(), 0);
    EXPECT_EQ(reader.left(), 0u);
    EXPECT_TRUE(reader.take_bytes(SIZE_MAX).empty());

    bv::BigEndianReader nothing({});
    EXPECT_TRUE(nothing.take_bytes(0).empty());
    EXPECT_FALSE(nothing.overrun());
}

}  // namespace
