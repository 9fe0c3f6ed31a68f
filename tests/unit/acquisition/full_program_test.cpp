#include <algorithm>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "unit/acquisition/program.h"

using program_test::Op;
using program_test::Ops;
using program_test::PlainSetup;
using program_test::Write;

namespace {

// The part of a program from `first` to `last`, both included.
Ops Between(const Ops& ops, uns8 first, uns8 last) {
    const auto has = [](uns8 op) {
        return [op](const Op& candidate) { return candidate.op == op; };
    };
    const auto begin = std::find_if(ops.begin(), ops.end(), has(first));
    const auto end = std::find_if(begin, ops.end(), has(last));
    return end == ops.end() ? Ops{} : Ops(begin, end + 1);
}

size_t Count(const Ops& ops, uns8 op) {
    return static_cast<size_t>(
        std::count_if(ops.begin(), ops.end(), [op](const Op& each) { return each.op == op; }));
}

// Everything ahead of the read-out of the plain frame.
Ops Head(const PlainSetup& setup) {
    Ops ops = Write(setup);
    const auto readout = std::find(ops.begin(), ops.end(), Op{OP_PARALLEL_DIS, 10});
    return Ops(ops.begin(), readout);
}

}  // namespace

TEST(FullProgram, OneFrameOperationByOperation) {
    EXPECT_EQ(Write(PlainSetup()), (Ops{{OP_ANTIBLOOM_OFF},
                                        {OP_PARALLEL_ALT_OFF},
                                        {OP_SET_SERIAL_BIN, 1},
                                        {OP_EXPOSE_SCALE, 10},
                                        {OP_PARALLEL_DIS, 200},
                                        {OP_OPEN_SHUTTER},
                                        {OP_EXPOSE, 1},
                                        {OP_CLOSE_SHUTTER},
                                        {OP_PARALLEL_DIS, 10},
                                        {OP_SERIAL_DISCARD, 200},
                                        {OP_DO_LOOP, 10},
                                        {OP_PARALLEL_BIN, 1},
                                        {OP_SERIAL_CONVERT, 100},
                                        {OP_END_DO},
                                        {OP_EOF},
                                        {OP_PARALLEL_DIS, 80},
                                        {OP_TERMINATE}}));
}

TEST(FullProgram, BytesOfRecords) {
    PlainSetup setup;
    bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
    bv::ScriptOwner script;
    script.Allocate(script_max_entries);
    bv_script_load_begin(script.get(), script_max_entries);
    ASSERT_TRUE(bv::WriteFullProgram(setup, *script.get()));
    const std::vector<uns8> wire(script->data, script->data + bv_script_load_position());
    EXPECT_THAT(std::vector<uns8>(wire.begin(), wire.begin() + 15),
                testing::ElementsAre(0, 0, 27, 0, 0, 29, 0, 1, 12, 0, 10, 3, 0, 200, 7));
    EXPECT_THAT(std::vector<uns8>(wire.end() - 3, wire.end()), testing::ElementsAre(0, 0, 0));
}

// What stands ahead of the read-out, by one change of the plain frame.
struct HeadCase {
    const char* name;
    std::function<void(PlainSetup&)> change;
    Ops expected;
};

class FullProgramHead : public testing::TestWithParam<HeadCase> {};

TEST_P(FullProgramHead, IsExact) {
    PlainSetup setup;
    GetParam().change(setup);
    EXPECT_EQ(Head(setup), GetParam().expected);
}

const Ops modes{{OP_ANTIBLOOM_OFF}, {OP_PARALLEL_ALT_OFF}, {OP_SET_SERIAL_BIN, 1}};
const Ops exposed{{OP_OPEN_SHUTTER}, {OP_EXPOSE, 1}, {OP_CLOSE_SHUTTER}};

Ops Join(std::initializer_list<Ops> parts) {
    Ops all;
    for (const Ops& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

INSTANTIATE_TEST_SUITE_P(
    Changes, FullProgramHead,
    testing::Values(
        HeadCase{"NeverCleared", [](PlainSetup& s) { s.camera.clear_mode = CLEAR_NEVER; },
                 Join({modes, {{OP_EXPOSE_SCALE, 10}}, exposed})},
        HeadCase{"NoClearCycles", [](PlainSetup& s) { s.camera.clear_cycles = 0; },
                 Join({modes, {{OP_EXPOSE_SCALE, 10}}, exposed})},
        HeadCase{"ClearedInOneOperation", [](PlainSetup& s) { s.parallel_clear = true; },
                 Join({modes, {{OP_EXPOSE_SCALE, 10}, {OP_PARALLEL_CLEAR, 200}}, exposed})},
        // 65535 / 656 is 99, one row short of the sensor.
        HeadCase{"ClearedInALoop", [](PlainSetup& s) { s.camera.clear_cycles = 656; },
                 Join({modes,
                       {{OP_EXPOSE_SCALE, 10},
                        {OP_DO_LOOP, 656},
                        {OP_PARALLEL_DIS, 100},
                        {OP_END_DO}},
                       exposed})},
        HeadCase{"ClearedAheadOfTheExposure",
                 [](PlainSetup& s) { s.camera.clear_mode = CLEAR_PRE_EXPOSURE; },
                 Join({modes,
                       {{OP_EXPOSE_SCALE, 10}, {OP_PARALLEL_DIS, 200}, {OP_PARALLEL_DIS, 200}},
                       exposed})},
        HeadCase{"ParallelClearTwiceOutsideALoop",
                 [](PlainSetup& s) {
                     s.camera.clear_mode = CLEAR_PRE_EXPOSURE;
                     s.parallel_clear = true;
                     s.camera.clear_cycles = 656;
                 },
                 // 100 * 656 wraps to 64 in the clear ahead of the exposure.
                 Join({modes,
                       {{OP_EXPOSE_SCALE, 10},
                        {OP_DO_LOOP, 656},
                        {OP_PARALLEL_CLEAR, 100},
                        {OP_END_DO},
                        {OP_DO_LOOP, 656},
                        {OP_PARALLEL_CLEAR, 64},
                        {OP_END_DO}},
                       exposed})},
        HeadCase{"NoParallelClearInsideTheLoop",
                 [](PlainSetup& s) {
                     s.camera.clear_mode = CLEAR_PRE_EXPOSURE_POST_SEQ;
                     s.parallel_clear = true;
                     s.exp_total = 5;
                 },
                 Join({modes,
                       {{OP_EXPOSE_SCALE, 10},
                        {OP_PARALLEL_CLEAR, 200},
                        {OP_DO_LOOP, 5},
                        {OP_PARALLEL_DIS, 200}},
                       exposed})},
        HeadCase{"EndlessRun", [](PlainSetup& s) { s.buf_mode = CIRC_NO_OVERWRITE; },
                 Join({modes,
                       {{OP_EXPOSE_SCALE, 10},
                        {OP_PARALLEL_DIS, 200},
                        {OP_DO_LOOP, 65535},
                        {OP_DO_LOOP, 65535}},
                       exposed})},
        HeadCase{"ShutterStaysShut",
                 [](PlainSetup& s) {
                     s.camera.shtr_open_mode = OPEN_NEVER;
                     s.camera.shtr_open_delay = 5;
                     s.camera.shtr_close_delay = 7;
                 },
                 Join({modes,
                       {{OP_CLOSE_SHUTTER},
                        {OP_EXPOSE_SCALE, 22},
                        {OP_PARALLEL_DIS, 200},
                        {OP_EXPOSE, 1}}})},
        HeadCase{"ShutterOpenForTheSequence",
                 [](PlainSetup& s) { s.camera.shtr_open_mode = OPEN_PRE_SEQUENCE; },
                 Join({modes,
                       {{OP_EXPOSE_SCALE, 10},
                        {OP_OPEN_SHUTTER},
                        {OP_PARALLEL_DIS, 200},
                        {OP_EXPOSE, 1}}})},
        HeadCase{"ShutterOpenAheadOfTheTrigger",
                 [](PlainSetup& s) {
                     s.camera.shtr_open_mode = OPEN_PRE_TRIGGER;
                     s.exp_mode = STROBED_MODE;
                     s.camera.preflash = 9;
                 },
                 Join({modes,
                       {{OP_EXPOSE_SCALE, 10},
                        {OP_PARALLEL_DIS, 200},
                        {OP_OPEN_SHUTTER},
                        {OP_EXPOSE_UNTIL_TRIG},
                        {OP_FLASH, 9},
                        {OP_EXPOSE, 1},
                        {OP_CLOSE_SHUTTER}}})},
        HeadCase{"ShutterLeftAlone",
                 [](PlainSetup& s) { s.camera.shtr_open_mode = OPEN_NO_CHANGE; },
                 Join({modes, {{OP_EXPOSE_SCALE, 10}, {OP_PARALLEL_DIS, 200}, {OP_EXPOSE, 1}}})},
        HeadCase{"StrobedWithClearing",
                 [](PlainSetup& s) {
                     s.exp_mode = STROBED_MODE;
                     s.camera.clear_mode = CLEAR_PRE_EXPOSURE;
                 },
                 Join({modes,
                       {{OP_EXPOSE_SCALE, 10}, {OP_PARALLEL_DIS, 200}, {OP_CLEAR_UNTIL_TRIG}},
                       exposed})},
        HeadCase{"Bulb", [](PlainSetup& s) { s.exp_mode = BULB_MODE; },
                 Join({modes,
                       {{OP_PARALLEL_DIS, 200},
                        {OP_EXPOSE_UNTIL_TRIG},
                        {OP_OPEN_SHUTTER},
                        {OP_EXPOSE_WHILE_TRIG},
                        {OP_CLOSE_SHUTTER}}})},
        HeadCase{"VariableTime",
                 [](PlainSetup& s) {
                     s.exp_mode = VARIABLE_TIMED_MODE;
                     s.exposure_time = 20000;
                 },
                 Join({modes, {{OP_PARALLEL_DIS, 200}}, exposed})},
        HeadCase{"TriggerStartsTheSequence", [](PlainSetup& s) { s.exp_mode = TRIGGER_FIRST_MODE; },
                 Join({modes, {{OP_EXPOSE_SCALE, 10}, {OP_CLEAR_UNTIL_TRIG}}, exposed})},
        HeadCase{"TriggerStartsWithoutSequenceClear",
                 [](PlainSetup& s) {
                     s.exp_mode = TRIGGER_FIRST_MODE;
                     s.camera.clear_mode = CLEAR_PRE_EXPOSURE;
                 },
                 Join({modes,
                       {{OP_EXPOSE_SCALE, 10},
                        {OP_EXPOSE_UNTIL_TRIG},
                        {OP_PARALLEL_DIS, 200},
                        {OP_PARALLEL_DIS, 200}},
                       exposed})},
        HeadCase{"Flash", [](PlainSetup& s) { s.exp_mode = FLASH_MODE; },
                 Join({modes,
                       {{OP_PARALLEL_DIS, 200},
                        {OP_OPEN_SHUTTER},
                        {OP_FLASH, 10},
                        {OP_CLOSE_SHUTTER}}})},
        HeadCase{"NoExposure", [](PlainSetup& s) { s.exposure_time = 0; },
                 Join({modes, {{OP_PARALLEL_DIS, 200}, {OP_OPEN_SHUTTER}, {OP_CLOSE_SHUTTER}}})},
        HeadCase{"Microseconds", [](PlainSetup& s) { s.camera.exp_res = EXP_RES_ONE_MICROSEC; },
                 Join({modes,
                       {{OP_EXPOSE_SCALE, 10},
                        {OP_PARALLEL_DIS, 200},
                        {OP_OPEN_SHUTTER},
                        {OP_EXPOSE_FAST, 1},
                        {OP_CLOSE_SHUTTER}}})},
        HeadCase{"LongExposureWithoutPreamp", [](PlainSetup& s) { s.exposure_time = 10001; },
                 Join({modes,
                       {{OP_EXPOSE_SCALE, 10001}, {OP_PARALLEL_DIS, 200}, {OP_PREAMP_OFF}},
                       exposed,
                       {{OP_PREAMP_ON}}})},
        HeadCase{"SensorModes",
                 [](PlainSetup& s) {
                     s.camera.alt_on = 1;
                     s.camera.mpp_selectable = 1;
                     s.camera.mpp_on = 1;
                     s.camera.frame_capable = 1;
                 },
                 Join({{{OP_ANTIBLOOM_OFF},
                        {OP_PARALLEL_ALT_ON},
                        {OP_MPP_ON},
                        {OP_SET_SERIAL_BIN, 1},
                        {OP_EXPOSE_SCALE, 10},
                        {OP_IMAGE_AND_STORAGE},
                        {OP_PARALLEL_DIS, 200}},
                       exposed})},
        HeadCase{"MppOff", [](PlainSetup& s) { s.camera.mpp_selectable = 1; },
                 Join({{{OP_ANTIBLOOM_OFF},
                        {OP_PARALLEL_ALT_OFF},
                        {OP_MPP_OFF},
                        {OP_SET_SERIAL_BIN, 1},
                        {OP_EXPOSE_SCALE, 10},
                        {OP_PARALLEL_DIS, 200}},
                       exposed})}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(FullProgram, EndsOfSequences) {
    PlainSetup setup;
    setup.camera.shtr_open_mode = OPEN_PRE_SEQUENCE;
    setup.exp_total = 3;
    for (int16 mode : {CLEAR_POST_SEQUENCE, CLEAR_PRE_POST_SEQUENCE, CLEAR_PRE_EXPOSURE_POST_SEQ}) {
        setup.camera.clear_mode = static_cast<uns16>(mode);
        const Ops ops = Write(setup);
        EXPECT_EQ(Ops(ops.end() - 4, ops.end()),
                  (Ops{{OP_END_DO}, {OP_CLOSE_SHUTTER}, {OP_CLEAR}, {OP_TERMINATE}}));
    }
    setup.buf_mode = CIRC_OVERWRITE;
    setup.camera.clear_mode = CLEAR_NEVER;
    const Ops endless = Write(setup);
    EXPECT_EQ(Ops(endless.end() - 4, endless.end()),
              (Ops{{OP_END_DO}, {OP_END_DO}, {OP_CLOSE_SHUTTER}, {OP_TERMINATE}}));
}

// --- read-out

TEST(Readout, SideBySideRegionsShareALine) {
    PlainSetup setup({{10, 29, 2, 20, 39, 4}, {50, 69, 2, 20, 39, 4}});
    setup.camera.prescan = 3;
    setup.camera.postscan = 5;
    EXPECT_EQ(Between(Write(setup), OP_DO_LOOP, OP_END_DO), (Ops{{OP_DO_LOOP, 5},
                                                                 {OP_PARALLEL_BIN, 4},
                                                                 {OP_CLAMPED_DISCARD, 3},
                                                                 {OP_SERIAL_DISCARD, 10},
                                                                 {OP_SERIAL_CONVERT, 10},
                                                                 {OP_SERIAL_DISCARD, 20},
                                                                 {OP_SERIAL_CONVERT, 10},
                                                                 {OP_SERIAL_DISCARD, 35},
                                                                 {OP_END_DO}}));
}

TEST(Readout, RegionsOnTopOfEachOtherMakeStrips) {
    PlainSetup setup({{0, 99, 1, 60, 79, 1}, {0, 49, 1, 0, 9, 1}});
    bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
    bv::ScriptOwner script;
    script.Allocate(script_max_entries);
    bv_script_load_begin(script.get(), script_max_entries);
    ASSERT_TRUE(bv::WriteFullProgram(setup, *script.get()));
    const Ops ops = program_test::OpsOf(script->data, bv_script_load_position());
    EXPECT_EQ(Ops(std::find(ops.begin(), ops.end(), Op{OP_CLOSE_SHUTTER}) + 1, ops.end()),
              (Ops{{OP_SERIAL_DISCARD, 200},  // the first strip flushes the register itself
                   {OP_DO_LOOP, 10},
                   {OP_PARALLEL_BIN, 1},
                   {OP_SERIAL_CONVERT, 50},
                   {OP_SERIAL_DISCARD, 50},
                   {OP_END_DO},
                   {OP_PARALLEL_DIS, 50},
                   {OP_SERIAL_DISCARD, 200},
                   {OP_DO_LOOP, 20},
                   {OP_PARALLEL_BIN, 1},
                   {OP_SERIAL_CONVERT, 100},
                   {OP_END_DO},
                   {OP_EOF},
                   {OP_PARALLEL_DIS, 20},
                   {OP_TERMINATE}}));
    const script_group_type* group = script->groups;
    ASSERT_TRUE(group && group->next && !group->next->next);
    EXPECT_EQ(group->repeat, 10);
    EXPECT_EQ(group->entries[0].pixels, 50);
    EXPECT_EQ(group->next->repeat, 20);
    EXPECT_EQ(group->next->region_count, 1);
    EXPECT_EQ(group->next->entries[0].pixels, 100);
}

TEST(Readout, OneLineNeedsNoLoop) {
    PlainSetup setup({{5, 5, 1, 99, 99, 1}});
    const Ops ops = Write(setup);
    EXPECT_EQ(Count(ops, OP_DO_LOOP), 0u);
    // The last row of the sensor: the frame ends behind the read-out.
    EXPECT_EQ(Ops(ops.end() - 4, ops.end()),
              (Ops{{OP_SERIAL_CONVERT, 1}, {OP_SERIAL_DISCARD, 94}, {OP_EOF}, {OP_TERMINATE}}));
}

TEST(Readout, MaskRows) {
    PlainSetup setup({{0, 99, 1, 0, 99, 1}});
    setup.camera.premask = 4;
    setup.camera.postmask = 6;
    const Ops ops = Write(setup);
    EXPECT_EQ(Ops(std::find(ops.begin(), ops.end(), Op{OP_CLOSE_SHUTTER}) + 1, ops.end()),
              (Ops{{OP_PARALLEL_DIS, 4},
                   {OP_SERIAL_DISCARD, 200},
                   {OP_DO_LOOP, 100},
                   {OP_PARALLEL_BIN, 1},
                   {OP_SERIAL_CONVERT, 100},
                   {OP_END_DO},
                   {OP_EOF},
                   {OP_PARALLEL_DIS, 6},
                   {OP_TERMINATE}}));
}

TEST(Readout, FrameTransferReadsTheStorageHalf) {
    PlainSetup setup({{0, 99, 1, 0, 49, 1}});
    setup.camera.frame_capable = 1;
    setup.camera.frame_transfer_on = 1;
    setup.camera.par_size = 101;
    const Ops ops = Write(setup);
    EXPECT_EQ(Ops(std::find(ops.begin(), ops.end(), Op{OP_CLOSE_SHUTTER}) + 1, ops.end()),
              (Ops{{OP_PARALLEL_DIS, 51},
                   {OP_STORAGE_ONLY},
                   {OP_SERIAL_DISCARD, 200},
                   {OP_DO_LOOP, 50},
                   {OP_PARALLEL_BIN, 1},
                   {OP_SERIAL_CONVERT, 100},
                   {OP_END_DO},
                   {OP_EOF},
                   {OP_PARALLEL_DIS, 1},
                   {OP_IMAGE_AND_STORAGE},
                   {OP_TERMINATE}}));
}

TEST(Readout, FrameTransferIntoAMaskedStorage) {
    PlainSetup setup({{0, 99, 1, 0, 99, 1}});
    setup.camera.frame_capable = 1;
    setup.camera.frame_transfer_on = 1;
    setup.camera.premask = 100;
    const Ops ops = Write(setup);
    EXPECT_EQ(Between(ops, OP_CLOSE_SHUTTER, OP_DO_LOOP), (Ops{{OP_CLOSE_SHUTTER},
                                                               {OP_PARALLEL_DIS, 100},
                                                               {OP_STORAGE_ONLY},
                                                               {OP_SERIAL_DISCARD, 200},
                                                               {OP_DO_LOOP, 100}}));
}

TEST(Readout, RegionsWithDifferentSerialBinning) {
    PlainSetup setup({{0, 49, 1, 0, 9, 1}, {50, 99, 2, 0, 9, 1}});
    const Ops ops = Write(setup);
    EXPECT_EQ(Between(ops, OP_DO_LOOP, OP_END_DO), (Ops{{OP_DO_LOOP, 10},
                                                        {OP_PARALLEL_BIN, 1},
                                                        {OP_SET_SERIAL_BIN, 1},
                                                        {OP_SERIAL_CONVERT, 50},
                                                        {OP_SET_SERIAL_BIN, 2},
                                                        {OP_SERIAL_CONVERT, 25},
                                                        {OP_END_DO}}));
    EXPECT_EQ(Count(ops, OP_SET_SERIAL_BIN), 2u);  // none ahead of the read-out
}

struct RefusedCase {
    const char* name;
    std::vector<rgn_type> regions;
};
class RefusedReadout : public testing::TestWithParam<RefusedCase> {};

TEST_P(RefusedReadout, LeavesAnInvalidScriptError) {
    bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
    EXPECT_EQ(Write(PlainSetup(GetParam().regions)), Ops());
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C3_INVALID_SCRIPT);
}

INSTANTIATE_TEST_SUITE_P(Cases, RefusedReadout,
                         testing::Values(RefusedCase{"StraddledRow",
                                                     {{0, 9, 1, 0, 9, 2}, {20, 29, 1, 1, 8, 2}}},
                                         RefusedCase{"DifferentParallelBinning",
                                                     {{0, 9, 1, 0, 9, 2}, {20, 29, 1, 0, 9, 1}}},
                                         RefusedCase{"NoParallelBinning", {{0, 9, 1, 0, 9, 0}}}),
                         [](const auto& test) { return std::string(test.param.name); });

// --- port actions

TEST(PortActions, StandAtTheirLocations) {
    pg_cam_reads = std::make_unique<cam_reads_type[]>(1);
    pg_cam_reads[0].cap_io = 1;
    io_script_lists lists;
    for (uns16 location = 0; location < io_script_locations; ++location) {
        lists[location].next = std::make_unique<io_entry>();
        *lists[location].next = {.addr = static_cast<uns16>(100 + location),
                                 .type = IO_TYPE_TTL,
                                 .state = 1.0,
                                 .next = nullptr};
    }
    PlainSetup setup({{0, 99, 1, 0, 9, 1}, {0, 99, 1, 20, 20, 1}});
    setup.camera.io_info = &lists;
    setup.camera.preflash = 3;
    std::string order;
    for (const Op& op : Write(setup)) {
        switch (op.op) {
            case OP_PORT_SELECT: order += std::to_string(op.argument - 100); break;
            case OP_OPEN_SHUTTER: order += 'o'; break;
            case OP_CLOSE_SHUTTER: order += 'c'; break;
            case OP_FLASH: order += 'f'; break;
            case OP_EXPOSE: order += 'x'; break;
            case OP_DO_LOOP: order += '('; break;
            case OP_PARALLEL_BIN: order += 'b'; break;
            case OP_EOF: order += 'e'; break;
        }
    }
    EXPECT_EQ(order, "2f30o14x58c96(b6be7");

    // A camera without ports gets the program without them, and no error.
    pg_cam_reads[0].cap_io = 0;
    EXPECT_EQ(Count(Write(setup), OP_PORT_SELECT), 0u);
    pg_cam_reads.reset();
}

TEST(PortActions, UnknownTypeEndsTheGeneration) {
    pg_cam_reads = std::make_unique<cam_reads_type[]>(1);
    pg_cam_reads[0].cap_io = 1;
    io_script_lists lists;
    lists[SCR_POST_READOUT].next = std::make_unique<io_entry>();
    lists[SCR_POST_READOUT].next->type = 2;
    PlainSetup setup;
    setup.camera.io_info = &lists;
    EXPECT_EQ(Write(setup), Ops());
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C2_NOT_AVAILABLE);
    pg_cam_reads.reset();
}
