#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "messages/command_shapes.h"
#include "messages/texts.h"

namespace {

using Type = bv::HostCommandDataType;

// What the firmware expects, gathered by shape; the table of commands is by id.
struct Group {
    int32 write_bytes;
    Type write_type;
    int32 read_bytes;
    Type read_type;
    std::vector<int> ids;
};

const Group groups[] = {
    {0, Type::Raw, 0, Type::Raw, {CLEAR_STAT_BUF, EXECUTE_CCL, RESET_PP}},
    {0,
     Type::Raw,
     1,
     Type::BigEndian,
     {SPD_BIT_DEPTH,
      SPD_MAX_GAIN,
      COOLING,
      FRAME_CAP,
      MPP_CAP,
      POSTSCAN,
      PRESCAN,
      SUM_WELL_PRESENT,
      TOTAL_SPD,
      TOTAL_PORTS,
      SPD_USER_GAIN,
      STAT_TABLE_SIZE,
      FIRMWARE_VER,
      READ_PORT_NUM,
      CUR_SPD,
      FIRMWARE_MINOR_VER,
      AVL_RESOLTNS,
      SEND_AVA_PORTS,
      GET_LAST_MUXED_SIGNAL_MAX,
      GET_LAST_MUXED_SIGNAL,
      GET_SENSOR_MASK_TYPE}},
    {0,
     Type::Raw,
     2,
     Type::BigEndian,
     {SPD_SPEED,
      CAM_SER_NUM,
      CUR_CCD_TEMP,
      FULL_WELL_CAP,
      PAR_SIZE,
      PAR_PIX_SIZE,
      PAR_PIX_SPACE,
      SER_PIX_SIZE,
      SER_PIX_SPACE,
      POST_MASK,
      PRE_MASK,
      PREAMP_DELAY,
      PRE_FLASH,
      SER_SIZE,
      SH_OPEN_DELAY,
      SH_CLOSE_DELAY,
      CCD_TEMP_SET,
      GET_CCL_SCRIPT_WORDS,
      EXP_TIME,
      GET_OFFSET,
      MIN_RESOLTN,
      GET_MAX_GAIN_MULT_FACTOR,
      GET_GAIN_MULT_FACTOR,
      GET_OUTPUT_PORT,
      GET_PP_FEATURE_IDX,
      GET_PP_PARAM_IDX,
      GET_ACTUAL_GAIN,
      GET_READ_NOISE,
      GET_TIDAL_STREAM_MODE,
      GET_TIDAL_STREAM_ENABLED,
      GET_TIDAL_STREAM_EXP_COUNT,
      GET_TIDAL_STREAM_DLY_COUNT,
      GET_TIDAL_STREAM_MAX_EXP_COUNT,
      GET_SENSOR_CORRECTION_STATE,
      PAR_PORT_NUM,
      SER_PORT_NUM,
      GET_FAN_SPEED_SETPOINT,
      GET_METADATA_ENABLED,
      GET_ROI_COUNT_MAX,
      GET_CENTROIDS_ENABLED,
      GET_CENTROIDS_RADIUS,
      GET_CENTROIDS_COUNT,
      GET_TRIGTAB_SIGNAL,
      GET_CENTROIDS_MODE_CURRENT,
      GET_CENTROIDS_BG_COUNT_CURRENT,
      GET_FRAME_DELIVERY_MODE_CURRENT}},
    {0,
     Type::Raw,
     4,
     Type::BigEndian,
     {GET_PP_PARAM, GET_PP_PARAM_MIN, GET_PP_PARAM_MAX, GET_PP_PARAM_DEFAULT, GET_PP_FEATURE_ID,
      GET_PP_PARAM_ID, GET_IMAGE_SENSOR_READOUT_TIME, GET_EXTENDED_CAPABILITIES_SIZE,
      GET_CAM_IFC_TYPE_CURRENT, GET_CENTROIDS_THRESHOLD, GET_EXTENDED_TRIG_MODES_SIZE,
      GET_EXPOSE_OUT_BEHAVE_SIZE, GET_EXTENDED_READOUT_PORTS_SIZE, GET_FAN_SPEEDS_SIZE,
      GET_TRIGTAB_SIGNALS_SIZE, GET_CENTROIDS_MODES_SIZE, GET_CENTROIDS_BG_COUNTS_SIZE,
      GET_FRAME_DELIVERY_MODES_SIZE, GET_CLEAR_MODES_SIZE}},
    {0,
     Type::Raw,
     8,
     Type::BigEndian,
     {GET_CLEARING_TIME, GET_EXPOSURE_TIME, GET_POST_TRIGGER_DELAY, GET_PRE_TRIGGER_DELAY,
      GET_POST_ABORT_DELAY}},
    {0,
     Type::Raw,
     4,
     Type::Raw,
     {TEMP_RANGE, GET_EXT_METADATA_SIZE, GET_CENTROIDS_RADIUS_RANGE, GET_CENTROIDS_COUNT_RANGE}},
    {0, Type::Raw, 8, Type::Raw, {SEND_CAPABILITIES}},
    {0, Type::Raw, 16, Type::Raw, {CHIP_NAME}},
    {0,
     Type::Raw,
     32,
     Type::String,
     {GET_SYSTEM_NAME, ALPHA_SER_NUM, FULL_FIRMWARE_NUMBER, GET_PP_FEATURE_NAME, GET_PP_PARAM_NAME,
      GET_VENDOR_NAME, GET_GAIN_NAME, GET_PRODUCT_NAME, GET_CAM_PART_NUM}},
    {0,
     Type::Raw,
     HC_VARIABLE,
     Type::Raw,
     {GET_EXTENDED_CAPABILITIES, GET_TIDAL_STREAM_EXP_PARAMS, GET_TIDAL_STREAM_DLY_PARAMS,
      GET_EXTENDED_TRIGGERING_MODES, GET_EXPOSE_OUT_BEHAVE_MODES, GET_EXTENDED_READOUT_PORTS,
      GET_FAN_SPEEDS, GET_TRIGTAB_SIGNALS, GET_CENTROIDS_MODES, GET_CENTROIDS_BG_COUNTS,
      GET_FRAME_DELIVERY_MODES, GET_CLEAR_MODES}},
    {1, Type::BigEndian, 0, Type::Raw, {SELECT_SPD, SET_SPD_GAIN, SET_LAST_MUXED_SIGNAL}},
    {2,
     Type::BigEndian,
     0,
     Type::Raw,
     {SET_TIME_PER_PIX,
      SET_TEMP,
      SET_SH_OPEN_DELAY,
      SET_SH_CLOSE_DELAY,
      STOP_CCS,
      SET_EXP_TIME,
      SET_OFFSET,
      SET_GAIN_MULT_FACTOR,
      SET_OUTPUT_PORT,
      SET_PP_FEATURE_IDX,
      SET_PP_PARAM_IDX,
      SET_TIDAL_STREAM_MODE,
      SET_TIDAL_STREAM_ENABLED,
      SET_SENSOR_CORRECTION_STATE,
      SET_FAN_SPEED_SETPOINT,
      SET_METADATA_ENABLED,
      SET_CENTROIDS_ENABLED,
      SET_CENTROIDS_RADIUS,
      SET_CENTROIDS_COUNT,
      SET_TRIGTAB_SIGNAL,
      SET_CENTROIDS_MODE,
      SET_CENTROIDS_BG_COUNT,
      SET_FRAME_DELIVERY_MODE}},
    {4, Type::BigEndian, 0, Type::Raw, {SET_PP_PARAM, SET_CENTROIDS_THRESHOLD}},
    {4, Type::Raw, 0, Type::Raw, {SET_CURRENT_PORT_ST, SET_DIRECTION}},
    {HC_VARIABLE,
     Type::Raw,
     0,
     Type::Raw,
     {SET_TIDAL_STREAM_EXP_PARAMS, SET_TIDAL_STREAM_DLY_PARAMS}},
    {1, Type::BigEndian, 2, Type::BigEndian, {SUBSYS_DIAG}},
    {1, Type::BigEndian, 3, Type::Raw, {SUBSYS_ID}},
    {1, Type::BigEndian, 128, Type::String, {SUBSYS_NAME}},
    {2, Type::BigEndian, 1, Type::BigEndian, {SEND_PORTS_RESL}},
    {2,
     Type::BigEndian,
     2,
     Type::BigEndian,
     {SEND_PORTS_MIN, SEND_PORTS_MAX, SEND_PORTS_DIR, SEND_PORTS_TYPE, GET_CURRENT_PORT_ST,
      SEND_PORTS_ATTRIBUTES}},
    {4, Type::BigEndian, 4, Type::BigEndian, {STOP_ACQUISITION}},
    {HC_VARIABLE, Type::Raw, 4, Type::BigEndian, {GET_BINARY_BLOB_SIZE}},
    {HC_VARIABLE, Type::Raw, HC_VARIABLE, Type::Raw, {GET_BINARY_BLOB}},
    {HC_VARIABLE, Type::Raw, 2, Type::BigEndian, {SET_BINARY_BLOB}},
    {HC_VARIABLE, Type::Raw, HC_VARIABLE, Type::String, {DEBUG_CMD}},
};

TEST(CommandTable, EveryCommandHasItsShape) {
    for (const Group& group : groups) {
        for (const int id : group.ids) {
            SCOPED_TRACE(bv_text_hcmd(id));
            const bv::HostCommandShape shape = bv::ShapeOf(static_cast<uns8>(id));
            EXPECT_EQ(shape.writeBytes, group.write_bytes);
            EXPECT_EQ(shape.readBytes, group.read_bytes);
            if (group.write_bytes != 0) {
                EXPECT_EQ(shape.writeType, group.write_type);
            }
            if (group.read_bytes != 0) {
                EXPECT_EQ(shape.readType, group.read_type);
            }
        }
    }
}

struct Named {
    int32 value;
    const char* text;
};

TEST(CommandTable, Texts) {
    for (const auto& [id, text] :
         {Named{0, "SPD_BIT_DEPTH"}, Named{40, "SEND_STAT_BUF"}, Named{72, "SET_CURRENT_PORT_ST"},
          Named{121, "GET_EXTENDED_CAPABILITIES_SIZE"}, Named{153, "GET_BINARY_BLOB_SIZE"},
          Named{190, "LAST_HOST_CMD"}, Named{191, "<UNKNOWN>"}, Named{-1, "<UNKNOWN>"}}) {
        EXPECT_STREQ(bv_text_hcmd(id), text);
    }
    for (const auto& [id, text] :
         {Named{0, "BRIDGE_OLD_INIT_CCL"}, Named{3, "OZ_DATA_GET_FRIENDLY_NAME"},
          Named{31, "OZ_CAM_BRIDGE_ENABLE_PIXEL_TRANSFER"}, Named{32, "<UNKNOWN>"}}) {
        EXPECT_STREQ(bv_text_bridge_command(id), text);
    }
    for (const auto& [status, text] :
         {Named{0, "BC_STATUS_SUCCESS"}, Named{5, "BC_INVALID_OPCODE"},
          Named{18, "BC_PARAMETER_PERMISSION"}, Named{19, "<UNKNOWN>"}}) {
        EXPECT_STREQ(bv_text_bridge_status(status), text);
    }
    for (const auto& [option, text] :
         {Named{0, "HC_CCS_NONE"}, Named{1, "HC_CCS_CONT_CLEAR"}, Named{2, "HC_CCS_CLOSE_SHTR"},
          Named{3, "HC_CCS_CONT_CLEAR|HC_CCS_CLOSE_SHTR"}, Named{4, "HC_CCS_OPEN_SHTR"},
          Named{5, "HC_CCS_CONT_CLEAR|HC_CCS_OPEN_SHTR"}, Named{6, "<UNKNOWN>"}}) {
        EXPECT_STREQ(bv_text_hc_ccs(option), text);
    }
    EXPECT_STREQ(bv::bv_text_data_type(static_cast<Type>(3)), "<UNKNOWN>");
}

}  // namespace
