#include <gmock/gmock.h>

#include "params/accessors.h"
#include "support/core/trace_capture.h"

#include "rich_camera.h"

using support::TraceCapture;
using testing::Contains;
using testing::HasSubstr;

class Dispatch : public RichCameraTest {};

TEST(PlainCamera, UnknownParameterIsMerelyNotAvailable) {
    support::TestCamera camera;
    TraceCapture trace;
    constexpr uns32 unknown = 0x06029999;
    EXPECT_EQ(Get<uns16>(unknown, ATTR_AVAIL), 0);
    uns16 type = 0;
    EXPECT_TRUE(trace.refused(bv_get_param(0, unknown, ATTR_TYPE, &type), C2_NOT_AVAILABLE,
                              "Unhandled parameter"));
    EXPECT_TRUE(trace.refused(Put<uns16>(unknown, 1), C2_NOT_AVAILABLE, "Parameter not available"));
}

TEST_F(Dispatch, RefusalToWriteNamesTheAccess) {
    EXPECT_TRUE(trace_.refused(Put<uns32>(PARAM_CHIP_NAME, 0), C2_FAILED_TO_SET_VALUE,
                               "Parameter not writable, access type is ACC_READ_ONLY(1)"));
    EXPECT_TRUE(trace_.refused(Put<uns16>(PARAM_FRAME_CAPABLE, 1), C2_FAILED_TO_SET_VALUE,
                               "Parameter not writable, access type is ACC_EXIST_CHECK_ONLY(3)"));
    EXPECT_EQ(camera_.writes().size(), 0u);
}

TEST_F(Dispatch, GetterTracesItsValueInTheFormOfItsType) {
    uns32 fwell = 0;
    bv_get_param(0, PARAM_FWELL_CAPACITY, ATTR_CURRENT, &fwell);
    const std::string storage = bv::FormatPointer(&fwell);
    EXPECT_THAT(trace_.messages(bv::log_debug),
                testing::ElementsAre(
                    "bv_get_param: ENTER (hcam=0, param_id=PARAM_FWELL_CAPACITY(0x070201fa), "
                    "param_attribute=ATTR_CURRENT(0), param_value=" +
                        storage + ")",
                    "bv_get_fwell_capacity: ENTER (hcam=0, param_attribute=ATTR_CURRENT(0), "
                    "param_value=" +
                        storage + ")",
                    "bv_get_fwell_capacity: RETURN (OZ_OK, *param_value=30000)",
                    "bv_get_param: RETURN (OZ_OK, *param_value=<see nested calls>)"));
    trace_.clear();
    flt64 time = 0;
    char name[32];
    bv_get_param(0, PARAM_EXP_MIN_TIME, ATTR_CURRENT, &time);
    bv_get_param(0, PARAM_CHIP_NAME, ATTR_CURRENT, name);
    EXPECT_THAT(trace_.messages(), Contains("bv_get_exp_min_time: RETURN (OZ_OK, "
                                            "*param_value=2.500000)"));
    EXPECT_THAT(trace_.messages(), Contains("bv_get_chip_name: RETURN (OZ_OK, "
                                            "*param_value='KX-512')"));
}

TEST(PlainCamera, FailureWordsOfGetters) {
    support::TestCamera camera;
    camera.reads().cap_clearing_time = 1;
    TraceCapture trace;
    EXPECT_TRUE(Fails(PARAM_METADATA_ENABLED, ATTR_CURRENT, C2_NOT_AVAILABLE));
    EXPECT_EQ(trace.last_error(), "bv_get_metadata_enabled: Parameter not available");
    EXPECT_TRUE(Fails(PARAM_CLEARING_TIME, ATTR_MIN, C0_ACQ_NOT_CONFIGURED));
    EXPECT_EQ(trace.last_error(),
              "bv_get_clearing_time: Parameter not available before first setup");
    EXPECT_TRUE(Fails(PARAM_CLEAR_CYCLES, -1, C2_NOT_AVAILABLE));
    EXPECT_EQ(trace.last_error(), "bv_get_clear_cycles: Unknown parameter attribute -1");
}

TEST_F(Dispatch, ClearingCountersReadsNoValue) {
    EXPECT_EQ(bv_set_param(0, PARAM_BOF_EOF_CLR, nullptr), 1);
    EXPECT_THAT(camera_.camera().ioctl_codes(), testing::ElementsAre(DV_CLEAR_IRQS));
}

TEST_F(Dispatch, AttributeWithoutTheDispatcher) {
    uns16 cycles = 0;
    EXPECT_EQ(bv_get_attribute(0, PARAM_CLEAR_CYCLES, ATTR_CURRENT, &cycles), 1);
    EXPECT_THAT(trace_.messages(), testing::Not(Contains(HasSubstr("bv_get_param"))));
    uns16 preflash = 0;
    EXPECT_EQ(bv_get_preflash(0, ATTR_CURRENT, &preflash), 1);
    EXPECT_EQ(preflash, 9);
}

TEST(PlainCamera, InterruptParameterSurvivesADriverThatCannotTell) {
    support::TestCamera camera;
    camera.camera().refuse(DV_GET_VER);
    EXPECT_EQ(Get<uns16>(PARAM_BOF_EOF_ENABLE, ATTR_AVAIL), 0);
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), 0);
}

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

TEST_F(Dispatch, ColourOfTheSensor) {
    camera_.reads().cap_color_mask = 0;
    EXPECT_EQ(Get<int32>(PARAM_COLOR_MODE), COLOR_RGGB);
    camera_.reads().cap_color = 0;
    camera_.reads().cap_color_mask = 1;
    EXPECT_EQ(Get<int32>(PARAM_COLOR_MODE), COLOR_NONE);
    EXPECT_EQ(camera_.writes().size(), 0u);
}

TEST_F(Dispatch, InterfaceModeOfAnUnknownInterface) {
    camera_.firmware().reply(GET_CAM_IFC_TYPE_CURRENT, 4, 999);
    EXPECT_TRUE(Fails(PARAM_CAM_INTERFACE_MODE, ATTR_CURRENT, C3_INVALID_CAPABILITIES));
    EXPECT_TRUE(trace_.failed_with(C3_INVALID_CAPABILITIES,
                                   "Invalid capabilities, unknown interface type"));
}

TEST_F(Dispatch, DefaultClearModeDependsOnWhoseListItIs) {
    EXPECT_EQ(Get<int32>(PARAM_CLEAR_MODE, ATTR_DEFAULT), 2);
    camera_.reads().nvp_caps = 0;
    EXPECT_EQ(Get<int32>(PARAM_CLEAR_MODE, ATTR_DEFAULT), CLEAR_PRE_EXPOSURE);
}

TEST_F(Dispatch, SetpointThatCannotChange) {
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

TEST(StatusTable, ContinuousClearing) {
    support::TestCamera camera;
    const std::pair<const char*, int16> cases[] = {{"00 00 00 00 00 00 00 00 00 03", 3},
                                                   {"00 00 00 00 00 00 00 00 00 04", 0},
                                                   {"00 00 00 00 00 00 00 00 01 00", 0}};
    for (const auto& [table, expected] : cases) {
        camera.firmware().reply(STAT_TABLE, support::hex(table));
        int16 status = -1;
        EXPECT_EQ(bv_ccs_get_status(0, &status), 1);
        EXPECT_EQ(status, expected) << table;
    }
    camera.firmware().reply(STAT_TABLE_SIZE, 1, 9);
    int16 status = -1;
    EXPECT_EQ(bv_ccs_get_status(0, &status), 0);
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C2_NOT_AVAILABLE);
}
