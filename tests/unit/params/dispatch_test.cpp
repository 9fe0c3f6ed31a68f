#include <gmock/gmock.h>

#include "params/accessors.h"
#include "support/core/trace_capture.h"

#include "rich_camera.h"

using support::TraceCapture;
using testing::Contains;
using testing::HasSubstr;

TEST(Dispatch, UnknownParameterIsMerelyNotAvailable) {
    support::TestCamera camera;
    TraceCapture trace;
    constexpr uns32 unknown = 0x06029999;
    EXPECT_EQ(Get<uns16>(unknown, ATTR_AVAIL), 0);
    uns16 type = 0;
    EXPECT_EQ(bv_get_param(0, unknown, ATTR_TYPE, &type), 0);
    EXPECT_TRUE(trace.failed_with(C2_NOT_AVAILABLE, "Unhandled parameter"));
    EXPECT_EQ(Put<uns16>(unknown, 1), 0);
    EXPECT_TRUE(trace.failed_with(C2_NOT_AVAILABLE, "Parameter not available"));
}

TEST(Dispatch, RefusalToWriteNamesTheAccess) {
    RichCamera camera;
    TraceCapture trace;
    EXPECT_EQ(Put<uns32>(PARAM_CHIP_NAME, 0), 0);
    EXPECT_TRUE(trace.failed_with(C2_FAILED_TO_SET_VALUE,
                                  "Parameter not writable, access type is ACC_READ_ONLY(1)"));
    EXPECT_EQ(Put<uns16>(PARAM_FRAME_CAPABLE, 1), 0);
    EXPECT_TRUE(trace.failed_with(
        C2_FAILED_TO_SET_VALUE, "Parameter not writable, access type is ACC_EXIST_CHECK_ONLY(3)"));
    EXPECT_EQ(camera.writes().size(), 0u);
}

TEST(Dispatch, GetterTracesItsValueInTheFormOfItsType) {
    RichCamera camera;
    TraceCapture trace;
    uns32 fwell = 0;
    bv_get_param(0, PARAM_FWELL_CAPACITY, ATTR_CURRENT, &fwell);
    const std::string storage = bv::FormatPointer(&fwell);
    EXPECT_THAT(trace.messages(bv::log_debug),
                testing::ElementsAre(
                    "bv_get_param: ENTER (hcam=0, param_id=PARAM_FWELL_CAPACITY(0x070201fa), "
                    "param_attribute=ATTR_CURRENT(0), param_value=" +
                        storage + ")",
                    "bv_get_fwell_capacity: ENTER (hcam=0, param_attribute=ATTR_CURRENT(0), "
                    "param_value=" +
                        storage + ")",
                    "bv_get_fwell_capacity: RETURN (OZ_OK, *param_value=30000)",
                    "bv_get_param: RETURN (OZ_OK, *param_value=<see nested calls>)"));
    trace.clear();
    flt64 time = 0;
    char name[32];
    bv_get_param(0, PARAM_EXP_MIN_TIME, ATTR_CURRENT, &time);
    bv_get_param(0, PARAM_CHIP_NAME, ATTR_CURRENT, name);
    EXPECT_THAT(trace.messages(), Contains("bv_get_exp_min_time: RETURN (OZ_OK, "
                                           "*param_value=2.500000)"));
    EXPECT_THAT(trace.messages(), Contains("bv_get_chip_name: RETURN (OZ_OK, "
                                           "*param_value='KX-512')"));
}

TEST(Dispatch, FailureWordsOfGetters) {
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

TEST(Dispatch, ClearingCountersReadsNoValue) {
    RichCamera camera;
    EXPECT_EQ(bv_set_param(0, PARAM_BOF_EOF_CLR, nullptr), 1);
    EXPECT_THAT(camera.camera().ioctl_codes(), testing::ElementsAre(DV_CLEAR_IRQS));
}

TEST(Dispatch, AttributeWithoutTheDispatcher) {
    RichCamera camera;
    TraceCapture trace;
    uns16 cycles = 0;
    EXPECT_EQ(bv_get_attribute(0, PARAM_CLEAR_CYCLES, ATTR_CURRENT, &cycles), 1);
    EXPECT_EQ(cycles, 3);
    EXPECT_THAT(trace.messages(), testing::Not(Contains(HasSubstr("bv_get_param"))));
    uns16 preflash = 0;
    EXPECT_EQ(bv_get_preflash(0, ATTR_CURRENT, &preflash), 1);
    EXPECT_EQ(preflash, 9);
}

TEST(Dispatch, InterruptParameterSurvivesADriverThatCannotTell) {
    support::TestCamera camera;
    camera.camera().refuse(DV_GET_VER);
    EXPECT_EQ(Get<uns16>(PARAM_BOF_EOF_ENABLE, ATTR_AVAIL), 0);
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), 0);
}

TEST(Dispatch, HiddenSizesAreStillRead) {
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

TEST(Dispatch, ExposureModeHidesTheExposeOutMode) {
    RichCamera camera;
    camera.cam_info().exp_mode = 0x0903;
    EXPECT_EQ(Get<int32>(PARAM_EXPOSURE_MODE), 0x0900);
    EXPECT_EQ(Get<int32>(PARAM_EXPOSE_OUT_MODE), 3);
    camera.cam_info().exp_mode = BULB_MODE;
    EXPECT_EQ(Get<int32>(PARAM_EXPOSURE_MODE), BULB_MODE);
}

TEST(Dispatch, ExposureTimeInTheChosenUnit) {
    RichCamera camera;
    camera.reads().exp_res_total = 4;
    const std::pair<uns16, uns64> expected[] = {{0, 5}, {1, 5999}, {2, 0}};
    for (const auto& [resolution, time] : expected) {
        camera.cfg().exp_res_index = resolution;
        EXPECT_EQ(Get<uns64>(PARAM_EXPOSURE_TIME), time);
    }
    camera.cfg().exp_res_index = 3;
    EXPECT_TRUE(Fails(PARAM_EXPOSURE_TIME, ATTR_CURRENT, C0_EXPOSURE_OUT_OF_RANGE));

    camera.reads().cap_exposure_time = 0;
    camera.cfg().exp_res_index = EXP_RES_ONE_MICROSEC;
    const std::pair<uns32, uns64> clamped[] = {{5, 20}, {500, 500}, {1000000, 900000}};
    for (const auto& [set_up, shown] : clamped) {
        camera.cache().exposure_time = set_up;
        EXPECT_EQ(Get<uns64>(PARAM_EXPOSURE_TIME), shown);
    }
}

TEST(Dispatch, FrameBufferOfASequence) {
    RichCamera camera;
    camera.cam_info().buf_mode = CIRC_NONE;
    for (int16 attribute : {ATTR_CURRENT, ATTR_MIN, ATTR_DEFAULT}) {
        EXPECT_EQ(Get<uns64>(PARAM_FRAME_BUFFER_SIZE, attribute), 123u);
    }
    // Frames larger than the ring is by default, and none at all.
    camera.cam_info().buf_mode = CIRC_OVERWRITE;
    camera.decode_info().frame_bytes = 65536;
    EXPECT_EQ(Get<uns64>(PARAM_FRAME_BUFFER_SIZE, ATTR_DEFAULT), 65536u * 2048);
    camera.decode_info().frame_bytes = 0;
    EXPECT_EQ(Get<uns64>(PARAM_FRAME_BUFFER_SIZE, ATTR_MAX), 0u);
    EXPECT_EQ(Get<uns64>(PARAM_FRAME_BUFFER_SIZE, ATTR_DEFAULT), 0u);
}

TEST(Dispatch, ColourOfTheSensor) {
    RichCamera camera;
    camera.reads().cap_color_mask = 0;
    EXPECT_EQ(Get<int32>(PARAM_COLOR_MODE), COLOR_RGGB);
    camera.reads().cap_color = 0;
    camera.reads().cap_color_mask = 1;
    EXPECT_EQ(Get<int32>(PARAM_COLOR_MODE), COLOR_NONE);
    EXPECT_EQ(camera.writes().size(), 0u);
}

TEST(Dispatch, InterfaceModeOfAnUnknownInterface) {
    RichCamera camera;
    TraceCapture trace;
    camera.firmware().reply(GET_CAM_IFC_TYPE_CURRENT, 4, 999);
    EXPECT_TRUE(Fails(PARAM_CAM_INTERFACE_MODE, ATTR_CURRENT, C3_INVALID_CAPABILITIES));
    EXPECT_TRUE(
        trace.failed_with(C3_INVALID_CAPABILITIES, "Invalid capabilities, unknown interface type"));
}

TEST(Dispatch, DefaultClearModeDependsOnWhoseListItIs) {
    RichCamera camera;
    EXPECT_EQ(Get<int32>(PARAM_CLEAR_MODE, ATTR_DEFAULT), 2);
    camera.reads().nvp_caps = 0;
    EXPECT_EQ(Get<int32>(PARAM_CLEAR_MODE, ATTR_DEFAULT), CLEAR_PRE_EXPOSURE);
}

TEST(Dispatch, SetpointThatCannotChange) {
    RichCamera camera;
    camera.reads().temp_min = camera.reads().temp_max;
    EXPECT_EQ(Get<uns32>(PARAM_TEMP_SETPOINT, ATTR_COUNT), 1u);
    EXPECT_EQ(Get<int16>(PARAM_TEMP_SETPOINT, ATTR_INCREMENT), 0);
}

TEST(Dispatch, BinningBeforeASetupIsTheFirst) {
    RichCamera camera;
    camera.cam_info().script_valid = 0;
    EXPECT_EQ(Get<int32>(PARAM_BINNING_PAR), 1);
    EXPECT_EQ(Get<uns16>(PARAM_ROI_COUNT), 1);
}

struct ShutterCase {
    const char* table;
    int16 status;
};

TEST(StatusTable, Shutter) {
    support::TestCamera camera;
    const ShutterCase cases[] = {
        {"00 00 00 00 00 00 00 00 1F 00", SHTR_OPENING},
        {"00 00 00 00 00 00 00 00 20 00", SHTR_OPEN},
        {"FF FF FF FF FF FF FF F7 40 00", SHTR_CLOSING},
        {"00 00 00 00 00 00 00 00 80 00", SHTR_CLOSED},
        {"00 00 00 00 00 00 00 00 30 00", SHTR_FAULT},
        {"00 00 00 00 00 00 00 08 20 00", SHTR_FAULT},
    };
    for (const ShutterCase& c : cases) {
        camera.firmware().reply(STAT_TABLE, support::hex(c.table));
        int16 status = -1;
        EXPECT_EQ(bv_shtr_get_status(0, &status), 1);
        EXPECT_EQ(status, c.status) << c.table;
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
