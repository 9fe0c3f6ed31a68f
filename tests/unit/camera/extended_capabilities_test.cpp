#include "camera/extended_capabilities.h"

#include <array>
#include <gmock/gmock.h>

#include "support/core/camera_test.h"

using bv::ExtendedCapabilitiesFault;
using support::Bytes;
using support::hex;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// Every section, with values that tell them apart.
const char* const whole_block =
    "000007F3"                                   // all flags that have a section
    "00000002"                                   // simplified programs
    "03 0004 08000102 A0A1A2A3 0005 0102030405"  // serial binning
    "04 0002 0400 B0B1B2B3 0002 0607"            // parallel binning
    "00000011 00000022 00000033 00000044 00000055"
    "00000001 0002 00000000 0000000A 00001000 00000007 00000001 FFFFFFFF"
    "00000003 00000002 00000203 00000802 00000002 00000001";

struct Reads : cam_reads_type {
    Reads() { exp_range_map = std::make_unique<std::map<int32, exp_range_type>>(); }
};

TEST(ExtendedCapabilities, EverySection) {
    Reads reads;
    ASSERT_EQ(bv::ParseExtendedCapabilities(hex(whole_block), reads),
              ExtendedCapabilitiesFault::none);
    EXPECT_EQ(reads.ext_caps_flags, 0x7F3u);
    EXPECT_EQ(reads.ccl_caps, CCL_CAPS_SIMPLIFIED);
    EXPECT_EQ(reads.ser_bin_type, 3);
    EXPECT_EQ(reads.ser_bin_bytes, 4);
    EXPECT_THAT(reads.ser_bin_list, ElementsAre(8, 0, 1, 2));
    EXPECT_EQ(reads.ser_bin_mask, 0xA0A1A2A3u);
    EXPECT_EQ(reads.ser_bin_extra_bytes, 5);
    EXPECT_THAT(reads.ser_bin_extra, ElementsAre(0x0102, 0x0304));
    EXPECT_EQ(reads.par_bin_type, 4);
    EXPECT_EQ(reads.par_bin_bytes, 2);
    EXPECT_THAT(reads.par_bin_list, ElementsAre(4, 0));
    EXPECT_EQ(reads.par_bin_mask, 0xB0B1B2B3u);
    EXPECT_EQ(reads.par_bin_extra_bytes, 2);
    EXPECT_THAT(reads.par_bin_extra, ElementsAre(0x0607));
    EXPECT_THAT((std::array{reads.trig_caps, reads.sensor_caps, reads.port_caps, reads.nvp_caps,
                            reads.blob_caps}),
                ElementsAre(0x11, 0x22, 0x33, 0x44, 0x55));
    EXPECT_EQ(reads.exp_range_caps, 1u);
    EXPECT_EQ(reads.exp_range_total, 2);
    ASSERT_EQ(reads.exp_ranges.size(), 2u);
    EXPECT_EQ(reads.exp_ranges[0].max, 0x1000u);
    EXPECT_EQ(reads.exp_range_map->at(0).min, 10u);
    EXPECT_EQ(reads.exp_range_map->at(7).max, 0xFFFFFFFFu);
    EXPECT_EQ(reads.ifc_caps, 3u);
    EXPECT_EQ(reads.ifc_total, 2u);
    EXPECT_THAT(reads.ifc_types, ElementsAre(0x203, 0x802, 0, 0, 0, 0, 0, 0));
    EXPECT_THAT(reads.ifc_modes, ElementsAre(2, 1, 0, 0, 0, 0, 0, 0));
}

TEST(ExtendedCapabilities, LimitsOfTheSections) {
    using Fault = ExtendedCapabilitiesFault;
    struct Section {
        const char* name;
        std::string block;
        Fault fault;
        uns32 ifc_total = 0;
    };
    const std::string eight =
        "00000001 00000002 00000003 00000004 00000005 00000006 00000007 00000008";
    const Section sections[] = {
        {"unknown flags have no section", "FFFFF80C", Fault::none},
        {"empty binning lists", "00000002 03 0000 00000001 0000 03 0000 00000002 0000",
         Fault::none},
        {"no range list", "00000200 00000002", Fault::none},
        {"empty range list", "00000200 00000001 0000", Fault::no_exposure_ranges},
        {"more ranges than bytes", "00000200 00000001 FFFF 000000000000000000000000",
         Fault::truncated},
        {"no count of interfaces", "00000400 00000001 0000", Fault::truncated},
        {"modes without types", "00000400 00000002", Fault::none},
        {"no interfaces", "00000400 00000001 00000000", Fault::interface_count},
        {"eight interfaces", "00000400 00000001 00000008 " + eight, Fault::none, 8},
        {"nine interfaces", "00000400 00000001 00000009 00000009" + eight, Fault::interface_count,
         9},
    };
    for (const Section& section : sections) {
        SCOPED_TRACE(section.name);
        Reads reads;
        EXPECT_EQ(bv::ParseExtendedCapabilities(hex(section.block), reads), section.fault);
        EXPECT_EQ(reads.ifc_total, section.ifc_total);
        EXPECT_THAT(reads.exp_ranges, IsEmpty());
    }
}

class ExtendedCapabilitiesRead : public support::CameraTest<> {
  protected:
    void Offer(const Bytes& block) {
        camera_.reads().cap_extended = 1;
        camera_.firmware()
            .reply(GET_EXTENDED_CAPABILITIES_SIZE, 4, block.size())
            .reply(GET_EXTENDED_CAPABILITIES, block);
    }
    boolean16 Read() { return bv_cam_get_extended_capabilities(hcam); }
};

TEST_F(ExtendedCapabilitiesRead, Refusals) {
    struct BadBlock {
        uns32 size;
        const char* block;
        int16 error;
        const char* text;
    };
    constexpr const char* size_text = "Ext. caps. size is either zero or greater than 65535 bytes";
    for (const auto& [size, block, error, text] :
         {BadBlock{0, "", C2_CANNOT_ALLOCATE_MEMORY, size_text},
          BadBlock{65536, "", C2_CANNOT_ALLOCATE_MEMORY, size_text},
          BadBlock{6, "00000001 0000", C0_INVALID_DATA,
                   "Ext. caps. end before all sections were read"},
          BadBlock{10, "00000200 00000001 0000", C0_INVALID_DATA, "Got no exposure ranges"},
          BadBlock{12, "00000400 00000001 0000000A", C0_INVALID_DATA,
                   "Invalid number of interface types (10)"}}) {
        Offer(hex(block));
        camera_.firmware().reply(GET_EXTENDED_CAPABILITIES_SIZE, 4, size);
        EXPECT_TRUE(trace_.refused(Read(), error, text));
        EXPECT_EQ(camera_.reads().ifc_total, 0u);
    }
}

}  // namespace
