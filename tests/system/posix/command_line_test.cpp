// What the program orvex does on this system alone: its signals, files and shell.
#include "../command_line.h"

#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/eventually.h"

namespace {

using testing::HasSubstr;

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

INSTANTIATE_TEST_SUITE_P(Signals, EndedBySignal, testing::Values(SIGTERM, SIGHUP));

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

TEST_F(CommandLine, ATraceMayComeByStandardInput) {
    folder_.write("prose", "Dear reader,\nthis is no trace.\n");
    const Output output = Orvex("trace - < prose");
    EXPECT_EQ(output.status, 1);
    EXPECT_THAT(output.text, HasSubstr("'-' holds no trace"));
}

TEST_F(CommandLine, OutputThatCannotBeWrittenIsTold) {
    const Output folder = Orvex("snap Left --frames 1 --roi 0,0,8,8 --out /proc/nothing/here");
    EXPECT_EQ(folder.status, 1);
    EXPECT_THAT(folder.text, HasSubstr("nothing"));
    EXPECT_EQ(Orvex("info Left >/dev/full").status, 1);
}

}  // namespace
