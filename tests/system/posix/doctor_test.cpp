// orvex doctor: each thing that can be wrong, and what it says to it.
#include <filesystem>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <string>

#include "support/command_line.h"
#include "support/environment.h"
#include "support/temp_dir.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;

class Doctor : public testing::Test {
  protected:
    Doctor() : program_(folder_.path(), folder_ / "cameras.json") {
        folder_.write("cameras.json", R"({"cameras": [{"model": "ccd", "name": "Left"}]})");
    }

    // The findings of a topic as "grade: text > remedy", a line each.
    std::string Findings(const std::string& topic, int status) {
        const support::ProgramOutput out = program_.Run("doctor --json --open");
        EXPECT_EQ(out.status, status) << out.text;
        std::string text;
        // Around it stands what the module and the program say of failures.
        const size_t begin = out.text.find("{\n"), end = out.text.rfind("}\n") + 1;
        const json all = json::parse(out.text.substr(begin, end - begin));
        for (const json& finding : all["findings"])
            if (finding["topic"] == topic)
                text += finding["grade"].get<std::string>() + ": " +
                        finding["text"].get<std::string>() + " > " + finding.value("remedy", "") +
                        '\n';
        return text;
    }

    support::TempDir folder_;
    support::CommandLineProgram program_;
};

TEST_F(Doctor, FindsNothingWhereNothingIs) {
    EXPECT_THAT(Findings("driver", 0), HasSubstr("ok: " ORVEX_LIBRARY_DIR "/orvex/orvexDDI"));
    EXPECT_THAT(Findings("cameras", 0), HasSubstr("ok: 'Left' opens"));
    EXPECT_THAT(Findings("library", 0), HasSubstr("ok: " ORVEX_LIBRARY_DIR "/liborvex"));
}

TEST_F(Doctor, KnowsMisspeltVariables) {
    const support::Environment typo("ORVEX_SOFTCAMS", "x");
    EXPECT_THAT(Findings("environment", 0),
                HasSubstr("warning: ORVEX_SOFTCAMS is read by nobody > unset it; did you mean "
                          "ORVEX_SOFTCAM?"));
}

TEST_F(Doctor, LooksIntoTheSettingsOfTheTrace) {
    const support::Environment level("ORVEX_CORE_LOG_LEVEL", "verbose");
    EXPECT_THAT(Findings("trace", 0), HasSubstr("which counts as D"));
    const support::Environment file("ORVEX_CORE_LOG_FILE", (folder_ / "no/t.log").string());
    EXPECT_THAT(Findings("trace", 1), HasSubstr("wrong: ORVEX_CORE_LOG_FILE names"));
}

TEST_F(Doctor, SaysWhereAConfigurationBreaks) {
    folder_.write("cameras.json", "{\n  \"noise\": false,\n  oops\n}");
    EXPECT_THAT(Findings("softcam", 1), HasSubstr("no JSON from line 3, column "));
}

TEST_F(Doctor, TakesSoftwareCamerasThatAreLeftOut) {
    program_ = support::CommandLineProgram(folder_.path(), "off");
    EXPECT_THAT(Findings("softcam", 0), HasSubstr("ok: the software cameras are left out"));
}

TEST_F(Doctor, SaysWhyAModuleDoesNotLoad) {
    folder_.write("orvexDDI" ORVEX_MODULE_SUFFIX, "no module");
    const support::Environment path("ORVEX_MODULE_PATH", folder_.path().string() + ":/nowhere");
    const std::string findings = Findings("driver", 1);
    EXPECT_THAT(findings, HasSubstr("warning: ORVEX_MODULE_PATH names '/nowhere'"));
    EXPECT_THAT(findings, HasSubstr("wrong: " + (folder_ / "orvexDDI").string()));
}

TEST_F(Doctor, NamesSettingsThatAreNotThere) {
    const support::Environment path("ORVEX_REGISTRY", "/nowhere.ini");
    EXPECT_THAT(Findings("settings", 1), HasSubstr("wrong: ORVEX_REGISTRY names '/nowhere.ini'"));
}

// The program's TMPDIR is the folder of the test.
TEST_F(Doctor, TellsOfWhatDeadProcessesLeft) {
    const std::filesystem::path left = folder_ / "orvex-dev-abcdef";
    std::filesystem::create_directory(left);
    EXPECT_THAT(Findings("leftovers", 0), HasSubstr("for this check: 1"));
    EXPECT_FALSE(std::filesystem::exists(left));
    // The library can't sweep when it can't start.
    std::filesystem::create_directory(left);
    const support::Environment path("ORVEX_MODULE_PATH", folder_.path().string());
    folder_.write("orvexDDI" ORVEX_MODULE_SUFFIX, "no module");
    EXPECT_THAT(Findings("leftovers", 1), HasSubstr("warning: " + left.string()));
}

}  // namespace
