#include <gmock/gmock.h>
#include <limits>

#include "params/accessors.h"
#include "params/io_ports.h"
#include "params/tidal_stream.h"
#include "support/core/trace_capture.h"

#include "rich_camera.h"

using support::hex;
using support::TraceCapture;

namespace {

// What an application writes and what the camera gets.
struct Setting {
    uns32 id;
    int64 value;
    const char* frame;
    orvex_host_command write;
    bool clears;     // the next setup has to make a new program
    bool is_signed;  // how a difference is told
};

const Setting settings[] = {
    {PARAM_ADC_OFFSET, -3, "3F 0008 3D FFFD 26 3C 28 0002", SET_OFFSET, false, true},
    {PARAM_TEMP_SETPOINT, -1500, "3F 0008 2D FA24 26 23 28 0002", SET_TEMP, false, true},
    {PARAM_GAIN_MULT_FACTOR, 7, "3F 0008 55 0007 26 54 28 0002", SET_GAIN_MULT_FACTOR, false,
     false},
    {PARAM_SENSOR_CORRECTION_STATE, 0, "3F 0008 7C 0000 26 7D 28 0002", SET_SENSOR_CORRECTION_STATE,
     false, false},
    {PARAM_FAN_SPEED_SETPOINT, 3, "3F 0008 89 0003 26 88 28 0002", SET_FAN_SPEED_SETPOINT, false,
     true},
    {PARAM_METADATA_ENABLED, 0, "3F 0008 8B 0000 26 8A 28 0002", SET_METADATA_ENABLED, true, false},
    {PARAM_CENTROIDS_ENABLED, 0, "3F 0008 8E 0000 26 8F 28 0002", SET_CENTROIDS_ENABLED, true,
     false},
    {PARAM_CENTROIDS_RADIUS, 5, "3F 0008 91 0005 26 92 28 0002", SET_CENTROIDS_RADIUS, true, false},
    {PARAM_CENTROIDS_COUNT, 258, "3F 0008 94 0102 26 95 28 0002", SET_CENTROIDS_COUNT, true, false},
    {PARAM_CENTROIDS_MODE, 0, "3F 0008 AF 0000 26 B0 28 0002", SET_CENTROIDS_MODE, true, true},
    {PARAM_CENTROIDS_BG_COUNT, 10, "3F 0008 B3 000A 26 B4 28 0002", SET_CENTROIDS_BG_COUNT, false,
     true},
    {PARAM_CENTROIDS_THRESHOLD, 300, "3F 000A B5 0000012C 26 B6 28 0004", SET_CENTROIDS_THRESHOLD,
     false, false},
    {PARAM_FRAME_DELIVERY_MODE, 0, "3F 0008 B9 0000 26 BA 28 0002", SET_FRAME_DELIVERY_MODE, false,
     true},
    {PARAM_SHTR_CLOSE_DELAY, 500, "3F 0008 31 01F4 26 20 28 0002", SET_SH_CLOSE_DELAY, false,
     false},
    {PARAM_SHTR_OPEN_DELAY, 501, "3F 0008 30 01F5 26 1F 28 0002", SET_SH_OPEN_DELAY, false, false},
    {PARAM_TRIGTAB_SIGNAL, 0, "3F 0008 9F 0000 26 9E 28 0002", SET_TRIGTAB_SIGNAL, false, true},
    {PARAM_LAST_MUXED_SIGNAL, 2, "3F 0007 A2 02 26 A1 28 0001", SET_LAST_MUXED_SIGNAL, false,
     false},
    {PARAM_GAIN_INDEX, 3, "3F 0007 2C 03 26 1B 28 0001", SET_SPD_GAIN, false, false},
    {PARAM_SPDTAB_INDEX, 0, "3F 0008 2B 00 26 29 02 28 0003", SELECT_SPD, true, true},
    {PARAM_TIDAL_STREAM_MODE, 4, "3F 0008 6F 0004 26 6C 28 0002", SET_TIDAL_STREAM_MODE, false,
     false},
    {PARAM_TIDAL_STREAM_MODE_ENABLED, 0, "3F 0008 70 0000 26 71 28 0002", SET_TIDAL_STREAM_ENABLED,
     true, false},
    {PARAM_READOUT_PORT, 0, "3F 000A 56 0000 26 57 29 02 28 0005", SET_OUTPUT_PORT, true, false},
};

// The value in storage of the parameter's own width.
boolean16 Write(uns32 id, int64 value) {
    bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
    uns8 storage[8];
    for (size_t i = 0; i < sizeof storage; ++i) {
        storage[i] = static_cast<uns8>(static_cast<uns64>(value) >> (8 * i));
    }
    return bv_set_param(0, id, storage);
}

class Setters : public testing::TestWithParam<Setting> {
  protected:
    void SetUp() override { camera_.firmware().reply(TOTAL_PORTS, 1, 2); }
    RichCamera camera_;
};

}  // namespace

TEST_P(Setters, WriteAndReadBackInOneExchange) {
    const Setting& setting = GetParam();
    EXPECT_EQ(Write(setting.id, setting.value), 1);
    ASSERT_FALSE(camera_.writes().empty());
    EXPECT_EQ(camera_.writes().back(), hex(setting.frame));
    EXPECT_EQ(camera_.firmware().count(setting.write), 1u);
    EXPECT_EQ(camera_.cam_info().script_valid, setting.clears ? 0 : 1);
}

TEST_P(Setters, FailWhereTheCameraKeepsItsOwnValue) {
    const Setting& setting = GetParam();
    TraceCapture trace;
    camera_.firmware().ignore(setting.write);
    EXPECT_EQ(Write(setting.id, setting.value), 0);
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C2_FAILED_TO_SET_VALUE);
    EXPECT_THAT(trace.last_error(), testing::HasSubstr("Value read back from camera differs: "));
    EXPECT_EQ(camera_.cam_info().script_valid, 1);
}

TEST_P(Setters, FailWhereTheExchangeFails) {
    const Setting& setting = GetParam();
    camera_.camera().fail_write();
    EXPECT_EQ(Write(setting.id, setting.value), 0);
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C7_DRIVER_COM_ERROR);
    EXPECT_EQ(camera_.cam_info().script_valid, 1);
}

INSTANTIATE_TEST_SUITE_P(All, Setters, testing::ValuesIn(settings), [](const auto& setting) {
    return std::string(bv_text_param_id(setting.param.id) + std::strlen("PARAM_"));
});

TEST(SetterRefusals, SendNothing) {
    RichCamera camera;
    struct Refusal {
        uns32 id;
        int64 value;
        int16 error;
        const char* words;
    };
    const Refusal refusals[] = {
        {PARAM_FAN_SPEED_SETPOINT, 1, C2_FAILED_TO_SET_VALUE, "Unknown fan speed 1"},
        {PARAM_FAN_SPEED_SETPOINT, 0x10003, C2_FAILED_TO_SET_VALUE, "Unknown fan speed 65539"},
        {PARAM_CENTROIDS_MODE, 2, C2_FAILED_TO_SET_VALUE, "Unknown centroids mode 2"},
        {PARAM_CENTROIDS_BG_COUNT, 11, C2_FAILED_TO_SET_VALUE,
         "Invalid centroids background count selection: 11"},
        {PARAM_FRAME_DELIVERY_MODE, -1, C2_FAILED_TO_SET_VALUE, "Unknown frame delivery mode -1"},
        {PARAM_TRIGTAB_SIGNAL, 7, C2_FAILED_TO_SET_VALUE, "Unknown trigger table signal 7"},
        {PARAM_SPDTAB_INDEX, 2, C2_NOT_AVAILABLE, "Speed index out of range, max. is 1"},
        {PARAM_EXP_RES, 3, C2_INDEX_OUT_OF_RANGE, "Index out of range, max. is 2"},
        {PARAM_EXP_RES_INDEX, 3, C2_INDEX_OUT_OF_RANGE, "Index out of range, max. is 2"},
        {PARAM_CLEAR_MODE, 6, C2_NOT_AVAILABLE, "Unsupported clear mode"},
        {PARAM_CLEAR_MODE, -1, C2_NOT_AVAILABLE, "Unsupported clear mode"},
        {PARAM_IO_ADDR, 4, C2_ADDR_OUT_OF_RANGE, "Port address out of range, max. is 4"},
    };
    TraceCapture trace;
    for (const Refusal& refusal : refusals) {
        EXPECT_EQ(Write(refusal.id, refusal.value), 0);
        EXPECT_TRUE(trace.failed_with(refusal.error, refusal.words));
    }
    camera.reads().cap_adc_offset = camera.reads().cap_gain_mult = 0;
    EXPECT_EQ(bv_ccd_set_adc_offset(0, 1), 0);
    EXPECT_TRUE(trace.failed_with(C2_NOT_AVAILABLE, "Setting bias offset not supported"));
    EXPECT_EQ(bv_ccd_set_gain_mult_factor(0, 1), 0);
    EXPECT_TRUE(trace.failed_with(C2_NOT_AVAILABLE, "Multiplication gain not available"));
    EXPECT_EQ(camera.writes().size(), 0u);
    EXPECT_EQ(camera.cam_info().script_valid, 1);
    EXPECT_EQ(camera.cfg().clear_mode, 4);
}

TEST(SetterRefusals, CentroidsNeedMetadata) {
    RichCamera camera;
    TraceCapture trace;
    EXPECT_EQ(Put<uns16>(PARAM_CENTROIDS_ENABLED, 1), 1);
    camera.firmware().reply(GET_METADATA_ENABLED, 2, 0);
    EXPECT_EQ(Put<uns16>(PARAM_CENTROIDS_ENABLED, 1), 0);
    EXPECT_TRUE(
        trace.failed_with(C2_NOT_AVAILABLE, "Metadata either not available or not enabled"));
    camera.reads().cap_metadata = 0;
    EXPECT_EQ(Put<uns16>(PARAM_CENTROIDS_ENABLED, 1), 0);
    EXPECT_EQ(camera.firmware().count(SET_CENTROIDS_ENABLED), 1u);
}

// Choices for the next setup: no traffic, and a new program only where something changes.
TEST(Choices, AreKeptForTheNextSetup) {
    RichCamera camera;
    struct Choice {
        uns32 id;
        int64 kept;
        int64 other;
        bool clears;
    };
    const Choice choices[] = {
        {PARAM_CLEAR_CYCLES, 3, 9, true},
        {PARAM_CLEAR_MODE, 4, 0, true},
        {PARAM_PMODE, 5, 1, true},
        {PARAM_SHTR_OPEN_MODE, 2, 4, true},
        {PARAM_EXP_RES, 1, 0, true},
        {PARAM_EXP_RES_INDEX, 0, 2, true},
        {PARAM_PREAMP_OFF_CONTROL, 0, 5, false},
        {PARAM_PREMASK, 0, 5, false},
        {PARAM_POSTMASK, 0, 5, false},
        {PARAM_PRESCAN, 0, 5, false},
        {PARAM_POSTSCAN, 0, 5, false},
        {PARAM_PAR_SIZE, 0, 5, false},
        {PARAM_SER_SIZE, 0, 5, false},
        {PARAM_IO_ADDR, 0, 3, false},
    };
    for (const Choice& choice : choices) {
        SCOPED_TRACE(bv_text_param_id(choice.id));
        camera.cam_info().script_valid = 1;
        EXPECT_EQ(Write(choice.id, choice.kept), 1);
        EXPECT_EQ(camera.cam_info().script_valid, 1);
        EXPECT_EQ(Write(choice.id, choice.other), 1);
        EXPECT_EQ(camera.cam_info().script_valid, choice.clears ? 0 : 1);
        uns32 value = 0;
        EXPECT_EQ(bv_get_param(0, choice.id, ATTR_CURRENT, &value), 1);
        EXPECT_EQ(value, choice.other);
    }
    EXPECT_EQ(camera.writes().size(), 0u);
}

TEST(Choices, ShutterOpenModeOfALaterCamera) {
    RichCamera camera;
    EXPECT_EQ(bv_shtr_set_open_mode(0, 7), 1);
    EXPECT_EQ(camera.cfg().shtr_open_mode, OPEN_PRE_EXPOSURE);
    EXPECT_EQ(bv_shtr_set_open_mode(0, -1), 1);
    EXPECT_EQ(camera.cfg().shtr_open_mode, OPEN_PRE_EXPOSURE);
}

TEST(Choices, ParallelModesOfACamera) {
    struct ModeCase {
        uns16 frame_capable;
        uns16 mpp_capable;
        int16 pmode;
        const char* refusal;  // null where the mode is taken
    };
    const char* no_transfer = "Frame transfer mode not available";
    const char* no_mpp = "MPP mode not selectable";
    const ModeCase cases[] = {
        {0, MPP_SELECTABLE, PMODE_FT, no_transfer},
        {0, MPP_SELECTABLE, PMODE_ALT_FT_MPP, no_transfer},
        {0, MPP_SELECTABLE, PMODE_ALT_MPP, nullptr},
        {0, MPP_UNKNOWN, PMODE_FT, no_transfer},
        {1, MPP_UNKNOWN, PMODE_NORMAL, "Unknown MPP mode"},
        {1, MPP_ALWAYS_OFF, PMODE_MPP, no_mpp},
        {1, MPP_ALWAYS_ON, PMODE_FT_MPP, no_mpp},
        {1, MPP_ALWAYS_ON, PMODE_ALT_FT, nullptr},
        {1, MPP_SELECTABLE, PMODE_ALT_FT_MPP, nullptr},
    };
    RichCamera camera;
    TraceCapture trace;
    for (const ModeCase& c : cases) {
        camera.reads().frame_capable = c.frame_capable;
        camera.reads().mpp_capable = c.mpp_capable;
        camera.cfg().pmode = 99;
        EXPECT_EQ(bv_ccd_set_pmode(0, c.pmode), c.refusal ? 0 : 1);
        EXPECT_EQ(camera.cfg().pmode, c.refusal ? 99 : c.pmode);
        if (c.refusal) {
            EXPECT_TRUE(trace.failed_with(C2_NOT_AVAILABLE, c.refusal));
        }
    }
}

TEST(ReadoutPort, RenewsWhatBelongsToThePort) {
    RichCamera camera(DRIVER_TYPE_1394);
    camera.firmware().reply(TOTAL_PORTS, 1, 2).reply(SPD_SPEED, 2, 50);
    EXPECT_EQ(Put<int32>(PARAM_READOUT_PORT, 0), 1);
    EXPECT_EQ(camera.cfg().spdtab_time, 50);
    EXPECT_EQ(camera.cam_info().rws_done, 0);
    EXPECT_THAT(camera.camera().ioctl_codes(), testing::ElementsAre(DV_CAM_PREP_TRANSFER));
}

TEST(ReadoutPort, OfACameraWithOnePortNeverChanges) {
    RichCamera camera;
    EXPECT_EQ(Put<int32>(PARAM_READOUT_PORT, 5), 1);
    EXPECT_EQ(camera.firmware().count(SET_OUTPUT_PORT), 0u);
    EXPECT_EQ(camera.cam_info().script_valid, 1);
}

TEST(DriverSettings, GoToTheDriver) {
    RichCamera camera;
    EXPECT_EQ(Put<uns16>(PARAM_DD_RETRIES, 9), 1);
    EXPECT_EQ(Put<uns16>(PARAM_DD_TIMEOUT, 0x1234), 1);
    const std::vector<support::Ioctl> ioctls = camera.camera().ioctls();
    ASSERT_EQ(ioctls.size(), 2u);
    EXPECT_EQ(ioctls[0].code, static_cast<uint32_t>(DV_SET_RETRIES));
    EXPECT_EQ(ioctls[0].in, hex("0900"));
    EXPECT_EQ(ioctls[1].code, static_cast<uint32_t>(DV_SET_TIMEOUT));
    EXPECT_EQ(ioctls[1].in, hex("3412"));
}

TEST(InterruptMode, ValueBeyondTheModesIsIgnored) {
    RichCamera camera;
    EXPECT_EQ(Put<int32>(PARAM_BOF_EOF_ENABLE, END_FRAME_IRQS), 1);
    for (int32 unknown : {4, -1, 0x10001}) {
        EXPECT_EQ(Put<int32>(PARAM_BOF_EOF_ENABLE, unknown), 1);
        EXPECT_EQ(camera.cam_info().irq_mask, END_FRAME_IRQS);
    }
}

TEST(VariableExposure, IsKeptUntilTheStart) {
    RichCamera camera;
    EXPECT_EQ(Put<uns16>(PARAM_EXP_TIME, 77), 1);
    EXPECT_EQ(camera.cam_info().var_exp_time, 77);
    EXPECT_EQ(camera.writes().size(), 0u);
}

TEST(PairReads, OrderOnTheWire) {
    RichCamera camera;
    uns16 first = 0;
    uns16 second = 0;
    camera.firmware().reply(GET_EXT_METADATA_SIZE, hex("0010 0020"));
    EXPECT_EQ(bv_ccd_get_ext_metadata_size(0, &first, &second), 1);
    EXPECT_EQ(first, 0x10);
    EXPECT_EQ(second, 0x20);
    EXPECT_EQ(bv_ccd_get_centroids_radius_range(0, &first, &second), 1);
    EXPECT_EQ(first, 2);
    EXPECT_EQ(second, 15);
}

// What lies above must neither pass a check nor part the camera from what is kept of it.
TEST(Setters16Bit, TakeTheLowHalfOfAValue) {
    RichCamera camera;
    camera.reads().frame_capable = 0;
    EXPECT_EQ(Write(PARAM_PMODE, 0x10000 | PMODE_FT), 0);
    camera.firmware().reply(TOTAL_PORTS, 1, 2);
    EXPECT_EQ(Write(PARAM_READOUT_PORT, 0x10000), 1);
    EXPECT_EQ(camera.cam_info().script_valid, 0);
}
