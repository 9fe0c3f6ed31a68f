// The completion of bash, as a shell calls it.
#include <gmock/gmock.h>
#include <string>

#include "support/command_line.h"
#include "support/temp_dir.h"

namespace {

class Completion : public testing::Test {
  protected:
    Completion() {
        folder_.write("cameras.json", R"({"cameras": [{"model": "ccd", "name": "Left"},
                                                      {"model": "cmos", "name": "Far right"}]})");
        folder_.write("run.raw", "");
    }

    // What is offered for the last of the words, a line each.
    std::string Offered(const std::string& words) {
        folder_.write("ask.sh", "source '" ORVEX_DESCRIBED
                                "/orvex.bash'\n"
                                "COMP_WORDS=(" +
                                    words +
                                    ")\n"
                                    "COMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n"
                                    "_orvex '" ORVEX_BIN_DIR
                                    "/orvex' \"${COMP_WORDS[COMP_CWORD]}\" "
                                    "\"${COMP_WORDS[COMP_CWORD - 1]}\"\n"
                                    "printf '%s\\n' \"${COMPREPLY[@]}\"\n");
        return support::RunningProgram({.program = "/bin/bash",
                                        .arguments = "ask.sh",
                                        .folder = folder_.path(),
                                        .variables = {{"TMPDIR", folder_.path().string()},
                                                      {"ORVEX_SOFTCAM", "cameras.json"}}})
            .Finish()
            .text;
    }

    support::TempDir folder_;
};

TEST_F(Completion, OffersWhatMayStandThere) {
    EXPECT_EQ(Offered("orvex sn"), "snap\n");
    EXPECT_EQ(Offered("orvex info Le"), "Left\n");
    EXPECT_EQ(Offered("orvex info F"), "Far\\ right\n");
    EXPECT_EQ(Offered("orvex get Left temp_s"), "temp_setpoint\n");
    EXPECT_EQ(Offered("orvex get Left temp pix_par_d"), "pix_par_dist\n");
    EXPECT_EQ(Offered("orvex set Left temp_s"), "temp_setpoint=\n");
    EXPECT_EQ(Offered("orvex set Left temp_setpoint = -15 gain_i"), "gain_index=\n");
    EXPECT_EQ(Offered("orvex snap --exposure 5 --force Le"), "Left\n");
    EXPECT_EQ(Offered("orvex snap Left --set temp_setpoint = -15 --fram"), "--frames\n");
    EXPECT_EQ(Offered("orvex snap Left --type da"), "dark\n");
    EXPECT_EQ(Offered("orvex snap Left --mode bu"), "bulb\n");
    EXPECT_EQ(Offered("orvex snap Left --format fits,ra"), "fits,raw\n");
    EXPECT_EQ(Offered("orvex metadata ru"), "run.raw\n");
    EXPECT_EQ(Offered("orvex trace run.raw --chr"), "--chrome\n");
}

TEST_F(Completion, OffersNothingWhereAnythingMayStand) {
    EXPECT_EQ(Offered("orvex snap Left --exposure ''"), "\n");
    EXPECT_EQ(Offered("orvex info Left ''"), "\n");
    EXPECT_EQ(Offered("orvex set Left temp_setpoint ="), "\n");
    EXPECT_EQ(Offered("orvex nonsense ''"), "\n");
}

}  // namespace
