#pragma once

#include <array>
#include <span>
#include <string>

#include "orvex/orvex_types.h"

namespace bv {

// Texts of a node's version block, by tag.
struct VersionBlock {
    static constexpr uns8 first_tag = 4;
    static constexpr uns8 last_tag = 9;

    const std::string& text(uns8 tag) const { return texts[static_cast<size_t>(tag - first_tag)]; }

    std::array<std::string, last_tag - first_tag + 1> texts;
};

// A block is a run of (tag, zero-terminated text, any zeros); tag 0, an unprintable text or the end
// of the block ends it.
VersionBlock ParseVersionBlock(std::span<const uns8> block);

// "name(I/F) - t7 @ t4.t5.t6" for node 0, "(CAM)" for the others.
std::string DescribeNode(uns8 node_id, const std::string& name, const VersionBlock& versions);

// Without white space at both ends.
std::string TrimWhiteSpace(const std::string& text);

}  // namespace bv
