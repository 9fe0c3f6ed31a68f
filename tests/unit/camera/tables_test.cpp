#include "camera/tables.h"

#include <gmock/gmock.h>
#include <string>

#include "camera/open.h"
#include "platform/module.h"
#include "state/api_global.h"
#include "state/camera_tables.h"
#include "support/core/trace_capture.h"
#include "support/exhausted_memory.h"
#include "support/scripted_driver.h"

using testing::Contains;

namespace {

class TablesTest : public testing::Test {
  protected:
    void Publish(int cameras) {
        for (int i = 0; i < cameras; ++i) driver_.add_camera("Cam " + std::to_string(i));
        driver_.publish();
    }
    void TearDown() override {
        oz_cam_uninit_globals();
        orvex_initialized = 0;
    }

    support::ScriptedDriver driver_;
    support::TraceCapture trace_;
};

// The settings themselves are seen through the parameters.
TEST_F(TablesTest, RowsBeginAnew) {
    Publish(2);
    acq_cache[1].exposure_time = 77;
    acq_cache[1].tidal_stream_mode = 1;
    acq_cache[1].tidal_exp_params = {1, 2};
    ASSERT_EQ(oz_cam_init_globals(), 1);
    for (const auto& [resolution, range] : *pg_cam_reads[1].exp_range_map) {
        EXPECT_EQ(range.resolution, static_cast<uns32>(resolution));
    }
    EXPECT_EQ(acq_cache[1].exposure_time, 0u);
    EXPECT_EQ(acq_cache[1].tidal_stream_mode, 0);
    EXPECT_TRUE(acq_cache[1].tidal_exp_params.empty());
}

TEST_F(TablesTest, MachineWithoutCameras) {
    Publish(0);
    EXPECT_TRUE(trace_.refused(oz_cam_check(0), C2_ORVEX_NOT_INITED, "ORVEX is not initialized"));
    ASSERT_EQ(oz_cam_init_globals(), 1);
    orvex_initialized = 1;
    EXPECT_FALSE(pg_cam_info);
    EXPECT_TRUE(trace_.refused(oz_cam_check(0), C0_INVALID_HANDLE,
                               "Invalid camera handle or camera not open"));
    int16 hcam = -1;
    EXPECT_EQ(bv_cam_open("Cam 0", &hcam, EXT_OPEN_EXCLUSIVE), 0);
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C0_CAM_NAME_NOT_FOUND);
}

TEST_F(TablesTest, CamerasBeyondTheSixteenthAreLeftOut) {
    Publish(18);
    ASSERT_EQ(oz_cam_init_globals(), 1);
    orvex_initialized = 1;
    EXPECT_EQ(total_cams, 16);
    EXPECT_THAT(trace_.messages(bv::log_warning),
                Contains("oz_cam_init_globals: The device driver reports 18 cameras, only the "
                         "first 16 are used"));
    int16 hcam = -1;
    EXPECT_EQ(bv_cam_open("Cam 16", &hcam, EXT_OPEN_EXCLUSIVE), 0);
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C0_CAM_NAME_NOT_FOUND);
    EXPECT_EQ(driver_.camera(16).opens(), 0u);
    EXPECT_EQ(bv_cam_open("Cam 15", &hcam, EXT_OPEN_FW_UPDATE), 1);
    EXPECT_EQ(hcam, 15);
    bv_cam_close(hcam);
}

// What was made and loaded before is given back, so that a second attempt works.
TEST_F(TablesTest, TableWithoutMemory) {
    if (!support::address_space_can_be_limited) GTEST_SKIP() << support::no_memory_limit;
    Publish(16);
    // Loading it takes memory too.
    platform::ModuleHandle driver = platform::LoadModule("orvexDDI.dll");
    boolean16 result = 1;
    {
        const support::ExhaustedMemory exhausted;
        result = oz_cam_init_globals();
    }
    platform::ReleaseModule(driver);
    EXPECT_TRUE(trace_.refused(result, C2_CANNOT_ALLOCATE_MEMORY, "Cannot allocate pg_cam_reads"));
    EXPECT_FALSE(pg_cam_info || pg_decode_info || pg_cam_cfg || pg_cam_reads);
    EXPECT_EQ(total_cams, 0);
    EXPECT_EQ(oz_cam_init_globals(), 1);
}

}  // namespace
