// The program orvex as a user runs it, against noiseless software cameras.
#include "support/command_line.h"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/eventually.h"
#include "support/image_reading.h"
#include "support/scene_image.h"
#include "support/temp_dir.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

using Output = support::ProgramOutput;

class CommandLine : public testing::Test {
  protected:
    CommandLine() : scene_(1024, 1024, 7), program_(folder_.path(), folder_ / "cameras.json") {
        scene_.WriteTiff(folder_ / "scene.tif");
        folder_.write("cameras.json", R"({"noise": false, "time_scale": 0,
            "scene": {"kind": "file", "path": ")" +
                                          (folder_ / "scene.tif").string() + R"("},
            "cameras": [
                {"model": "ccd", "name": "Left"},
                {"model": "cmos", "name": "Right"},
                {"model": "cmos", "name": "Stuck",
                 "faults": [{"fault": "stuck_transfer", "after": 2}]},
                {"model": "ccd", "name": "Loose", "faults": [{"fault": "unplug", "after": 1}]},
                {"model": "ccd", "name": "Warm", "time_scale": 1}]})");
    }

    Output Orvex(const std::string& arguments) const { return program_.Run(arguments); }

    std::string Content(const std::string& name) const {
        std::ifstream file(folder_ / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    // What commands left beside the files of the fixture.
    std::set<std::string> Files() const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
            names.insert(entry.path().filename());
        }
        names.erase("cameras.json");
        names.erase("scene.tif");
        return names;
    }

    support::TempDir folder_;
    support::SceneImage scene_;
    support::CommandLineProgram program_;
};

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
        "--out pictures/first --format tif,fits,png,raw");
    ASSERT_EQ(snap.status, 0) << snap.text;
    EXPECT_THAT(snap.text, HasSubstr("2 frames of 30 x 40 pixels"));
    EXPECT_GT(std::filesystem::file_size(folder_ / "pictures/first.png"), 100u);
    const std::vector<uns16> once = scene_.CropAndBin({100, 159, 2, 200, 239, 1});
    const std::vector<std::vector<uns16>> twice = {once, once};
    EXPECT_EQ(support::ReadFits(folder_ / "pictures/first.fits").pixels, twice);
    EXPECT_EQ(support::ReadTiff(folder_ / "pictures/first.tif").pixels, twice);
    EXPECT_EQ(support::ReadRaw(folder_ / "pictures/first.raw", once.size() * 2), twice);
    const json side = json::parse(Content("pictures/first.raw.json"));
    EXPECT_EQ(side["frames"], 2);
    EXPECT_EQ(side["begin_s"].size(), 2u);
}

TEST_F(CommandLine, FilesSayWhatIsKnown) {
    ASSERT_EQ(Orvex("snap Right --set temp_setpoint=-15 --wait-temp --set gain_index=2 --bin 1x2 "
                    "--roi 8,16,64,32 --exposure 2.5 --out f.fits")
                  .status,
              0);
    ASSERT_EQ(Orvex("snap Left --set shtr_open_mode=never --roi 0,0,8,8 --out dark.fits").status,
              0);
    ASSERT_EQ(Orvex("snap Left --exposure 0 --roi 0,0,8,8 --out bias.fits").status, 0);
    ASSERT_EQ(Orvex("snap Left --type Flat --roi 0,0,8,8 --out flat.fits").status, 0);
    std::map<std::string, std::string> cards = support::ReadFits(folder_ / "f.fits").cards;
    const std::pair<const char*, const char*> expected[] = {
        {"INSTRUME", "Right"}, {"IMAGETYP", "LIGHT"},
        {"BUNIT", "adu"},      {"TIMESYS", "UTC"},
        {"EXPTIME", "0.0025"}, {"XPIXSZ", "6.5"},
        {"YPIXSZ", "13."},     {"CCD-TEMP", "-15."},
        {"SET-TEMP", "-15."},  {"READOUTM", "Sensitivity, 100 MHz"},
        {"GAIN", "2"},         {"GAINNAME", "Full Well"},
        {"EGAIN", "11.3"},     {"RDNOISE", "5."},
        {"PEDESTAL", "100"},   {"SATURATE", "4095"},
        {"YORGSUBF", "16"},    {"EXPMODE", "timed"}};
    for (const auto& [key, value] : expected) EXPECT_EQ(cards[key], value) << key;
    EXPECT_THAT(cards["SWCREATE"], HasSubstr("orvex 1."));
    // What a camera does not tell is not made up.
    cards = support::ReadFits(folder_ / "dark.fits").cards;
    EXPECT_EQ(cards["IMAGETYP"], "DARK");
    EXPECT_FALSE(cards.contains("EGAIN") || cards.contains("RDNOISE"));
    EXPECT_EQ(support::ReadFits(folder_ / "bias.fits").cards["IMAGETYP"], "BIAS");
    EXPECT_EQ(support::ReadFits(folder_ / "flat.fits").cards["IMAGETYP"], "FLAT");
}

// A name is a name, whatever stands in it, and what it might mean to a library stays as it is.
class OddName : public CommandLine, public testing::WithParamInterface<const char*> {};

TEST_P(OddName, IsTakenAsItIs) {
    const std::string name = GetParam();
    const std::set<std::string> precious = {"x", "x.fits", "w.fits", "w.tif"};
    for (const std::string& file : precious) folder_.write(file, "precious");
    const Output snap = Orvex("snap Left --roi 0,0,8,8 --out '" + name + "'");
    ASSERT_EQ(snap.status, 0) << snap.text;
    std::set<std::string> expected = precious;
    for (const char* ending : {".tif", ".fits", ".png"}) expected.insert(name + ending);
    EXPECT_EQ(Files(), expected);
    for (const std::string& file : precious) EXPECT_EQ(Content(file), "precious") << file;
    EXPECT_EQ(support::ReadFits(folder_ / (name + ".fits")).width, 8u);
}

INSTANTIATE_TEST_SUITE_P(Names, OddName,
                         testing::Values("x[1]", "x(y)", "!w", "x[1:2,1:2]", " w", "~w", "mem:w",
                                         "x.fits+1", "-"));

struct Choice {
    const char* options;
    std::set<std::string> files;
};

class ChosenFormats : public CommandLine, public testing::WithParamInterface<Choice> {};

TEST_P(ChosenFormats, AreWritten) {
    const Output snap = Orvex(std::string("snap Left --roi 0,0,8,8 ") + GetParam().options);
    ASSERT_EQ(snap.status, 0) << snap.text;
    EXPECT_EQ(Files(), GetParam().files);
}

INSTANTIATE_TEST_SUITE_P(Options, ChosenFormats,
                         testing::Values(Choice{"", {"snap.tif", "snap.fits", "snap.png"}},
                                         Choice{"--out a.b", {"a.b.tif", "a.b.fits", "a.b.png"}},
                                         Choice{"--out a.tiff", {"a.tiff"}},
                                         Choice{"--out a.fits --format png,tif,png",
                                                {"a.png", "a.tif"}},
                                         Choice{"--out a.raw", {"a.raw", "a.raw.json"}}));

// Told before the camera is looked for, let alone touched.
TEST_F(CommandLine, FilesThatExistAreSafe) {
    for (const char* file : {"a.tif", "b.raw.json", "c.fits.part"}) folder_.write(file, "precious");
    const std::set<std::string> before = Files();
    for (const char* refused :
         {"snap Nobody --out a", "stream Nobody --record b.raw", "snap Nobody --out c.fits"}) {
        const Output output = Orvex(refused);
        EXPECT_EQ(output.status, 1);
        EXPECT_THAT(output.text, HasSubstr("exists")) << refused;
    }
    // A run that fails leaves the old file, too.
    const Output gone = Orvex("snap Loose --frames 3 --roi 0,0,8,8 --out a.tif --force");
    EXPECT_EQ(gone.status, 1);
    EXPECT_THAT(gone.text, HasSubstr("the camera is gone"));
    EXPECT_EQ(Files(), before);
    for (const std::string& file : before) EXPECT_EQ(Content(file), "precious");
    EXPECT_EQ(Orvex("snap Left --roi 0,0,8,8 --out a.tif --force").status, 0);
    EXPECT_EQ(support::ReadTiff(folder_ / "a.tif").width, 8u);
}

class EndedBySignal : public CommandLine, public testing::WithParamInterface<int> {};

TEST_P(EndedBySignal, LeavesNothingBehind) {
    support::RunningProgram run(
        program_.Command("snap Stuck --frames 9 --timeout 0 --roi 0,0,8,8"));
    ASSERT_TRUE(support::Eventually([&] { return Files().contains("snap.tif.part"); }));
    run.Signal(GetParam());
    const Output output = run.Finish();
    EXPECT_EQ(output.status, 128 + GetParam());
    EXPECT_THAT(output.text, HasSubstr("orvex: interrupted"));
    EXPECT_EQ(Files(), std::set<std::string>());
}

INSTANTIATE_TEST_SUITE_P(Signals, EndedBySignal, testing::Values(SIGINT, SIGTERM, SIGHUP));

// Folders of device files: those of dead processes go, all others stay.
TEST_F(CommandLine, LeftOversOfDeadProcessesAreRemoved) {
    const std::string gone = "orvex-dev-aaaaaa", full = "orvex-dev-bbbbbb";
    const std::string alive = "orvex-dev-cccccc";
    for (const std::string& name : {gone, full, alive}) {
        std::filesystem::create_directory(folder_ / name);
        ASSERT_EQ(mknod((folder_ / name / "cam0").c_str(), S_IFSOCK | 0600, 0), 0);
    }
    std::ofstream(folder_ / full / "notes") << "precious";
    const int held = open((folder_ / alive).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(flock(held, LOCK_EX), 0);
    ASSERT_EQ(Orvex("list").status, 0);
    close(held);
    EXPECT_EQ(Files(), (std::set<std::string>{full, alive}));
    EXPECT_TRUE(std::filesystem::exists(folder_ / full / "notes"));
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
    {"snap Left --format gif", 2, "take tif, fits, png or raw"},
    {"snap Left --mode edge", 2, "Left has no mode 'edge'; it has timed, strobed"},
    {"snap Left --expose-out any-row", 2, "has no expose-out signal"},
    {"snap Stuck --frames 5 --timeout 2", 1, "2 s; the last was frame 2"},
    {"snap Warm --wait-temp --timeout 0.2", 1, "not at its set-point of -40.00 C"},
    {"snap Left --frames 1 --roi 0,0,8,8 --out /proc/nothing/here", 1, "nothing"},
    {"info Left >/dev/full", 1, ""},
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
