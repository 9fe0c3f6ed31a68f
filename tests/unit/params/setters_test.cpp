
#include "params/accessors.h"
#include "params/io_ports.h"
#include "params/tidal_stream.h"

#include "rich_camera.h"

using support::hex;

class Choices : public RichCameraTest {};

namespace {

// What an application writes and the commands that the camera gets, the setter first.
struct Setting {
    uns32 id;
    int64 value;
    const char* commands;
    bool clears = false;  // the next setup has to make a new program

    uns8 setter() const { return hex(commands).front(); }
};

const Setting settings[] = {
    {PARAM_ADC_OFFSET, -3, "3D FFFD 26 3C 28 0002"},
    {PARAM_TEMP_SETPOINT, -1500, "2D FA24 26 23 28 0002"},
    {PARAM_GAIN_MULT_FACTOR, 7, "55 0007 26 54 28 0002"},
    {PARAM_SENSOR_CORRECTION_STATE, 0, "7C 0000 26 7D 28 0002"},
    {PARAM_FAN_SPEED_SETPOINT, 3, "89 0003 26 88 28 0002"},
    {PARAM_METADATA_ENABLED, 0, "8B 0000 26 8A 28 0002", true},
    {PARAM_CENTROIDS_ENABLED, 0, "8E 0000 26 8F 28 0002", true},
    {PARAM_CENTROIDS_RADIUS, 5, "91 0005 26 92 28 0002", true},
    {PARAM_CENTROIDS_COUNT, 258, "94 0102 26 95 28 0002", true},
    {PARAM_CENTROIDS_MODE, 0, "AF 0000 26 B0 28 0002", true},
    {PARAM_CENTROIDS_BG_COUNT, 10, "B3 000A 26 B4 28 0002"},
    {PARAM_CENTROIDS_THRESHOLD, 300, "B5 0000012C 26 B6 28 0004"},
    {PARAM_FRAME_DELIVERY_MODE, 0, "B9 0000 26 BA 28 0002"},
    {PARAM_SHTR_CLOSE_DELAY, 500, "31 01F4 26 20 28 0002"},
    {PARAM_SHTR_OPEN_DELAY, 501, "30 01F5 26 1F 28 0002"},
    {PARAM_TRIGTAB_SIGNAL, 0, "9F 0000 26 9E 28 0002"},
    {PARAM_LAST_MUXED_SIGNAL, 2, "A2 02 26 A1 28 0001"},
    {PARAM_GAIN_INDEX, 3, "2C 03 26 1B 28 0001"},
    {PARAM_SPDTAB_INDEX, 0, "2B 00 26 29 02 28 0003", true},
    {PARAM_TIDAL_STREAM_MODE, 4, "6F 0004 26 6C 28 0002"},
    {PARAM_TIDAL_STREAM_MODE_ENABLED, 0, "70 0000 26 71 28 0002", true},
    {PARAM_READOUT_PORT, 0, "56 0000 26 57 29 02 28 0005", true},
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

}  // namespace

TEST(Setters, WriteAndReadBackInOneExchange) {
    for (const Setting& setting : settings) {
        SCOPED_TRACE(bv_text_param_id(setting.id));
        RichCamera camera;
        camera.firmware().reply(TOTAL_PORTS, 1, 2);
        EXPECT_EQ(Write(setting.id, setting.value), 1);
        ASSERT_FALSE(camera.writes().empty());
        const support::Bytes frame = camera.writes().back();
        EXPECT_EQ(support::Bytes(frame.begin() + 3, frame.end()), hex(setting.commands));
        EXPECT_EQ(camera.firmware().count(setting.setter()), 1u);
        EXPECT_EQ(camera.cam_info().script_valid, setting.clears ? 0 : 1);
    }
}

TEST_F(Choices, ThatAreRefusedSendNothing) {
    struct Refusal {
        uns32 id;
        int64 value;
        int16 error;
        const char* words;
    };
    const Refusal refusals[] = {
        {PARAM_FAN_SPEED_SETPOINT, 0x10003, C2_FAILED_TO_SET_VALUE, "Unknown fan speed 65539"},
        {PARAM_CENTROIDS_BG_COUNT, 11, C2_FAILED_TO_SET_VALUE,
         "Invalid centroids background count selection: 11"},
        {PARAM_FRAME_DELIVERY_MODE, -1, C2_FAILED_TO_SET_VALUE, "Unknown frame delivery mode -1"},
        {PARAM_SPDTAB_INDEX, 2, C2_NOT_AVAILABLE, "Speed index out of range, max. is 1"},
        {PARAM_EXP_RES_INDEX, 3, C2_INDEX_OUT_OF_RANGE, "Index out of range, max. is 2"},
        {PARAM_CLEAR_MODE, -1, C2_NOT_AVAILABLE, "Unsupported clear mode"},
        {PARAM_IO_ADDR, 4, C2_ADDR_OUT_OF_RANGE, "Port address out of range, max. is 4"},
    };
    for (const Refusal& refusal : refusals) {
        EXPECT_TRUE(trace_.refused(Write(refusal.id, refusal.value), refusal.error, refusal.words));
    }
    camera_.reads().cap_adc_offset = camera_.reads().cap_gain_mult = 0;
    EXPECT_TRUE(trace_.refused(bv_ccd_set_adc_offset(0, 1), C2_NOT_AVAILABLE,
                               "Setting bias offset not supported"));
    EXPECT_TRUE(trace_.refused(bv_ccd_set_gain_mult_factor(0, 1), C2_NOT_AVAILABLE,
                               "Multiplication gain not available"));
    camera_.reads().mpp_capable = MPP_UNKNOWN;
    EXPECT_TRUE(
        trace_.refused(bv_ccd_set_pmode(0, PMODE_NORMAL), C2_NOT_AVAILABLE, "Unknown MPP mode"));
    // A setup would find no exposure times for it.
    camera_.reads().exp_res_total = 4;
    EXPECT_TRUE(trace_.refused(Write(PARAM_EXP_RES_INDEX, 3), C2_INDEX_OUT_OF_RANGE,
                               "No exposure range at resolution index 3"));
    EXPECT_EQ(camera_.writes().size(), 0u);
    EXPECT_EQ(camera_.cam_info().script_valid, 1);
    EXPECT_EQ(camera_.cfg().clear_mode, 4);
}

TEST_F(Choices, WaitForTheNextSetupWithoutTraffic) {
    for (uns32 id : {PARAM_CLEAR_CYCLES, PARAM_CLEAR_MODE, PARAM_PMODE, PARAM_SHTR_OPEN_MODE,
                     PARAM_EXP_RES, PARAM_EXP_RES_INDEX, PARAM_PREAMP_OFF_CONTROL, PARAM_PREMASK,
                     PARAM_POSTMASK, PARAM_PRESCAN, PARAM_POSTSCAN, PARAM_PAR_SIZE, PARAM_SER_SIZE,
                     PARAM_IO_ADDR, PARAM_EXP_TIME}) {
        EXPECT_EQ(Write(id, 1), 1) << bv_text_param_id(id);
    }
    EXPECT_EQ(camera_.writes().size(), 0u);
    EXPECT_EQ(camera_.cam_info().var_exp_time, 1);
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
