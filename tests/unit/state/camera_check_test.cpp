#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <system_error>
#include <thread>

#include "state/api_locks.h"
#include "state/call.h"
#include "state/camera_tables.h"

#include "unit/log/collected_log.h"

namespace {

class CameraCheck : public testing::Test {
  protected:
    CameraCheck() {
        bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
        orvex_initialized = 1;
        total_cams = 2;
        pg_cam_info = std::make_unique<cam_info_type[]>(2);
        pg_cam_info[1].open = 1;
    }
    ~CameraCheck() override {
        orvex_initialized = 0;
        total_cams = 0;
        pg_cam_info.reset();
    }
};

TEST_F(CameraCheck, AcceptsOpenCamerasOnly) {
    EXPECT_EQ(oz_cam_check(1), 1);
    EXPECT_FALSE(bv::ApiGlobal::IsErrorCodeSet());
    for (int16 hcam : {int16{-1}, int16{0}, int16{2}, int16{32767}, int16{-32768}}) {
        tests::Trace trace;
        bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
        EXPECT_EQ(oz_cam_check(hcam), 0) << hcam;
        EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C0_INVALID_HANDLE) << hcam;
        EXPECT_EQ(api_select_camera_mutex(hcam), nullptr);
        EXPECT_THAT(
            trace.Lines(),
            testing::Contains("E   oz_cam_check: Invalid camera handle or camera not open"));
    }
}

TEST_F(CameraCheck, EachCameraHasItsMutex) {
    pg_cam_info[0].open = 1;
    auto* first = api_select_camera_mutex(0);
    auto* second = api_select_camera_mutex(1);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first, &api_camera_mutexes[0]);
    EXPECT_EQ(second, &api_camera_mutexes[1]);
    first->lock();
    second->lock();
    api_global_mutex.lock();
    EXPECT_THROW(first->lock(), std::system_error);
    api_global_mutex.unlock();
    second->unlock();
    first->unlock();
}

}  // namespace
