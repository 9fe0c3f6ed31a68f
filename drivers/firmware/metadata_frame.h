#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "orvex/orvex_types.h"

#include "engine/bytes.h"

#include "firmware/spot.h"

namespace firmware {

// What a camera knows about a frame and puts into its header.
struct FrameFacts {
    uint32_t number = 0;
    int64_t begin = 0;  // time stamps as in the notifications, 100 ns
    int64_t end = 0;
    int64_t exposure_ns = 0;
    uint8_t bits = 16;
    uint8_t color = 0;
};

// Bytes of extended metadata behind each region header: three tagged values and an end tag.
constexpr uint16_t region_extension_bytes = 16;

// Builds a frame with metadata in a buffer that keeps its memory from frame to frame.
class MetadataFrame {
  public:
    // `extended`: region headers are followed by extended metadata.
    MetadataFrame(std::vector<uint8_t>& frame, bool extended)
        : frame_(frame), extended_(extended) {}

    void Begin(uint16_t region_count);
    void AddRegion(const rgn_type& region, engine::Bytes pixels, const Spot* spot);
    // A region that is told of without its pixels.
    void AddHeaderOnly(const rgn_type& region, const Spot& spot);
    // Marks the end of the list ahead of the announced count.
    void EndList();
    // Zeros up to the size that the host expects.
    void PadTo(size_t size);

    // Fills in what is known when the frame is read out.
    static void Stamp(std::span<uint8_t> frame, const FrameFacts& facts);

  private:
    void AddHeader(const rgn_type& region, uint8_t flags, const Spot* spot);

    std::vector<uint8_t>& frame_;
    bool extended_;
    uint16_t regions_ = 0;
};

}  // namespace firmware
