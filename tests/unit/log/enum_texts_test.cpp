#include "log/enum_texts.h"

#include <gtest/gtest.h>
#include <thread>

namespace {

struct TextCase {
    const char* (*text)(int32);
    int32 value;
    const char* expected;
};

class EnumText : public testing::TestWithParam<TextCase> {};

TEST_P(EnumText, NamesAValue) {
    EXPECT_STREQ(GetParam().text(GetParam().value), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Chosen, EnumText,
    testing::Values(
        TextCase{bv_text_open_mode, 1, "EXT_OPEN_FW_UPDATE"},
        TextCase{bv_text_type, 3, "<UNKNOWN>"}, TextCase{bv_text_type, 19, "TYPE_FLT32"},
        TextCase{bv_text_attribute, 8, "ATTR_AVAIL"}, TextCase{bv_text_access, 0, "<UNKNOWN>"},
        TextCase{bv_text_access, 4, "ACC_WRITE_ONLY"},
        TextCase{bv_text_clear_mode, 5, "CLEAR_PRE_EXPOSURE_POST_SEQ"},
        TextCase{bv_text_shutter_open_mode, 4, "OPEN_NO_CHANGE"},
        TextCase{bv_text_shutter_status, 0, "SHTR_FAULT"},
        TextCase{bv_text_pmode, 7, "PMODE_ALT_FT_MPP"}, TextCase{bv_text_color, 4, "COLOR_GBRG"},
        TextCase{bv_text_cooling, 1, "CRYO_COOL"}, TextCase{bv_text_mpp, 3, "MPP_SELECTABLE"},
        TextCase{bv_text_io_type, 1, "IO_TYPE_DAC"},
        TextCase{bv_text_io_dir, 2, "IO_DIR_INPUT_OUTPUT"},
        TextCase{bv_text_io_attr_dir, 1, "IO_ATTR_DIR_VARIABLE_ALWAYS_READ"},
        TextCase{bv_text_read_status, 3, "READOUT_COMPLETE/FRAME_AVAILABLE"},
        TextCase{bv_text_read_status, 4, "READOUT_FAILED"},
        TextCase{bv_text_read_status, 6, "<UNKNOWN>"},
        TextCase{bv_text_ccs, 6, "CCS_CLEAR_OPEN_SHTR"},
        TextCase{bv_text_frame_irqs, 3, "BEGIN_END_FRAME_IRQS"},
        TextCase{bv_text_circ, 2, "CIRC_NO_OVERWRITE"},
        TextCase{bv_text_exp_res, 1, "EXP_RES_ONE_MICROSEC"},
        TextCase{bv_text_script_location, 9, "SCR_POST_CLOSE_SHTR"},
        TextCase{bv_text_callback_event, 4, "OX_CALLBACK_CAM_RESUMED"},
        TextCase{bv_text_callback_event, 5, "<UNKNOWN>"},
        TextCase{bv_text_callback_type, 3, "CB_TYPE_EX3"},
        TextCase{bv_text_exp_mode, 2304, "EXT_TRIG_EDGE_RISING"},
        TextCase{bv_text_exp_mode, 2305, "<UNKNOWN>"},
        TextCase{bv_text_expose_out, 3, "EXPOSE_OUT_ROLLING_SHUTTER"},
        TextCase{bv_text_fan_speed, 3, "FAN_SPEED_OFF"},
        TextCase{bv_text_trigtab_signal, 0, "OX_TRIGTAB_SIGNAL_EXPOSE_OUT"},
        TextCase{bv_text_frame_delivery, 1, "OX_FRAME_DELIVERY_MODE_CONSTANT_INTERVALS"},
        TextCase{bv_text_ifc_type, 2051, "OX_CAM_IFC_TYPE_PCIE_X4"},
        TextCase{bv_text_ifc_type, 1, "<UNKNOWN>"},
        TextCase{bv_text_ifc_mode, 2, "OX_CAM_IFC_MODE_IMAGING"},
        TextCase{bv_text_centroids_mode, 1, "OX_CENTROIDS_MODE_TRACK"},
        TextCase{bv_text_tidal_mode, 0, "TDLMODE_ARBITRARY_ALL"},
        TextCase{bv_text_blob_id, 0, "OX_BLOB_ID_PIAV"}));

TEST(EnumTexts, AllHaveATextForUnknownValues) {
#define EXPECT_UNKNOWN(function, type, list)                            \
    EXPECT_STREQ(function(static_cast<type>(0x7FFFFFF0)), "<UNKNOWN>"); \
    EXPECT_STREQ(function(static_cast<type>(-2)), "<UNKNOWN>");
    ORVEX_ENUM_TEXTS(EXPECT_UNKNOWN)
    EXPECT_STREQ(bv_text_read_status(-1), "<UNKNOWN>");
}

TEST(EnumTexts, NotificationsAreUnsigned) {
    EXPECT_STREQ(bv_text_notification(0x80000000u), "NOTIFICATION_FLUSH");
    EXPECT_STREQ(bv_text_notification(0xC0000001u), "NOTIFICATION_STATUS_CANCELLED");
    EXPECT_STREQ(bv_text_notification(12), "NOTIFICATION_BOF_EOF");
}

TEST(EnumTexts, EveryParameterIsFound) {
#define EXPECT_PARAMETER(name, id) EXPECT_STREQ(bv_text_param_id(id), #name);
    ORVEX_PARAMS(EXPECT_PARAMETER)
    EXPECT_STREQ(bv_text_param_id(0), "<UNKNOWN>");
    EXPECT_STREQ(bv_text_param_id(PARAM_DD_INFO_LENGTH - 1), "<UNKNOWN>");
    EXPECT_STREQ(bv_text_param_id(PARAM_TEMP + 2), "<UNKNOWN>");
    EXPECT_STREQ(bv_text_param_id(PARAM_PRE_TRIGGER_DELAY + 1), "<UNKNOWN>");
    EXPECT_STREQ(bv_text_param_id(0xFFFFFFFF), "<UNKNOWN>");
}

TEST(EnumTexts, ExposureModesCombine) {
    EXPECT_STREQ(bv_text_exp_mode_combined(0), "TIMED_MODE");
    EXPECT_STREQ(bv_text_exp_mode_combined(255), "<UNKNOWN>");
    EXPECT_STREQ(bv_text_exp_mode_combined(300), "<UNKNOWN>|<UNKNOWN>");
    EXPECT_STREQ(bv_text_exp_mode_combined(1795), "EXT_TRIG_INTERNAL|EXPOSE_OUT_ROLLING_SHUTTER");
    EXPECT_STREQ(bv_text_exp_mode_combined(2048), "EXT_TRIG_TRIG_FIRST|EXPOSE_OUT_FIRST_ROW");
    EXPECT_STREQ(bv_text_exp_mode_combined(2305), "EXT_TRIG_EDGE_RISING|EXPOSE_OUT_ALL_ROWS");
    EXPECT_STREQ(bv_text_exp_mode_combined(65535), "<UNKNOWN>|<UNKNOWN>");
}

TEST(EnumTexts, CombinedTextsOfTwoThreadsDontMix) {
    const char* here = bv_text_exp_mode_combined(2048);
    std::thread([] { bv_text_exp_mode_combined(2305); }).join();
    EXPECT_STREQ(here, "EXT_TRIG_TRIG_FIRST|EXPOSE_OUT_FIRST_ROW");
}

}  // namespace
