#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "orvex/orvex_types.h"

#include "engine/bytes.h"

namespace genicam {

// How pixels lie in what a camera sends.
enum class Packing : uint8_t {
    bytes,
    words,   // 16 bits, least significant byte first, right-aligned
    stream,  // bit after bit without a gap, least significant first
    pairs,   // two pixels in three bytes, of which the one in the middle has the low bits of both
};

struct PixelFormat {
    uint32_t code;  // as in pixel format features and leaders of frames
    std::string_view name;
    uint8_t bits;
    Packing packing;

    // Of a pixel on the wire.
    uint32_t StoredBits() const { return code >> 16 & 0xFF; }
    // Lines of multiples of so many pixels are whole bytes.
    uint32_t WholeBytes() const;
};

// Grey ones, from the deepest on; of one depth, unpacked first.
std::span<const PixelFormat> PixelFormats();
const PixelFormat* FindPixelFormat(uint32_t code);

// The part of the sensor that a camera sends.
struct Window {
    uint32_t left = 0;
    uint32_t top = 0;
    uint32_t width = 0;
    uint32_t height = 0;

    bool operator==(const Window&) const = default;
};

// What a region of sums of pixels is in columns and rows.
inline uint32_t Columns(const rgn_type& region) {
    return (region.s2 - region.s1 + 1u) / region.sbin;
}
inline uint32_t Rows(const rgn_type& region) {
    return (region.p2 - region.p1 + 1u) / region.pbin;
}

// Makes frames of a region out of what a camera sends of a window around it: 16-bit words, right-
// aligned, summed where the region bins; sums end at 65535. Reads and writes every pixel once.
class PixelReader {
  public:
    PixelReader() = default;
    PixelReader(const PixelFormat& format, const Window& window, const rgn_type& region);

    size_t FrameBytes() const { return size_t{Columns(region_)} * Rows(region_) * 2; }
    // What a frame of the camera must have at least, with so many bytes behind each line.
    size_t SourceBytes(uint32_t line_padding) const;
    void Read(engine::Bytes source, uint32_t line_padding, std::span<uint8_t> frame);

  private:
    void ReadLine(engine::Bytes source, uint32_t line, uint32_t line_padding, uint16_t* pixels);
    void SumRow(engine::Bytes source, uint32_t row, uint32_t line_padding, uint16_t* pixels);
    size_t LineBytes(uint32_t line_padding) const;

    const PixelFormat* format_ = nullptr;
    Window window_;
    rgn_type region_{.s1 = 0, .s2 = 0, .sbin = 1, .p1 = 0, .p2 = 0, .pbin = 1};
    std::vector<uint16_t> line_;
    std::vector<uint32_t> sums_;
};

}  // namespace genicam
