#include "command_line.h"

#include <csignal>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "support/eventually.h"
#include "support/scene_image.h"

#include "frame_formats.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

TEST_F(CommandLine, ListsTheCameras) {
    const Output names = Orvex("list --names");
    EXPECT_EQ(names.status, 0);
    EXPECT_EQ(names.text, "Left\nRight\nStuck\nLoose\nWarm\n");
    EXPECT_THAT(Orvex("list").text, HasSubstr("1  Right"));
    EXPECT_EQ(json::parse(Orvex("list --json").text)[1], json({{"index", 1}, {"name", "Right"}}));
    EXPECT_THAT(Orvex("info Left").text, HasSubstr("SFT-1024-FT"));
    const json info = json::parse(Orvex("info Right --json").text);
    EXPECT_EQ(info["pixel width"], json({{"value", 6500}, {"unit", "nm"}}));
    EXPECT_EQ(info["readout port"], "Sensitivity");
}

TEST_F(CommandLine, SnapWritesTheSceneIntoAllFiles) {
    const Output snap = Orvex(
        "snap Left --frames 2 --exposure 3 --roi 100,200,60,40 --bin 2x1 "
        "--out pictures/first --format " +
        tests::JoinedFormats());
    ASSERT_EQ(snap.status, 0) << snap.text;
    EXPECT_THAT(snap.text, HasSubstr("2 frames of 30 x 40 pixels"));
    const std::vector<uns16> once = support::RampRegion({100, 159, 2, 200, 239, 1});
    for (const std::string& format : tests::formats) {
        const std::filesystem::path file = folder_ / ("pictures/first." + format);
        if (format == "png")
            EXPECT_GT(std::filesystem::file_size(file), 100u);
        else
            EXPECT_EQ(tests::ReadFrames(file, 30, 40), std::vector(2, once)) << format;
    }
    const json side = json::parse(Content("pictures/first.raw.json"));
    EXPECT_EQ(side["frames"], 2);
    EXPECT_EQ(side["begin_s"].size(), 2u);
}

// Told before the camera is looked for, let alone touched.
TEST_F(CommandLine, FilesThatExistAreSafe) {
    for (const char* file : {"a.raw", "b.raw.json", "c.raw.part"}) folder_.write(file, "precious");
    const std::set<std::string> before = Files();
    for (const char* refused :
         {"snap Nobody --out a.raw", "stream Nobody --record b.raw", "snap Nobody --out c.raw"}) {
        const Output output = Orvex(refused);
        EXPECT_EQ(output.status, 1);
        EXPECT_THAT(output.text, HasSubstr("exists")) << refused;
    }
    // A run that fails leaves the old file, too.
    const Output gone = Orvex("snap Loose --frames 3 --roi 0,0,8,8 --out a.raw --force");
    EXPECT_EQ(gone.status, 1);
    EXPECT_THAT(gone.text, HasSubstr("the camera is gone"));
    EXPECT_EQ(Files(), before);
    for (const std::string& file : before) EXPECT_EQ(Content(file), "precious");
    EXPECT_EQ(Orvex("snap Left --roi 0,0,8,8 --out a.raw --force").status, 0);
    EXPECT_EQ(support::ReadRaw(folder_ / "a.raw", 8 * 8 * 2).size(), 1u);
}

TEST_F(CommandLine, AnInterruptLeavesNothingBehind) {
    support::RunningProgram run(
        program_.Command("snap Stuck --frames 9 --timeout 0 --roi 0,0,8,8 --out snap.raw"));
    ASSERT_TRUE(support::Eventually([&] { return Files().contains("snap.raw.part"); }));
    run.Signal(SIGINT);
    const Output output = run.Finish();
    EXPECT_EQ(output.status, 128 + SIGINT);
    EXPECT_THAT(output.text, HasSubstr("orvex: interrupted"));
    EXPECT_EQ(Files(), std::set<std::string>());
}

TEST_F(CommandLine, ParametersByNameAndText) {
    EXPECT_EQ(Orvex("get Left clear_mode").text, "Pre-Exposure\n");
    EXPECT_EQ(Orvex("get Left temp_setpoint").text, "-40.00 C\n");
    const Output set =
        Orvex("set Left clear_mode=never clear-cycles=5 temp_setpoint=-20.29 'pix_time=7 ns'");
    EXPECT_THAT(set.text, HasSubstr("PARAM_CLEAR_MODE = Never"));
    EXPECT_THAT(set.text, HasSubstr("PARAM_CLEAR_CYCLES = 5"));
    EXPECT_THAT(set.text, HasSubstr("PARAM_TEMP_SETPOINT = -20.29 C"));
    const json got = json::parse(Orvex("get Left temp_setpoint clear_mode ser_size --json").text);
    EXPECT_EQ(got["PARAM_TEMP_SETPOINT"], json({{"value", -40.0}, {"unit", "C"}}));
    EXPECT_EQ(got["PARAM_CLEAR_MODE"], json({{"value", 1}, {"text", "Pre-Exposure"}}));
    EXPECT_EQ(got["PARAM_SER_SIZE"], json({{"value", 1024}}));
    EXPECT_THAT(Orvex("params Right").text, HasSubstr("-15.0 .. 25.0 C"));
}

TEST_F(CommandLine, ProgramListsTheOperations) {
    const Output full = Orvex("program Left --exposure 70000 --frames 3 --roi 0,0,8,8");
    EXPECT_EQ(full.status, 0) << full.text;
    EXPECT_THAT(full.text, HasSubstr("OP_EXPOSE_SCALE          1000\n"));
    EXPECT_THAT(full.text, HasSubstr("OP_DO_LOOP               3\n"));
    const Output simplified = Orvex("program Right --frames 3 --json");
    EXPECT_THAT(simplified.text, HasSubstr("\"OP_FRAME_COUNT\""));
    EXPECT_THAT(simplified.text, Not(HasSubstr("OP_TERMINATE")));
    EXPECT_THAT(Orvex("program Left --mode bulb").text, HasSubstr("OP_EXPOSE_WHILE_TRIG"));
    EXPECT_THAT(Orvex("program Left --mode STROBED_MODE").text, HasSubstr("UNTIL_TRIG"));
    EXPECT_THAT(Orvex("program Right --mode 'edge trigger' --expose-out any-row").text,
                HasSubstr(std::to_string(int{EXT_TRIG_EDGE_RISING} + int{EXPOSE_OUT_ANY_ROW})));
}

struct Refusal {
    const char* arguments;
    int status;
    const char* words;
};

const Refusal refusals[] = {
    {"info Nobody", 1, "C0_CAM_NAME_NOT_FOUND) [error 14]"},
    {"info left2", 1, "did you mean Left?"},
    {"get Left tempp", 2, "did you mean TEMP"},
    {"set Left clear_mode=sometimes", 2, "'Never' (0), 'Pre-Exposure' (1)"},
    {"set Left chip_name=x", 2, "can't be set from a text"},
    {"set Left clear_cycles=70000", 2, "legal are 0 to 65535"},
    {"set Left temp_setpoint=-7000", 2, "legal are -70.00 C to 20.00 C"},
    {"set Left bit_depth=8", 1, "C2_FAILED_TO_SET_VALUE"},
    {"snap Left --roi 1000,0,100,100", 1, "C3_RGN_INVALID) [error 33]"},
    {"snap Left --mode edge", 2, "Left has no mode 'edge'; it has timed, strobed"},
    {"snap Left --expose-out any-row", 2, "has no expose-out signal"},
    {"snap Stuck --frames 5 --timeout 2", 1, "2 s; the last was frame 2"},
    {"snap Warm --wait-temp --timeout 0.2", 1, "not at its set-point of -40.00 C"},
    {"snpa Left", 2, "did you mean snap?"},
    {"", 2, "required"},
    {"snap", 2, "camera"},
    {"list --nonsense", 2, "nonsense"},
    {"--help", 0, "snap"}};

TEST_F(CommandLine, RefusalsSayWhy) {
    for (const auto& [arguments, status, words] : refusals) {
        const Output output = Orvex(arguments);
        EXPECT_EQ(output.status, status) << output.text;
        EXPECT_THAT(output.text, HasSubstr(words)) << arguments;
    }
}

}  // namespace
