#include <gmock/gmock.h>
#include <string>
#include <tuple>

#include "camera/containers.h"
#include "support/core/camera_test.h"

using support::hex;
using testing::ElementsAre;

namespace {

std::vector<std::string> Items(const nvp_container& container) {
    std::vector<std::string> items;
    for (uns16 i = 0; i < container.count; ++i) {
        items.push_back(std::string(container.items[i].name) + "=" +
                        std::to_string(container.items[i].value));
    }
    return items;
}

class CapabilityTables : public support::CameraTest<> {
  protected:
    void Extended(uns32 flags) {
        camera_.reads().cap_extended = 1;
        camera_.reads().ext_caps_flags = flags;
    }

    cam_reads_type& reads_ = camera_.reads();
};

TEST_F(CapabilityTables, Colors) {
    auto build = [this](uns16 color, uns16 mask) {
        reads_.cap_color = color;
        reads_.cap_color_mask = mask;
        EXPECT_EQ(oz_cam_set_colorMode_capabilities(hcam), 1);
        return Items(reads_.color_mode_nvp);
    };
    EXPECT_THAT(build(0, 0), ElementsAre("Grayscale=0"));
    EXPECT_THAT(build(0, 1), ElementsAre("Grayscale=0"));
    EXPECT_THAT(build(1, 0), ElementsAre("Grayscale=0", "Color (RGGB)=2"));
    EXPECT_THAT(build(1, 1), ElementsAre("Grayscale=0", "Color (RGGB)=2", "Color (GRBG)=3",
                                         "Color (GBRG)=4", "Color (BGGR)=5"));
}

TEST_F(CapabilityTables, EachSuppliedListIsReadByItsBitAlone) {
    const std::tuple<uns32, uns8, nvp_container cam_reads_type::*> lists[] = {
        {1, GET_FAN_SPEEDS_SIZE, &cam_reads_type::fan_speed_nvp},
        {2, GET_TRIGTAB_SIGNALS_SIZE, &cam_reads_type::trigtab_signal_nvp},
        {4, GET_CENTROIDS_MODES_SIZE, &cam_reads_type::centroids_mode_nvp},
        {8, GET_CENTROIDS_BG_COUNTS_SIZE, &cam_reads_type::centroids_bg_count_nvp},
        {16, GET_FRAME_DELIVERY_MODES_SIZE, &cam_reads_type::frame_delivery_mode_nvp},
    };
    Extended(EXT_CAPS_NVP);
    for (const auto& [bit, size_command, container] : lists) {
        camera_.camera().forget();
        reads_.nvp_caps = bit;
        camera_.firmware().pairs(size_command, {{3, "Three"}});
        ASSERT_EQ(oz_cam_set_nvpContainers_capabilities(hcam), 1);
        EXPECT_THAT(Items(reads_.*container), ElementsAre("Three=3"));
        EXPECT_EQ(camera_.writes().size(), 2u);
    }
}

class Binning : public CapabilityTables {
  protected:
    boolean16 Build(uns8 type, const char* ser, const char* par) {
        Extended(EXT_CAPS_BINNING);
        reads_.ser_bin_type = reads_.par_bin_type = type;
        reads_.ser_bin_list = hex(ser);
        reads_.par_bin_list = hex(par);
        return oz_cam_set_binning_capabilities(hcam);
    }
};

TEST_F(Binning, RangeGivesPowersOfTwo) {
    EXPECT_EQ(Build(3, "0500", "0200"), 1);
    EXPECT_THAT(Items(reads_.binning_ser_nvp),
                ElementsAre("1x1=1", "1x2=1", "2x1=2", "2x2=2", "4x1=4", "4x2=4"));
    EXPECT_THAT(Items(reads_.binning_par_nvp),
                ElementsAre("1x1=1", "1x2=2", "2x1=1", "2x2=2", "4x1=1", "4x2=2"));
}

TEST_F(Binning, AtMostTwentyPairs) {
    EXPECT_EQ(Build(3, "0800", "0800"), 1);
    EXPECT_EQ(reads_.binning_ser_nvp.count, 16);
    EXPECT_EQ(support::ErrorOf(Build(3, "1000", "1000")), C2_CANNOT_ALLOCATE_MEMORY);
    EXPECT_EQ(Build(3, "FFFF", "0100"), 1) << "16 powers of two in 16 bits";
    EXPECT_EQ(reads_.binning_ser_nvp.items[15].value, 32768);
}

TEST_F(Binning, NoTableWithoutAMatchingPairOfLists) {
    EXPECT_EQ(Build(2, "0800", "0800"), 1);
    EXPECT_EQ(reads_.binning_ser_nvp.count, 0);
    EXPECT_EQ(Build(3, "", "0800"), 1);
    EXPECT_EQ(reads_.binning_ser_nvp.count, 0);
    EXPECT_EQ(Build(4, "0100", "0100"), 1);
    EXPECT_EQ(reads_.binning_ser_nvp.count, 1);
    reads_.par_bin_type = 3;
    EXPECT_EQ(oz_cam_set_binning_capabilities(hcam), 1);
    EXPECT_EQ(reads_.binning_ser_nvp.count, 0);
    EXPECT_TRUE(
        trace_.refused(Build(3, "08", "0800"), C0_INVALID_DATA, "Binning range is incomplete"));
}

class ReadoutPorts : public CapabilityTables {
  protected:
    boolean16 Build(uns8 total) {
        camera_.firmware().reply(TOTAL_PORTS, 1, total);
        return oz_cam_set_readoutPort_capabilities(hcam);
    }
};

TEST_F(ReadoutPorts, MustBeKnown) {
    EXPECT_EQ(Build(0), 1);
    EXPECT_EQ(reads_.port_total, 1);
    EXPECT_THAT(Items(reads_.readout_port_nvp), ElementsAre("Normal=0"));
    EXPECT_TRUE(trace_.refused(Build(3), C2_INDEX_OUT_OF_RANGE, "Unknown readout port index 2"));
    Extended(EXT_CAPS_PORT);
    camera_.firmware().pairs(GET_EXTENDED_READOUT_PORTS_SIZE, {{0, "Fast"}, {7, "Quiet"}});
    EXPECT_EQ(Build(2), 1);
    EXPECT_TRUE(trace_.refused(Build(3), C2_INDEX_OUT_OF_RANGE, "Got 2 readout ports, expected 3"));
}

}  // namespace
