#include "acquisition/script.h"

#include <gtest/gtest.h>

#include "orvex/orvex_errors.h"

#include "acquisition/generator.h"
#include "support/core/test_camera.h"

#include "unit/acquisition/program.h"

using program_test::Program;
using support::hex;

TEST(Script, FullSpaceCountsAsTooLong) {
    const Program program;
    for (int i = 0; i < 8191; ++i) bv_script_load_op(OP_CLEAR, 0);
    EXPECT_FALSE(bv_script_load_overflowed());
    bv_script_load_op(OP_CLEAR, 0);
    EXPECT_TRUE(bv_script_load_overflowed());
    bv_script_load_op(OP_CLEAR, 0xFFFF);
    EXPECT_EQ(bv_script_load_position(), 24576);
}

// The start of a record alone is tested; the memory has room for what stands out.
TEST(Script, LastLongRecordStandsOut) {
    const Program program;
    for (int i = 0; i < 4915; ++i) bv_sCCL_script_load_op(OP_BIN_X, 1);
    EXPECT_EQ(bv_script_load_position(), 24575);
    EXPECT_FALSE(bv_script_load_overflowed());
    bv_sCCL_script_load_op(OP_BIN_X, 0xFFFFFFFF);
    EXPECT_EQ(bv_script_load_position(), 24580);
    EXPECT_EQ(program.bytes().back(), 0xFF);
}

TEST(Script, SendPicksTheClassByDialect) {
    support::TestCamera camera;
    const Program program(2);
    bv_script_load_op(OP_EXPOSE, 1);
    program.script().length = bv_script_load_position();
    ASSERT_EQ(bv_script_send(camera.hcam, &program.script()), 1);
    EXPECT_EQ(camera.writes().back(), hex("3D 00 03 00 01 04"));
    camera.reads().ccl_caps = CCL_CAPS_SIMPLIFIED;
    ASSERT_EQ(bv_script_send(camera.hcam, &program.script()), 1);
    EXPECT_EQ(camera.writes().back(), hex("26 00 03 00 01 04"));
}

TEST(SimplifiedProgram, IsAListOfSettings) {
    const rgn_type regions[] = {{1, 100, 2, 3, 258, 4}, {300, 399, 2, 3, 258, 4}};
    bv::ProgramSetup setup;
    setup.exp_total = 300;
    setup.buf_mode = CIRC_NO_OVERWRITE;
    setup.regions = regions;
    setup.exp_mode = EXT_TRIG_TRIG_FIRST;
    setup.exposure_time = 0x01020304;
    setup.camera.exp_res = EXP_RES_ONE_MICROSEC;
    setup.camera.clear_mode = CLEAR_PRE_SEQUENCE;
    setup.camera.clear_cycles = 5;
    const Program program;
    bv::WriteSimplifiedProgram(setup);
    EXPECT_EQ(program.bytes(), hex("03 00 00 01 2C  04 00 00 00 02  00 00 00 00 01"
                                   "05 00 00 00 02  01 01 02 03 04  02 00 00 08 00"
                                   "0C 00 00 00 02  0D 00 00 00 05"
                                   "06 00 00 00 02  07 00 00 00 04  08 00 00 00 01"
                                   "09 00 00 00 03  0A 00 00 00 64  0B 00 00 01 02"
                                   "06 00 00 00 02  07 00 00 00 04  08 00 00 01 2C"
                                   "09 00 00 00 03  0A 00 00 01 8F  0B 00 00 01 02"));

    setup.exp_mode = -1;
    const Program negative;
    bv::WriteSimplifiedProgram(setup);
    EXPECT_EQ(support::Bytes(&negative.script().data[25], &negative.script().data[30]),
              hex("02 FF FF FF FF"));
}
