// The programs of examples/ as a reader of the guide runs them, and the guide against the programs.
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sstream>
#include <string>
#include <vector>

#include "orvex/orvex.h"

#include "support/command_line.h"
#include "support/scene_image.h"
#include "support/temp_dir.h"

namespace {

using support::RampPixel;
using testing::HasSubstr;

// One camera that looks at a ramp.
std::string Configuration(const std::string& model, const std::string& keys) {
    return R"({"time_scale": 0, "scene": {"kind": "ramp"}, )" + keys +
           R"(, "cameras": [{"model": ")" + model + R"(", "name": "Example"}]})";
}
const std::string ideal = R"("noise": false)";

std::string ReadText(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

struct ExampleFolder {
    support::TempDir folder;
};

// A run of a program of examples/ in a folder of its own.
class Example : ExampleFolder, public support::RunningProgram {
  public:
    Example(const std::string& program, const std::string& configuration,
            const std::string& arguments = "")
        : RunningProgram({.program = ORVEX_BIN_DIR "/../examples/" + program,
                          .arguments = arguments,
                          .folder = folder.path(),
                          .variables = {{"ORVEX_SOFTCAM",
                                         folder.write("cameras.json", configuration).string()}}}) {}

    std::string ReadAll() {
        std::string text;
        for (std::string line; !(line = ReadLine()).empty();) text += line;
        return text;
    }
    std::string File(const std::string& name) const { return ReadText(folder.path() / name); }
};

struct Picture {
    uns32 width = 0;
    uns32 height = 0;
    std::vector<uns32> pixels;
};

// A PGM file of 16 bits.
Picture ReadPicture(const std::string& file) {
    Picture picture;
    int header = 0;
    EXPECT_EQ(
        std::sscanf(file.c_str(), "P5\n%u %u\n65535%n", &picture.width, &picture.height, &header),
        2);
    const auto* bytes = reinterpret_cast<const unsigned char*>(file.data()) + header + 1;
    for (size_t at = 0; at + 1 < file.size() - static_cast<size_t>(header) - 1; at += 2) {
        picture.pixels.push_back(bytes[at] * 256u + bytes[at + 1]);
    }
    return picture;
}

TEST(Examples, FirstFrameShowsTheSceneOfAnyCameraOrWhatWasRefused) {
    for (const auto& [model, side] : {std::pair{"ccd", 1024u}, {"cmos", 2048u}}) {
        Example run("first_frame", Configuration(model, ideal));
        EXPECT_EQ(run.ReadAll(), "");
        ASSERT_EQ(run.Finish().status, 0) << model;
        const Picture picture = ReadPicture(run.File("first_frame.pgm"));
        ASSERT_EQ(picture.width, side);
        ASSERT_EQ(picture.pixels.size(), size_t{side} * side);
        for (uns32 i = 0; i < picture.pixels.size(); ++i) {
            ASSERT_EQ(picture.pixels[i], RampPixel(i % side, i / side)) << model << ", pixel " << i;
        }
    }

    Example run("first_frame", R"({"cameras": []})");
    EXPECT_EQ(run.ReadAll(),
              "cannot find a camera: The number must be in the range 0<=num<totl_cams "
              "(C0_CAM_NAME_OUT_OF_RNG)\n");
    EXPECT_EQ(run.Finish().status, 1);
}

// The camera halts after 20 frames, so that none is lost however slow the machine is. Frames begin
// and end with their numbers, which the means show.
TEST(Examples, ContinuousTakesEachFrameOnceAndStopsCleanly) {
    Example run("continuous", Configuration("cmos", ideal + R"(, "stamp": true,
                    "faults": [{"fault": "stuck_transfer", "after": 20}])"),
                "40 32");
    constexpr uns32 side = 64, stamped = 4;
    double scene = 0;
    for (uns32 i = 0; i < side * side; ++i) {
        if (i >= stamped / 2 && i < side * side - stamped / 2) {
            scene += RampPixel(16 + i % side, 32 + i / side);
        }
    }
    for (uns32 n = 1; n <= 20; ++n) {
        char expected[64];
        std::snprintf(expected, sizeof expected, "frame %u: mean %.3f\n", n,
                      (scene + 2 * n) / (side * side));
        ASSERT_EQ(run.ReadLine(), expected);
    }
    run.Signal(SIGINT);
    EXPECT_EQ(run.ReadAll(), "20 frames, interrupted\n");
    EXPECT_EQ(run.Finish().status, 0);
}

TEST(Examples, MetadataPutsRegionsInTheirPlaces) {
    Example run("metadata", Configuration("cmos", ideal));
    EXPECT_EQ(run.ReadAll(),
              "region 100..163 x 200..247 binned 2 x 2: 1536 bytes\n"
              "region 300..331 x 220..283 binned 2 x 2: 1024 bytes\n"
              "region 40..139 x 400..419 binned 2 x 2: 1000 bytes\n");
    ASSERT_EQ(run.Finish().status, 0);
    const Picture picture = ReadPicture(run.File("metadata.pgm"));
    ASSERT_EQ(picture.width, 146u);
    ASSERT_EQ(picture.height, 110u);
    const auto at = [&](uns32 x, uns32 y) { return picture.pixels.at(y / 2 * 146 + x / 2); };
    EXPECT_EQ(at(0, 0), 0u) << "between the regions";
    EXPECT_EQ(at(60, 0), RampPixel(100, 200, 2, 2));
    EXPECT_EQ(at(260, 20), RampPixel(300, 220, 2, 2));
    EXPECT_EQ(at(0, 200), RampPixel(40, 400, 2, 2));
}

TEST(Examples, OldestStyleTakesItsFrames) {
    Example run("oldest_style", Configuration("ccd", ideal));
    EXPECT_EQ(run.ReadAll(), "SFT-1024-FT, 1024 x 1024, 2 speeds, 14 bits, 200 ns a pixel\n");
    ASSERT_EQ(run.Finish().status, 0);
    const std::string bytes = run.File("oldest_style.raw");
    constexpr uns32 columns = 40, rows = 30;
    ASSERT_EQ(bytes.size(), 2 * columns * rows * 2);
    for (uns32 i = 0; i < 2 * columns * rows; ++i) {
        const auto low = static_cast<uns8>(bytes[2 * i]),
                   high = static_cast<uns8>(bytes[2 * i + 1]);
        const uns32 x = i % columns, y = i / columns % rows;
        ASSERT_EQ(high * 256u + low, RampPixel(10 + 2 * x, 20 + 2 * y, 2, 2)) << "pixel " << i;
    }
}

TEST(Examples, TourMeetsWhatTheGuideTells) {
    Example run("tour", Configuration("cmos", ideal + R"(, "trigger": {"manual": true})"));
    EXPECT_EQ(run.ReadAll(),
              "camera 0: Example\n"
              "error 22: The camera did not accept the new setting (C2_FAILED_TO_SET_VALUE)\n"
              "then: 22, after a call that works: 0\n"
              "cooling to -10.0, possible are -15.0 to 25.0\n"
              "chip SCM-2048-BSI\n"
              "Low is entry 2, value 2\n"
              "run 1: the first pixels are 2720 2720 2720 of 5000\n"
              "run 2: the first pixels are 2720 2720 2720 of 5000\n"
              "two regions of 1024 pixels in all need 2192 bytes\n"
              "no trigger: status 1, 0 bytes\n"
              "asked for the temperature: status 0\n"
              "Background Subtraction: Enabled = 0 Level = 100\n"
              "Despeckle Bright: Enabled = 0 Threshold Percent = 200\n"
              "Median Filter: Enabled = 0\n"
              "Rolling Average: Frames = 0\n"
              "temperature: error 42\n"
              "but what was learnt at open is there: 2048 columns\n");
    EXPECT_EQ(run.Finish().status, 0);
    EXPECT_EQ(RampPixel(100, 50, 2, 2), 2720u);
}

// Without the blanks in front of the lines.
std::string Dedent(const std::string& text) {
    std::string out;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const size_t first = line.find_first_not_of(' ');
        if (first != std::string::npos) out += line.substr(first);
        out += '\n';
    }
    return out;
}

TEST(Examples, ObjectsMeetWhatTheirPageTells) {
    // The camera halts before it laps the ring, however slow the machine is, after 3 frames before.
    Example run("objects", Configuration("cmos", ideal + R"(,
                    "faults": [{"fault": "stuck_transfer", "after": 203}])"));
    EXPECT_EQ(run.ReadAll(),
              "Example\n"
              "SCM-2048-BSI at 2048 x 2048\n"
              "-10 C, possible are -15 to 25\n"
              "0: High\n"
              "1: Medium\n"
              "2: Low\n"
              "3: Off\n"
              "22, The camera did not accept the new setting (C2_FAILED_TO_SET_VALUE)\n"
              "frame 1 begins with 2720\n"
              "frame 2 begins with 2720\n"
              "frame 3 begins with 2720\n"
              "200 frames, 0 lost\n"
              "512 pixels from column 200\n"
              "512 pixels from column 0\n"
              "the camera is gone (cannot read the parameter: Communication with device driver "
              "failed (C7_DRIVER_COM_ERROR) [error 42])\n");
    EXPECT_EQ(run.Finish().status, 0);

    Example snap("snap", Configuration("plain", ideal));
    EXPECT_EQ(snap.ReadAll(), "");
    ASSERT_EQ(snap.Finish().status, 0);
    const Picture picture = ReadPicture(snap.File("snap.pgm"));
    ASSERT_EQ(picture.pixels.size(), 512u * 512);
    EXPECT_EQ(picture.pixels[3 * 512 + 5], RampPixel(5, 3));
}

// Every block of a page stands in one of its programs.
void ExpectCompiled(const std::string& page, const std::string& language,
                    const std::vector<std::string>& files, int least) {
    const std::filesystem::path source = ORVEX_SOURCE_DIR;
    const std::string text = ReadText(source / "docs" / page), mark = "```" + language + "\n";
    std::string programs;
    for (const std::string& file : files) {
        programs += Dedent(ReadText(source / "examples" / file));
    }
    int blocks = 0;
    for (size_t at = 0; (at = text.find(mark, at)) != std::string::npos; ++blocks) {
        const size_t end = text.find("```\n", at += mark.size());
        ASSERT_NE(end, std::string::npos);
        const std::string block = text.substr(at, end - at);
        EXPECT_NE(programs.find(Dedent(block)), std::string::npos) << "in no program:\n" << block;
        at = end + 4;
    }
    EXPECT_GE(blocks, least);
}

TEST(Guide, ShowsWhatIsCompiledAndRun) {
    ExpectCompiled("guide.md", "c", {"first_frame.c", "continuous.c", "metadata.c", "tour.c"}, 10);
    ExpectCompiled("cpp.md", "cpp", {"snap.cpp", "objects.cpp"}, 5);
}

}  // namespace
