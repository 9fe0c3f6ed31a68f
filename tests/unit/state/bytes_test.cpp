#include "state/bytes.h"

#include <array>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "state/word.h"

using testing::ElementsAre;

namespace {

TEST(Bytes, StandInTheirOrder) {
    std::array<uint8_t, 8> buffer{};
    bv::StoreBigEndian<uint32_t>(buffer.data(), 0x01020304);
    EXPECT_THAT(buffer, ElementsAre(1, 2, 3, 4, 0, 0, 0, 0));
    bv::StoreBigEndian<int16_t>(buffer.data(), -2);
    EXPECT_THAT(buffer, ElementsAre(0xFF, 0xFE, 3, 4, 0, 0, 0, 0));
    EXPECT_EQ(bv::LoadBigEndian<int16_t>(buffer.data()), -2);
    EXPECT_EQ(bv::LoadLittleEndian<uint32_t>(buffer.data()), 0x0403FEFFu);
    bv::StoreBigEndian<uint64_t>(buffer.data(), 0x8000000000000001u);
    EXPECT_EQ(bv::LoadBigEndian<uint64_t>(buffer.data()), 0x8000000000000001u);
    EXPECT_EQ(bv::LoadLittleEndian<uint64_t>(buffer.data()), 0x0100000000000080u);
}

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
}

TEST(BytesReader, EmptyBlocksAreNoOverrun) {
    bv::BigEndianReader reader({});
    EXPECT_TRUE(reader.take_bytes(0).empty());
    EXPECT_FALSE(reader.overrun());
}

TEST(Word, CopiesAndAdds) {
    bv::Word<uint16_t> word{65535};
    bv::Word<uint16_t> copy = word;
    EXPECT_EQ(word.add(2), 1);
    EXPECT_EQ(word, 1);
    EXPECT_EQ(copy, 65535);
    copy = word;
    EXPECT_EQ(copy, 1);
}

}  // namespace
