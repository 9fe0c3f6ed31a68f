// The program of a full-dialect camera, operation by operation.
#include <gmock/gmock.h>
#include <memory>
#include <string>

#include "unit/acquisition/program.h"

namespace {

using program_test::PlainRun;
using testing::HasSubstr;

const std::string modes = "antibloom off, alternate off, serial bin 1, ";
const std::string exposed = "open, expose 1, close";

TEST(FullProgram, OneFrameOperationByOperation) {
    EXPECT_EQ(PlainRun().Text(),
              "antibloom off, alternate off, serial bin 1, scale 10, shift 200, open, expose 1, "
              "close, shift 10, skip 200, do 10, bin 1, convert 100, end do, eof, shift 80, "
              "terminate");
}

struct ProgramCase {
    const char* name;
    PlainRun run;
    std::string expected;
};

// What stands ahead of the read-out of the plain frame, by one change of it.
const ProgramCase heads[] = {
    {"NeverCleared", {.clear_mode = CLEAR_NEVER}, modes + "scale 10, " + exposed},
    {"NoClearCycles", {.clear_cycles = 0}, modes + "scale 10, " + exposed},
    // 65535 / 656 is 99, one row short of the sensor.
    {"ClearedInALoop",
     {.clear_cycles = 656},
     modes + "scale 10, do 656, shift 100, end do, " + exposed},
    // 100 * 656 wraps to 64 in the clear ahead of the exposure.
    {"ParallelClearTwiceOutsideALoop",
     {.clear_mode = CLEAR_PRE_EXPOSURE, .clear_cycles = 656, .parallel_clear = true},
     modes + "scale 10, do 656, parallel clear 100, end do, do 656, parallel clear 64, end do, " +
         exposed},
    {"NoParallelClearInsideTheLoop",
     {.exp_total = 5, .clear_mode = CLEAR_PRE_EXPOSURE_POST_SEQ, .parallel_clear = true},
     modes + "scale 10, parallel clear 200, do 5, shift 200, " + exposed},
    {"EndlessRun",
     {.buf_mode = CIRC_NO_OVERWRITE},
     modes + "scale 10, shift 200, do 65535, do 65535, " + exposed},
    {"ShutterStaysShut",
     {.shtr_open_mode = OPEN_NEVER, .shtr_open_delay = 5, .shtr_close_delay = 7},
     modes + "close, scale 22, shift 200, expose 1"},
    {"ShutterOpensOnAllOfTheSensor",
     {.shtr_open_mode = OPEN_PRE_SEQUENCE, .frame_capable = 1},
     modes + "scale 10, both halves, open, shift 200, expose 1"},
    {"ShutterOpenAheadOfTheTrigger",
     {.exp_mode = STROBED_MODE, .shtr_open_mode = OPEN_PRE_TRIGGER, .preflash = 9},
     modes + "scale 10, shift 200, open, until trigger, flash 9, expose 1, close"},
    {"StrobedWithClearing",
     {.exp_mode = STROBED_MODE, .clear_mode = CLEAR_PRE_EXPOSURE},
     modes + "scale 10, shift 200, clear until trigger, " + exposed},
    {"VariableTime",
     {.exp_mode = VARIABLE_TIMED_MODE, .exposure_time = 20000},
     modes + "shift 200, " + exposed},
    {"TriggerStartsWithoutSequenceClear",
     {.exp_mode = TRIGGER_FIRST_MODE, .clear_mode = CLEAR_PRE_EXPOSURE},
     modes + "scale 10, until trigger, shift 200, shift 200, " + exposed},
    {"Flash", {.exp_mode = FLASH_MODE}, modes + "shift 200, open, flash 10, close"},
    {"NoExposure", {.exposure_time = 0}, modes + "shift 200, open, close"},
    {"Microseconds",
     {.exp_res = EXP_RES_ONE_MICROSEC},
     modes + "scale 10, shift 200, open, expose fast 1, close"},
    {"LongestExposureWithPreamp",
     {.exposure_time = 10000},
     modes + "scale 10000, shift 200, " + exposed},
    {"LongExposureWithoutPreamp",
     {.exposure_time = 10001},
     modes + "scale 10001, shift 200, preamp off, " + exposed + ", preamp on"},
    {"SensorModes",
     {.frame_capable = 1, .alt_on = 1, .mpp_selectable = 1, .mpp_on = 1},
     "antibloom off, alternate on, mpp on, serial bin 1, scale 10, both halves, shift 200, " +
         exposed},
    {"MppOff",
     {.mpp_selectable = 1},
     "antibloom off, alternate off, mpp off, serial bin 1, scale 10, shift 200, " + exposed},
};

TEST(FullProgram, HeadIsExact) {
    for (const auto& [name, run, expected] : heads) {
        const std::string text = run.Text();
        EXPECT_EQ(text.substr(0, text.find(", shift 10, ")), expected) << name;
    }
}

TEST(FullProgram, EndsOfSequences) {
    PlainRun run{.exp_total = 3, .shtr_open_mode = OPEN_PRE_SEQUENCE};
    for (uns16 mode : {CLEAR_POST_SEQUENCE, CLEAR_PRE_POST_SEQUENCE, CLEAR_PRE_EXPOSURE_POST_SEQ}) {
        run.clear_mode = mode;
        EXPECT_THAT(run.Text(), testing::EndsWith("shift 80, end do, close, clear, terminate"));
    }
    run.buf_mode = CIRC_OVERWRITE;
    run.clear_mode = CLEAR_NEVER;
    EXPECT_THAT(run.Text(), testing::EndsWith("shift 80, end do, end do, close, terminate"));
}

// All that comes behind the exposure.
const ProgramCase readouts[] = {
    {"SideBySideRegionsShareALine",
     {.regions = {{10, 29, 2, 20, 39, 4}, {50, 69, 2, 20, 39, 4}}, .prescan = 3, .postscan = 5},
     "shift 20, skip 216, do 5, bin 4, clamped 3, skip 10, convert 10, skip 20, convert 10, "
     "skip 35, end do, eof, shift 60"},
    // The first strip flushes the register itself.
    {"RegionsOnTopOfEachOtherMakeStrips",
     {.regions = {{0, 99, 1, 60, 79, 1}, {0, 49, 1, 0, 9, 1}}},
     "skip 200, do 10, bin 1, convert 50, skip 50, end do, shift 50, skip 200, do 20, bin 1, "
     "convert 100, end do, eof, shift 20"},
    {"FrameTransferReadsTheStorageHalf",
     {.regions = {{0, 99, 1, 0, 49, 1}},
      .par_size = 101,
      .frame_capable = 1,
      .frame_transfer_on = 1},
     "shift 51, storage only, skip 200, do 50, bin 1, convert 100, end do, eof, shift 1, "
     "both halves"},
    {"RegionsWithDifferentSerialBinning",
     {.regions = {{0, 49, 1, 0, 9, 1}, {50, 99, 2, 0, 9, 1}}},
     "skip 200, do 10, bin 1, serial bin 1, convert 50, serial bin 2, convert 25, end do, eof, "
     "shift 90"},
};

TEST(FullProgram, ReadoutIsExact) {
    for (const auto& [name, run, expected] : readouts) {
        const std::string text = run.Text();
        EXPECT_EQ(text.substr(text.find("close, ") + 7), expected + ", terminate") << name;
    }
}

TEST(Readout, RegionsThatCannotBeReadTogetherAreRefused) {
    const std::vector<rgn_type> refused[] = {{{0, 9, 1, 0, 9, 2}, {20, 29, 1, 1, 8, 2}},
                                             {{0, 9, 1, 0, 9, 2}, {20, 29, 1, 0, 9, 1}},
                                             {{0, 9, 1, 0, 9, 0}}};
    for (const std::vector<rgn_type>& regions : refused) {
        EXPECT_EQ(PlainRun{.regions = regions}.Text(), "");
        EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C3_INVALID_SCRIPT);
    }
}

class PortActions : public testing::Test {
  protected:
    PortActions() {
        pg_cam_reads = std::make_unique<cam_reads_type[]>(1);
        pg_cam_reads[0].cap_io = 1;
    }
    ~PortActions() override { pg_cam_reads.reset(); }

    void Add(uns16 location, uns16 type) {
        lists_[location].next = std::make_unique<io_entry>();
        *lists_[location].next = {.addr = static_cast<uns16>(100 + location),
                                  .type = type,
                                  .state = 1.0,
                                  .next = nullptr};
    }

    io_script_lists lists_;
};

TEST_F(PortActions, StandAtTheirLocations) {
    for (uns16 location = 0; location < io_script_locations; ++location) {
        Add(location, IO_TYPE_TTL);
    }
    const PlainRun run{
        .regions = {{0, 99, 1, 0, 9, 1}, {0, 99, 1, 20, 20, 1}}, .preflash = 3, .io_info = &lists_};
    const auto action = [](int location) {
        return "port " + std::to_string(100 + location) + ", ttl 1";
    };
    EXPECT_THAT(run.Text(), HasSubstr("shift 200, " + action(2) + ", flash 3, " + action(3) + ", " +
                                      action(0) + ", open, " + action(1) + ", " + action(4) +
                                      ", expose 1, " + action(5) + ", " + action(8) + ", close, " +
                                      action(9) + ", skip 200, " + action(6) + ", do 10, bin 1"));
    EXPECT_THAT(run.Text(), HasSubstr(action(6) + ", bin 1, convert 100, eof, " + action(7)));

    // A camera without ports gets the program without them, and no error.
    pg_cam_reads[0].cap_io = 0;
    EXPECT_THAT(run.Text(), testing::Not(HasSubstr("port")));
    EXPECT_THAT(run.Text(), testing::EndsWith("terminate"));
}

}  // namespace
