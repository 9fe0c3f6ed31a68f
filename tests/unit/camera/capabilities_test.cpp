#include "camera/capabilities.h"

#include <array>
#include <gmock/gmock.h>

#include "support/core/test_camera.h"

using support::hex;
using testing::ElementsAre;

namespace {

struct BitOfFlag {
    const char* name;
    size_t byte;
    uns8 mask;
    uns16 cam_reads_type::* flag;
};

#define FLAG(byte, mask, flag) {#flag, byte, mask, &cam_reads_type::flag}
const BitOfFlag bits[] = {FLAG(0, 0x01, cap_adc_offset),       FLAG(0, 0x02, cap_color),
                          FLAG(0, 0x08, cap_exp_res),          FLAG(0, 0x10, cap_io),
                          FLAG(0, 0x20, cap_color_mask),       FLAG(0, 0x40, cap_head_ser_num),
                          FLAG(1, 0x02, cap_fw_full_version),  FLAG(0, 0x80, cap_parallel_clear),
                          FLAG(0, 0x04, accum_capable),        FLAG(1, 0x01, cap_gain_mult),
                          FLAG(1, 0x04, cap_flash_dwnld),      FLAG(1, 0x08, cap_pp),
                          FLAG(1, 0x10, cap_tidal_stream),     FLAG(1, 0x20, cap_readout_time),
                          FLAG(1, 0x80, cap_actual_gain),      FLAG(1, 0x40, cap_gain_name),
                          FLAG(2, 0x01, cap_system_name),      FLAG(2, 0x02, cap_vendor_name),
                          FLAG(2, 0x80, cap_product_name),     FLAG(3, 0x01, cap_part_number),
                          FLAG(3, 0x02, cap_exposure_time),    FLAG(3, 0x04, cap_clearing_time),
                          FLAG(3, 0x08, cap_trigger_delays),   FLAG(3, 0x10, cap_post_abort_delay),
                          FLAG(3, 0x40, cap_stop_acquisition), FLAG(2, 0x04, cap_multiport),
                          FLAG(2, 0x08, cap_roi_count),        FLAG(2, 0x10, cap_centroids),
                          FLAG(2, 0x20, cap_metadata),         FLAG(2, 0x40, cap_ext_metadata),
                          FLAG(4, 0x04, cap_extended)};

// All flags that are set after spreading these bytes.
std::vector<std::string> FlagsOf(const std::array<uns8, capability_bytes>& bytes) {
    cam_reads_type reads;
    for (const BitOfFlag& bit : bits) reads.*bit.flag = 7;
    bv::SpreadCapabilities(bytes, reads);
    std::vector<std::string> names;
    for (const BitOfFlag& bit : bits) {
        EXPECT_LE(reads.*bit.flag, 1) << bit.name;
        if (reads.*bit.flag) names.push_back(bit.name);
    }
    return names;
}

TEST(Capabilities, EachBitSetsItsFlagAlone) {
    for (const BitOfFlag& bit : bits) {
        std::array<uns8, capability_bytes> bytes{};
        bytes[bit.byte] = bit.mask;
        EXPECT_THAT(FlagsOf(bytes), ElementsAre(bit.name));
    }
}

struct SecondWord {
    const char* bytes;
    uns16 extended;
    uns16 inverted;
};

TEST(Capabilities, SecondWordMayBeInverted) {
    for (const auto& [bytes, extended, inverted] :
         {SecondWord{"00000000 00000080", 1, 1}, SecondWord{"00000000 04000080", 0, 1},
          SecondWord{"00000000 00000000", 0, 0}, SecondWord{"00000000 04000000", 1, 0},
          SecondWord{"00000000 FBFFFF7F", 0, 0}, SecondWord{"00000000 FBFFFFFF", 1, 1}}) {
        SCOPED_TRACE(bytes);
        std::array<uns8, capability_bytes> word{};
        std::ranges::copy(hex(bytes), word.begin());
        cam_reads_type reads;
        bv::SpreadCapabilities(word, reads);
        EXPECT_EQ(reads.cap_extended, extended);
        EXPECT_EQ(reads.caps_inverted, inverted);
        EXPECT_EQ(reads.cap_part_number, 0) << "the first word never is";
    }
}

}  // namespace
