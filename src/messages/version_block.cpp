#include "messages/version_block.h"

#include <algorithm>

namespace bv {
namespace {

constexpr bool IsPrintable(uns8 c) {
    return c >= 32 && c <= 126;
}
constexpr bool IsVisible(uns8 c) {
    return c >= 33 && c <= 126;
}

// Drops what comes before the first visible character and cuts at the first unprintable one.
std::string Cleanse(std::span<const uns8> text) {
    const auto begin = std::ranges::find_if(text, IsVisible);
    const auto end = std::find_if_not(begin, text.end(), IsPrintable);
    return {begin, end};
}

}  // namespace

std::string TrimWhiteSpace(const std::string& text) {
    constexpr const char* white_space = " \t\n\v\f\r";
    const size_t begin = text.find_first_not_of(white_space);
    if (begin == std::string::npos) return {};
    return text.substr(begin, text.find_last_not_of(white_space) - begin + 1);
}

VersionBlock ParseVersionBlock(std::span<const uns8> block) {
    VersionBlock versions;
    while (block.size() >= 2 && block[0] != 0 && IsPrintable(block[1])) {
        const uns8 tag = block[0];
        const std::span<const uns8> rest = block.subspan(1);
        const auto terminator = std::ranges::find(rest, uns8{0});
        if (tag >= VersionBlock::first_tag && tag <= VersionBlock::last_tag) {
            versions.texts[static_cast<size_t>(tag - VersionBlock::first_tag)] =
                TrimWhiteSpace(Cleanse({rest.begin(), terminator}));
        }
        block = {std::find_if(terminator, rest.end(), [](uns8 c) { return c != 0; }), rest.end()};
    }
    return versions;
}

std::string DescribeNode(uns8 node_id, const std::string& name, const VersionBlock& versions) {
    return name + (node_id == 0 ? "(I/F)" : "(CAM)") + " - " + versions.text(7) + " @ " +
           versions.text(4) + '.' + versions.text(5) + '.' + versions.text(6);
}

}  // namespace bv
