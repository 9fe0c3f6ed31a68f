#include "messages/version_block.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace {

using Entries = std::vector<std::pair<uns8, std::string>>;

const std::string zero(1, '\0');

// The wire form of a list of tagged texts.
std::string Block(const Entries& entries) {
    std::string block;
    for (const auto& [tag, text] : entries) block += static_cast<char>(tag) + text + zero;
    return block;
}

bv::VersionBlock Parse(const std::string& block) {
    const std::vector<uns8> bytes(block.begin(), block.end());
    return bv::ParseVersionBlock(bytes);
}

TEST(VersionBlock, TextOfTagFour) {
    const std::pair<std::string, const char*> blocks[] = {
        {"", ""},
        {"\x04", ""},
        {"\x04 1.2", "1.2"},
        {zero + "x" + zero + Block({{4, "1"}}), ""},  // tag zero ends the list
        {Block({{1, "\x1Fx"}, {4, "1"}}), ""},        // and so does what is no text
        {Block({{1, ""}, {4, "1"}}), ""},
        {Block({{4, "  1 2 \t\x80 3"}}), "1 2"},
        {Block({{4, "   "}}), ""},
        {Block({{4, "1"}, {4, "2"}}), "2"},
        {Block({{4, "1"}}) + zero + zero, "1"},
        {Block({{3, "a"}, {10, "b"}, {255, "c"}, {4, "1"}}), "1"},
    };
    for (const auto& [block, text] : blocks) {
        EXPECT_EQ(Parse(block).text(4), text) << testing::PrintToString(block);
    }
}

}  // namespace
