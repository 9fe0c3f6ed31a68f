
#include "params/accessors.h"
#include "support/core/trace_capture.h"

#include "rich_camera.h"

class Dispatch : public RichCameraTest {};

TEST(PlainCamera, HiddenSizesAreStillRead) {
    support::TestCamera camera;
    camera.reads().sensor_caps = SENSOR_CAPS_HIDDEN;
    camera.cam_info().rws_done = 0;
    camera.firmware().reply(PRE_MASK, 2, 77);
    EXPECT_EQ(Get<uns16>(PARAM_PREMASK, ATTR_AVAIL), 0);
    EXPECT_EQ(camera.writes().size(), 1u);
    EXPECT_EQ(Get<uns16>(PARAM_PREMASK), 77);
    EXPECT_EQ(Get<uns16>(PARAM_PREMASK, ATTR_ACCESS), ACC_READ_WRITE);
    EXPECT_EQ(Get<uns16>(PARAM_PAR_SIZE, ATTR_ACCESS), ACC_READ_ONLY);
    EXPECT_EQ(camera.writes().size(), 1u);
}

TEST_F(Dispatch, ExposureModeHidesTheExposeOutMode) {
    camera_.cam_info().exp_mode = 0x0903;
    EXPECT_EQ(Get<int32>(PARAM_EXPOSURE_MODE), 0x0900);
    EXPECT_EQ(Get<int32>(PARAM_EXPOSE_OUT_MODE), 3);
    camera_.cam_info().exp_mode = BULB_MODE;
    EXPECT_EQ(Get<int32>(PARAM_EXPOSURE_MODE), BULB_MODE);
}

TEST_F(Dispatch, ExposureTimeInTheChosenUnit) {
    camera_.reads().exp_res_total = 4;
    const std::pair<uns16, uns64> expected[] = {{0, 5}, {1, 5999}, {2, 0}};
    for (const auto& [resolution, time] : expected) {
        camera_.cfg().exp_res_index = resolution;
        EXPECT_EQ(Get<uns64>(PARAM_EXPOSURE_TIME), time);
    }
    camera_.cfg().exp_res_index = 3;
    EXPECT_TRUE(Fails(PARAM_EXPOSURE_TIME, ATTR_CURRENT, C0_EXPOSURE_OUT_OF_RANGE));

    camera_.reads().cap_exposure_time = 0;
    camera_.cfg().exp_res_index = EXP_RES_ONE_MICROSEC;
    const std::pair<uns32, uns64> clamped[] = {{5, 20}, {500, 500}, {1000000, 900000}};
    for (const auto& [set_up, shown] : clamped) {
        camera_.cache().exposure_time = set_up;
        EXPECT_EQ(Get<uns64>(PARAM_EXPOSURE_TIME), shown);
    }
}

TEST_F(Dispatch, UsualFrameBufferIsBoundInFramesAndInBytes) {
    for (const auto& [frame_bytes, buffer_bytes] :
         {std::pair{1000u, 2048000u}, {65536u, 134217728u}, {100000u, 134200000u}, {0u, 0u}}) {
        camera_.decode_info().frame_bytes = frame_bytes;
        EXPECT_EQ(Get<uns64>(PARAM_FRAME_BUFFER_SIZE, ATTR_DEFAULT), buffer_bytes);
    }
    EXPECT_EQ(Get<uns64>(PARAM_FRAME_BUFFER_SIZE, ATTR_MAX), 0u) << "without frames";
}

TEST_F(Dispatch, SingleParameters) {
    camera_.reads().cap_color_mask = 0;
    EXPECT_EQ(Get<int32>(PARAM_COLOR_MODE), COLOR_RGGB);
    camera_.reads().cap_color = 0;
    camera_.reads().cap_color_mask = 1;
    EXPECT_EQ(Get<int32>(PARAM_COLOR_MODE), COLOR_NONE);
    EXPECT_EQ(camera_.writes().size(), 0u);

    camera_.firmware().reply(GET_CAM_IFC_TYPE_CURRENT, 4, 999);
    EXPECT_TRUE(Fails(PARAM_CAM_INTERFACE_MODE, ATTR_CURRENT, C3_INVALID_CAPABILITIES));
    EXPECT_TRUE(trace_.failed_with(C3_INVALID_CAPABILITIES,
                                   "Invalid capabilities, unknown interface type"));

    EXPECT_EQ(Get<int32>(PARAM_CLEAR_MODE, ATTR_DEFAULT), 2);
    camera_.reads().nvp_caps = 0;
    EXPECT_EQ(Get<int32>(PARAM_CLEAR_MODE, ATTR_DEFAULT), CLEAR_PRE_EXPOSURE);

    camera_.reads().temp_min = camera_.reads().temp_max;
    EXPECT_EQ(Get<uns32>(PARAM_TEMP_SETPOINT, ATTR_COUNT), 1u);
    EXPECT_EQ(Get<int16>(PARAM_TEMP_SETPOINT, ATTR_INCREMENT), 0);
}

TEST(StatusTable, Shutter) {
    support::TestCamera camera;
    const std::pair<const char*, int16> cases[] = {
        {"00 00 00 00 00 00 00 00 1F 00", SHTR_OPENING},
        {"00 00 00 00 00 00 00 00 20 00", SHTR_OPEN},
        {"FF FF FF FF FF FF FF F7 40 00", SHTR_CLOSING},
        {"00 00 00 00 00 00 00 00 80 00", SHTR_CLOSED},
        {"00 00 00 00 00 00 00 00 30 00", SHTR_FAULT},
        {"00 00 00 00 00 00 00 08 20 00", SHTR_FAULT},
    };
    for (const auto& [table, expected] : cases) {
        camera.firmware().reply(STAT_TABLE, support::hex(table));
        int16 status = -1;
        EXPECT_EQ(bv_shtr_get_status(0, &status), 1);
        EXPECT_EQ(status, expected) << table;
    }
}
