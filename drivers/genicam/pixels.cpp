#include "genicam/pixels.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>

namespace genicam {
namespace {

constexpr std::array formats = {
    PixelFormat{0x01100007, "Mono16", 16, Packing::words},
    PixelFormat{0x01100025, "Mono14", 14, Packing::words},
    PixelFormat{0x01100005, "Mono12", 12, Packing::words},
    PixelFormat{0x010C0047, "Mono12p", 12, Packing::stream},
    PixelFormat{0x010C0006, "Mono12Packed", 12, Packing::pairs},
    PixelFormat{0x01100003, "Mono10", 10, Packing::words},
    PixelFormat{0x010A0046, "Mono10p", 10, Packing::stream},
    PixelFormat{0x010C0004, "Mono10Packed", 10, Packing::pairs},
    PixelFormat{0x01080001, "Mono8", 8, Packing::bytes},
};

// Each makes `count` pixels from the one of that number on.

void FromBytes(const uint8_t* source, uint64_t first, uint32_t count, uint16_t* pixels) {
    std::copy_n(source + first, count, pixels);
}

void FromWords(const uint8_t* source, uint64_t first, uint32_t count, uint16_t* pixels) {
    std::memcpy(pixels, source + first * 2, size_t{count} * 2);
}

// All begin at even bits, so that each is in two bytes.
template <uint32_t bits>
void FromStream(const uint8_t* source, uint64_t first, uint32_t count, uint16_t* pixels) {
    constexpr uint32_t mask = (1u << bits) - 1;
    const uint8_t* const begin = source + first * bits / 8;
    uint32_t bit = first * bits % 8;
    for (uint32_t i = 0; i < count; ++i, bit += bits) {
        const uint8_t* from = begin + bit / 8;
        const uint32_t both = from[0] | static_cast<uint32_t>(from[1]) << 8;
        pixels[i] = static_cast<uint16_t>(both >> bit % 8 & mask);
    }
}

// The low bits of the first pixel of a pair are the lowest ones of the byte in the middle, those of
// the second begin with its bit 4.
template <uint32_t bits>
void FromPairs(const uint8_t* source, uint64_t first, uint32_t count, uint16_t* pixels) {
    constexpr uint32_t low_bits = bits - 8;
    constexpr uint32_t mask = (1u << low_bits) - 1;
    for (uint32_t i = 0; i < count; ++i) {
        const uint8_t* pair = source + (first + i) / 2 * 3;
        const bool second = (first + i) % 2 != 0;
        const uint32_t high = pair[second ? 2 : 0];
        const uint32_t low = pair[1] >> (second ? 4 : 0) & mask;
        pixels[i] = static_cast<uint16_t>(high << low_bits | low);
    }
}

auto Unpacker(const PixelFormat& format) {
    switch (format.packing) {
        case Packing::bytes: return FromBytes;
        case Packing::words: return FromWords;
        case Packing::stream: return format.bits == 10 ? FromStream<10> : FromStream<12>;
        case Packing::pairs: break;
    }
    return format.bits == 10 ? FromPairs<10> : FromPairs<12>;
}

}  // namespace

uint32_t PixelFormat::WholeBytes() const {
    return 8 / std::gcd(StoredBits(), 8u);
}

std::span<const PixelFormat> PixelFormats() {
    return formats;
}

const PixelFormat* FindPixelFormat(uint32_t code) {
    const auto* found = std::ranges::find(formats, code, &PixelFormat::code);
    return found == formats.end() ? nullptr : &*found;
}

PixelReader::PixelReader(const PixelFormat& format, const Window& window, const rgn_type& region)
    : format_(&format),
      window_(window),
      region_(region),
      line_(size_t{Columns(region)} * region.sbin) {
    if (region.sbin > 1 || region.pbin > 1) sums_.resize(Columns(region));
}

size_t PixelReader::LineBytes(uint32_t line_padding) const {
    return (size_t{window_.width} * format_->StoredBits() + 7) / 8 + line_padding;
}

size_t PixelReader::SourceBytes(uint32_t line_padding) const {
    if (line_padding > 0) return LineBytes(line_padding) * window_.height;
    return (size_t{window_.width} * window_.height * format_->StoredBits() + 7) / 8;
}

void PixelReader::ReadLine(engine::Bytes source, uint32_t line, uint32_t line_padding,
                           uint16_t* pixels) {
    const uint64_t row = region_.p1 - window_.top + line;
    const uint64_t column = region_.s1 - window_.left;
    const uint32_t count = Columns(region_) * region_.sbin;
    // Without bytes behind the lines, the next one may begin in the middle of a byte.
    if (line_padding == 0)
        Unpacker (*format_)(source.data(), row* window_.width + column, count, pixels);
    else
        Unpacker (*format_)(source.data() + row * LineBytes(line_padding), column, count, pixels);
}

void PixelReader::SumRow(engine::Bytes source, uint32_t row, uint32_t line_padding,
                         uint16_t* pixels) {
    std::ranges::fill(sums_, 0);
    for (uint32_t line = 0; line < region_.pbin; ++line) {
        ReadLine(source, row * region_.pbin + line, line_padding, line_.data());
        const uint16_t* from = line_.data();
        for (uint32_t& sum : sums_)
            for (uint32_t i = 0; i < region_.sbin; ++i) sum += *from++;
    }
    std::ranges::transform(sums_, pixels, [](uint32_t sum) {
        return static_cast<uint16_t>(std::min<uint32_t>(sum, 0xFFFF));
    });
}

void PixelReader::Read(engine::Bytes source, uint32_t line_padding, std::span<uint8_t> frame) {
    const size_t row_bytes = size_t{Columns(region_)} * 2;
    // An application may have its buffer at an odd address.
    const bool aligned = reinterpret_cast<uintptr_t>(frame.data()) % alignof(uint16_t) == 0;
    uint8_t* place = frame.data();
    for (uint32_t row = 0; row < Rows(region_); ++row, place += row_bytes) {
        uint16_t* pixels = aligned ? reinterpret_cast<uint16_t*>(place) : line_.data();
        if (sums_.empty())
            ReadLine(source, row, line_padding, pixels);
        else
            SumRow(source, row, line_padding, pixels);
        if (!aligned) std::memcpy(place, pixels, row_bytes);
    }
}

}  // namespace genicam
