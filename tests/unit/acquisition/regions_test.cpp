#include "acquisition/regions.h"

#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

#include "orvex/orvex_errors.h"

#include "support/core/camera_test.h"

#include "unit/acquisition/setup_camera.h"

// --- validators

struct RegionCase {
    const char* name;
    std::vector<rgn_type> regions;
    std::string failure = {};  // none: accepted
};

using Validator = boolean16 (*)(int16, const rgn_type*, uns16);

class Validators : public support::CameraTest<SetupCamera> {
  protected:
    void ExpectVerdicts(Validator validator, const std::vector<RegionCase>& cases) {
        for (const auto& [name, regions, failure] : cases) {
            SCOPED_TRACE(name);
            EXPECT_EQ(validator(hcam, regions.data(), static_cast<uns16>(regions.size())),
                      failure.empty());
            if (!failure.empty()) {
                EXPECT_TRUE(trace_.failed_with(C3_RGN_INVALID, failure));
            }
        }
    }
};

TEST_F(Validators, Binnings) {
    camera_.reads().cap_extended = 1;
    camera_.reads().ext_caps_flags = EXT_CAPS_BINNING;
    nvp_container& ser = camera_.reads().binning_ser_nvp;
    nvp_container& par = camera_.reads().binning_par_nvp;
    ser.count = par.count = 2;
    ser.items[0].value = 2;
    par.items[0].value = 2;
    ser.items[1].value = 4;
    par.items[1].value = 1;
    ExpectVerdicts(
        oz_validate_binnings,
        {{"FirstPairOfTheTable", {{0, 9, 2, 0, 9, 2}}},
         {"SecondPairOfTheTable", {{0, 9, 4, 0, 9, 1}}},
         {"FactorsOfDifferentPairs", {{0, 9, 4, 0, 9, 2}}, "Camera does not support binning 4x2"},
         {"Zero", {{0, 9, 0, 0, 9, 1}}, "Zero binning not allowed"},
         {"DifferenceComesBeforeZero",
          {{0, 9, 0, 0, 9, 1}, {0, 9, 0, 0, 9, 1}, {0, 9, 0, 0, 9, 2}},
          "Region 2 has different binning"}});
}

// The sensor of the test camera has 512 columns and 256 rows.
TEST_F(Validators, Regions) {
    ExpectVerdicts(
        oz_validate_rois,
        {{"ColumnOutside", {{0, 512, 1, 0, 255, 1}}, "Region 0 lies out of sensor area"},
         {"EdgesOfAllComeFirst",
          {{0, 512, 1, 0, 9, 1}, {5, 4, 1, 0, 9, 1}},
          "Region 1 has left/top edge past right/bottom edge"},
         {"NeighbouringRows", {{0, 9, 1, 0, 9, 1}, {0, 9, 1, 10, 19, 1}}},
         {"SharedCorner", {{0, 9, 1, 0, 9, 1}, {9, 19, 1, 9, 19, 1}}, "Regions 0 and 1 overlap"},
         {"FirstPairInOrder",
          {{0, 9, 1, 0, 9, 1}, {20, 29, 1, 0, 9, 1}, {25, 35, 1, 5, 9, 1}, {0, 9, 1, 5, 9, 1}},
          "Regions 0 and 3 overlap"}});
}

TEST_F(Validators, NoBinningTableMeansAnyPair) {
    const rgn_type odd{0, 9, 3, 0, 9, 7};
    EXPECT_EQ(oz_validate_binnings(hcam, &odd, 1), 1);
    EXPECT_EQ(oz_validate_binnings(hcam, nullptr, 1), 0);
    EXPECT_TRUE(trace_.failed_with(C3_RGN_INVALID, "Null region array"));
    EXPECT_EQ(oz_validate_rois(hcam, nullptr, 1), 0);
    EXPECT_TRUE(trace_.failed_with(C3_RGN_INVALID, "Null region array"));
    EXPECT_EQ(oz_validate_rois(hcam, &odd, 0), 1);
}

// --- arithmetic

struct AxisCase {
    uns16 first, last, binning, size, ports, pixels;
};

TEST(Dimensions, OfAnAxis) {
    const AxisCase cases[] = {
        {3, 3, 1, 100, 1, 1},    {0, 99, 1, 100, 1, 100},
        {0, 98, 2, 100, 1, 49},  {5, 6, 4, 100, 1, 0},  // narrower than its binning
        {0, 99, 3, 100, 2, 32},                         // 16 a section, not 33
        {10, 20, 1, 100, 2, 11}, {60, 69, 5, 100, 2, 2},
        {49, 50, 1, 100, 2, 2},  {0, 99, 1, 101, 2, 100},  // the odd column belongs to no section
    };
    for (const AxisCase& c : cases) {
        EXPECT_EQ(bv::CountAxisPixels(c.first, c.last, c.binning, c.size, c.ports), c.pixels)
            << c.first << ".." << c.last << " by " << c.binning << " on " << c.ports;
    }
}

// --- snapshot

// What a camera's programs can't show: they are of no effect on the frame of an ideal one.
TEST(Snapshot, TakesTheDelaysAndTheModesOfTheSensor) {
    SetupCamera camera;
    camera.firmware().reply(SH_CLOSE_DELAY, 2, 11).reply(SH_OPEN_DELAY, 2, 12);
    camera.reads().preflash = 13;
    camera.reads().preamp_delay = 14;
    camera.reads().mpp_capable = MPP_SELECTABLE;
    camera.cfg().pmode = PMODE_ALT_FT_MPP;
    camera.cfg().exp_res_index = EXP_RES_ONE_MICROSEC;
    active_camera_type cam;
    ASSERT_EQ(bv_get_camera_info(camera.hcam, &cam), 1);
    EXPECT_EQ(cam.shtr_close_delay, 11);
    EXPECT_EQ(cam.shtr_open_delay, 12);
    EXPECT_EQ(cam.preflash, 13);
    EXPECT_EQ(cam.preamp_delay, 14);
    EXPECT_EQ(cam.mpp_selectable, 1);
    EXPECT_TRUE(cam.mpp_on && cam.frame_transfer_on && cam.alt_on);
    EXPECT_EQ(cam.exp_res, EXP_RES_ONE_MICROSEC);
    EXPECT_EQ(cam.io_info, camera.cfg().io_script_info.get());
    EXPECT_EQ(camera.writes().size(), 2u);  // the two delays; all else is known
}

// Such a camera has no choice of the phase; the setup goes on without a code left behind.
TEST(Snapshot, CameraThatKnowsNothingOfMpp) {
    SetupCamera camera;
    camera.reads().mpp_capable = MPP_UNKNOWN;
    std::thread([] { bv::ApiGlobal::SetErrorCode(EXT_OPEN_EXCLUSIVE, 39); }).join();
    active_camera_type cam;
    ASSERT_EQ(bv_get_camera_info(camera.hcam, &cam), 1);
    EXPECT_EQ(cam.mpp_selectable, 0);
    EXPECT_FALSE(bv::ApiGlobal::IsErrorCodeSet());
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), 39) << "another thread's own";
}
