#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <string>
#include <vector>

#include "support/temp_dir.h"

#include "child_process.h"

// The interface as an application meets it: headers, calls outside of a run, the trace of a call.
namespace {

using support::ProgramOutput;

TEST(Headers, CompileAsStrictC99) {
    const support::TempDir directory;
    const auto source = directory.write("application.c", R"(
#include <orvex/orvex.h>
#include <orvex/orvex_ddi.h>
#include <orvex/orvex_plugin.h>
boolean16 dll_set_common_parameter(int16 hcam, orvex_plugin_name name, int32 type,
                                   orvex_plugin_value value) {
    return (boolean16)(hcam >= 0 && name.text[0] && type == PLUGIN_VALUE_TEXT && value.bytes[0]);
}
int main(void) {
    int16 hcam = -1;
    uns16 version = 0;
    FRAME_INFO info;
    rgn_type region = {0, 511, 1, 0, 511, 1};
    char name[CAM_NAME_LEN] = "";
    (void)info; (void)region;
    if (!ox_orvex_get_ver(&version)) return ox_error_code();
    return ox_cam_open(name, &hcam, EXT_OPEN_EXCLUSIVE) + (int)sizeof(orvex_device);
}
)");
    const std::string command = "cc -std=c99 -fsyntax-only -pedantic -Wall -Wextra -Werror -I'" +
                                std::string(ORVEX_SOURCE_DIR) + "/include' '" + source.string() +
                                "'";
    EXPECT_EQ(std::system(command.c_str()), 0);
}

// --- the trace

// Whether a text has the form of a pattern, in which 9 stands for a digit.
bool HasForm(const std::string& text, const std::string& pattern) {
    return std::equal(text.begin(), text.end(), pattern.begin(), pattern.end(), [](char c, char p) {
        return p == '9' ? std::isdigit(static_cast<unsigned char>(c)) != 0 : c == p;
    });
}

// "[HHMMSS.uuuuuu COR ppppp:ttttt D]     name: text" as "D2 name: text", without the elapsed time;
// other lines as they are.
std::string Shorten(const std::string& line) {
    const size_t end = line.find("] ");
    if (end == std::string::npos || end < 30) return line;
    if (!HasForm(line.substr(0, 15), "[999999.999999 ")) return line;
    if (!HasForm(line.substr(15, 4), "COR ") && !HasForm(line.substr(15, 4), "*** ")) return line;
    const size_t message = line.find_first_not_of(' ', end + 2);
    const size_t depth = (message - end - 2) / 2;
    std::string text = line.substr(message);
    if (text.ends_with("us]")) text.resize(text.rfind(" ["));
    return line[end - 1] + std::to_string(depth) + " " + text;
}

std::vector<std::string> ReadTrace(const std::filesystem::path& path) {
    std::vector<std::string> lines;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) lines.push_back(Shorten(line));
    return lines;
}

TEST(Trace, NestsTheLayersBetweenItsBanners) {
    const support::TempDir directory;
    const auto log = directory / "trace.log";
    const ProgramOutput run = RunInChild(
        "traced_run", "ORVEX_CORE_LOG_LEVEL= ORVEX_CORE_LOG_FILE='" + log.string() + "'");
    ASSERT_EQ(run.status, 0) << run.text;
    const std::vector<std::string> lines = ReadTrace(log);
    ASSERT_GT(lines.size(), 20U);

    const std::string rule = "[" + std::string(62, '=') + "]";
    EXPECT_EQ(lines[0], rule);
    EXPECT_TRUE(HasForm(lines[1], "[Current date: 9999-99-99]")) << lines[1];
    EXPECT_THAT(lines[2], testing::StartsWith("I0 Logging started, PID "));
    EXPECT_THAT(lines, testing::Contains(testing::StartsWith("I0 Logging stopped, PID ")));
    EXPECT_THAT(std::vector<std::string>(lines.end() - 2, lines.end()),
                testing::ElementsAre(rule, ""));

    // The hook of the library frames all calls.
    EXPECT_THAT(lines[3], testing::StartsWith("D0 DllMain: ENTER ("));
    EXPECT_THAT(lines,
                testing::Contains("E2 oz_cam_check: Invalid camera handle or camera not open"));

    // Each ENTER has its RETURN at the same depth.
    std::vector<std::string> open;
    for (const std::string& line : lines) {
        const size_t enter = line.find(": ENTER (");
        const size_t leave = line.find(": RETURN (");
        if (enter != std::string::npos) {
            EXPECT_EQ(line.substr(0, 2), "D" + std::to_string(open.size())) << line;
            open.push_back(line.substr(0, enter));
        } else if (leave != std::string::npos) {
            ASSERT_FALSE(open.empty()) << line;
            EXPECT_EQ(line.substr(0, leave), open.back());
            open.pop_back();
        }
    }
    EXPECT_TRUE(open.empty());
}

TEST(Trace, LevelIsTheEnvironments) {
    const support::TempDir directory;
    const auto log = directory / "errors.log";
    RunInChild("traced_run",
               "ORVEX_CORE_LOG_LEVEL=error ORVEX_CORE_LOG_FILE='" + log.string() + "'");
    EXPECT_THAT(ReadTrace(log),
                testing::Contains("E0 oz_cam_check: Invalid camera handle or camera not open"));
    EXPECT_THAT(ReadTrace(log), testing::Not(testing::Contains(testing::HasSubstr("ENTER"))));
}

}  // namespace
