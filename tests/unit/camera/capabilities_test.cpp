#include "camera/capabilities.h"

#include <array>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/core/test_camera.h"

using support::hex;
using testing::ElementsAre;

namespace {

// The flags of the other bits are seen in the software cameras.
TEST(Capabilities, BitsThatNoSoftwareCameraHas) {
    const std::pair<const char*, uns16 cam_reads_type::*> bits[] = {
        {"02000000 00000000", &cam_reads_type::cap_color},
        {"04000000 00000000", &cam_reads_type::accum_capable},
        {"20000000 00000000", &cam_reads_type::cap_color_mask},
        {"00040000 00000000", &cam_reads_type::cap_flash_dwnld},
    };
    for (const auto& [bytes, set] : bits) {
        SCOPED_TRACE(bytes);
        std::array<uns8, capability_bytes> word{};
        std::ranges::copy(hex(bytes), word.begin());
        cam_reads_type reads;
        bv::SpreadCapabilities(word, reads);
        for (const auto& [other, flag] : bits) EXPECT_EQ(reads.*flag, flag == set ? 1 : 0);
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

TEST(Capabilities, OneExchangeBesideThatOfThePorts) {
    support::TestCamera camera;
    camera.firmware().reply(FRAME_CAP, 1, 0x03).reply(SUM_WELL_PRESENT, 1, 0xFE);
    EXPECT_EQ(bv_cam_get_capabilities(camera.hcam), 1);
    EXPECT_THAT(camera.writes(),
                ElementsAre(hex("3F 0007 26 3B 08 17 28 000A"), hex("3F 0005 26 1A 28 0001")));
    EXPECT_EQ(camera.reads().frame_capable, 1);
    EXPECT_EQ(camera.reads().summing_well, 0);
}

}  // namespace
