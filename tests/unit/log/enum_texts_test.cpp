#include "log/enum_texts.h"

#include <gtest/gtest.h>
#include <thread>

namespace {

// The texts are made of the lists themselves; here is what is written by hand.
TEST(EnumTexts, NameValues) {
    EXPECT_STREQ(bv_text_open_mode(1), "EXT_OPEN_FW_UPDATE");
    EXPECT_STREQ(bv_text_type(3), "<UNKNOWN>");
    EXPECT_STREQ(bv_text_type(-1), "<UNKNOWN>");
    EXPECT_STREQ(bv_text_read_status(3), "READOUT_COMPLETE/FRAME_AVAILABLE");
    EXPECT_STREQ(bv_text_read_status(4), "READOUT_FAILED");
    EXPECT_STREQ(bv_text_read_status(6), "<UNKNOWN>");
    EXPECT_STREQ(bv_text_notification(0xC0000001u), "NOTIFICATION_STATUS_CANCELLED");

    EXPECT_STREQ(bv_text_param_id(PARAM_DD_INFO_LENGTH), "PARAM_DD_INFO_LENGTH");
    EXPECT_STREQ(bv_text_param_id(PARAM_TEMP), "PARAM_TEMP");
    EXPECT_STREQ(bv_text_param_id(PARAM_PRE_TRIGGER_DELAY), "PARAM_PRE_TRIGGER_DELAY");
    const uns32 unknowns[] = {0, PARAM_DD_INFO_LENGTH - 1, PARAM_TEMP + 2,
                              PARAM_PRE_TRIGGER_DELAY + 1, 0xFFFFFFFF};
    for (const uns32 unknown : unknowns) {
        EXPECT_STREQ(bv_text_param_id(unknown), "<UNKNOWN>");
    }

    EXPECT_STREQ(bv_text_exp_mode_combined(0), "TIMED_MODE");
    EXPECT_STREQ(bv_text_exp_mode_combined(255), "<UNKNOWN>");
    EXPECT_STREQ(bv_text_exp_mode_combined(256), "<UNKNOWN>|EXPOSE_OUT_FIRST_ROW");
    EXPECT_STREQ(bv_text_exp_mode_combined(300), "<UNKNOWN>|<UNKNOWN>");
    EXPECT_STREQ(bv_text_exp_mode_combined(1795), "EXT_TRIG_INTERNAL|EXPOSE_OUT_ROLLING_SHUTTER");
    const char* here = bv_text_exp_mode_combined(2048);
    std::thread([] { bv_text_exp_mode_combined(2305); }).join();
    EXPECT_STREQ(here, "EXT_TRIG_TRIG_FIRST|EXPOSE_OUT_FIRST_ROW") << "not the other thread's";
}

}  // namespace
