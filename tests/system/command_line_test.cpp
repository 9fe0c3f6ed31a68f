// The program orvex as a user runs it, against noiseless software cameras.
#include "support/command_line.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "support/image_reading.h"
#include "support/scene_image.h"
#include "support/temp_dir.h"

namespace {

using testing::HasSubstr;
using testing::Not;

using Output = support::ProgramOutput;

class CommandLine : public testing::Test {
  protected:
    CommandLine() : scene_(1024, 1024, 7) {
        scene_.WriteTiff(folder_ / "scene.tif");
        configuration_ = folder_
                             .write("cameras.json", R"({"noise": false, "time_scale": 0,
                       "scene": {"kind": "file", "path": ")" +
                                                        (folder_ / "scene.tif").string() + R"("},
                       "cameras": [{"model": "ccd", "name": "Left"},
                                   {"model": "cmos", "name": "Right"}]})")
                             .string();
    }

    Output Orvex(const std::string& arguments) const {
        return support::CommandLineProgram(folder_.path(), configuration_).Run(arguments);
    }

    support::TempDir folder_;
    support::SceneImage scene_;
    std::string configuration_;
};

TEST_F(CommandLine, ListsTheCameras) {
    const Output names = Orvex("list --names");
    EXPECT_EQ(names.status, 0);
    EXPECT_EQ(names.text, "Left\nRight\n");
    EXPECT_THAT(Orvex("list").text, HasSubstr("1  Right"));
    EXPECT_THAT(Orvex("info Left").text, HasSubstr("SFT-1024-FT"));
}

TEST_F(CommandLine, SnapWritesTheSceneIntoAllFiles) {
    const Output snap = Orvex(
        "snap Left --frames 2 --exposure 3 --roi 100,200,60,40 --bin 2x1 "
        "--out pictures/first");
    ASSERT_EQ(snap.status, 0) << snap.text;
    EXPECT_THAT(snap.text, HasSubstr("2 frames of 30 x 40 pixels"));
    for (const char* ending : {"tif", "fits", "png"}) {
        EXPECT_GT(std::filesystem::file_size(folder_ / ("pictures/first." + std::string(ending))),
                  100u);
    }
    const std::vector<uns16> once = scene_.CropAndBin({100, 159, 2, 200, 239, 1});
    const std::vector<std::vector<uns16>> twice = {once, once};
    EXPECT_EQ(support::ReadFits(folder_ / "pictures/first.fits").pixels, twice);
    EXPECT_EQ(support::ReadTiff(folder_ / "pictures/first.tif").pixels, twice);
}

TEST_F(CommandLine, ParametersByNameAndText) {
    EXPECT_EQ(Orvex("get Left clear_mode").text, "Pre-Exposure\n");
    const Output set = Orvex("set Left clear_mode=never clear-cycles=5");
    EXPECT_EQ(set.status, 0);
    EXPECT_THAT(set.text, HasSubstr("PARAM_CLEAR_MODE = Never"));
    EXPECT_THAT(set.text, HasSubstr("PARAM_CLEAR_CYCLES = 5"));
    EXPECT_THAT(Orvex("params Right --json").text, HasSubstr("\"PARAM_CENTROIDS_MODE\""));
}

TEST_F(CommandLine, ProgramListsTheOperations) {
    const Output full = Orvex("program Left --exposure 70000 --frames 3 --roi 0,0,8,8");
    EXPECT_EQ(full.status, 0) << full.text;
    EXPECT_THAT(full.text, HasSubstr("OP_EXPOSE_SCALE          1000\n"));
    EXPECT_THAT(full.text, HasSubstr("OP_DO_LOOP               3\n"));
    EXPECT_THAT(full.text, HasSubstr("OP_TERMINATE"));
    const Output simplified = Orvex("program Right --frames 3 --json");
    EXPECT_THAT(simplified.text, HasSubstr("\"OP_FRAME_COUNT\""));
    EXPECT_THAT(simplified.text, Not(HasSubstr("OP_TERMINATE")));
}

struct Refusal {
    const char* arguments;
    int status;
    const char* words;
};

class RefusedCommand : public CommandLine, public testing::WithParamInterface<Refusal> {};

TEST_P(RefusedCommand, SaysWhy) {
    const Output output = Orvex(GetParam().arguments);
    EXPECT_EQ(output.status, GetParam().status) << output.text;
    EXPECT_THAT(output.text, HasSubstr(GetParam().words));
}

INSTANTIATE_TEST_SUITE_P(
    Commands, RefusedCommand,
    testing::Values(Refusal{"info Nobody", 1, "C0_CAM_NAME_NOT_FOUND) [error 14]"},
                    Refusal{"get Left tempp", 1, "did you mean TEMP"},
                    Refusal{"set Left clear_mode=sometimes", 1, "'Never' (0), 'Pre-Exposure' (1)"},
                    Refusal{"set Left chip_name=x", 1, "can't be set from a text"},
                    Refusal{"set Left clear_cycles=70000", 1, "legal are 0 to 65535"},
                    Refusal{"set Left bit_depth=8", 1, "C2_FAILED_TO_SET_VALUE"},
                    Refusal{"snap Left --roi 1000,0,100,100", 1, "C3_RGN_INVALID) [error 33]"},
                    Refusal{"snap Left --roi 10,10", 1, "is no region"},
                    Refusal{"snap Left --bin 0", 1, "is no binning"},
                    Refusal{"snap Left --frames 1 --roi 0,0,8,8 --out /proc/nothing/here", 1,
                            "nothing"}));

TEST_F(CommandLine, BadUseIsExplained) {
    EXPECT_NE(Orvex("").status, 0);
    EXPECT_NE(Orvex("snap").status, 0);
    EXPECT_THAT(Orvex("--help").text, HasSubstr("snap"));
}

}  // namespace
