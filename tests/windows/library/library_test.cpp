// The library as a DLL that hosts load at run time.
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

#include "support/environment.h"
#include "support/temp_dir.h"
#include "support/windows/child_process.h"

namespace {

using support::ChildProcess;
using support::Environment;

std::string ReadAll(const std::filesystem::path& file) {
    std::stringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

TEST(Library, GoesWhenItsHostLetsItGo) {
    const Environment no_trace("ORVEX_CORE_LOG_FILE", std::nullopt);
    EXPECT_EQ(ChildProcess("load 3 goes").Wait(), 0);
}

TEST(Library, WithATraceStaysAndWritesItToTheEnd) {
    const support::TempDir directory;
    const std::filesystem::path file = directory / "trace.log";
    const Environment trace("ORVEX_CORE_LOG_FILE", file.string());
    EXPECT_EQ(ChildProcess("load 3 stays").Wait(), 0);
    const std::string text = ReadAll(file);
    EXPECT_NE(text.find("DllMain: ENTER (hinstDll=0x"), std::string::npos);
    EXPECT_NE(text.find("fdwReason=0"), std::string::npos);
    EXPECT_NE(text.find("Logging stopped, PID"), std::string::npos);
}

TEST(Library, ProcessEndsWhileThreadsTraceAndFramesRun) {
    const support::TempDir directory;
    for (int round = 0; round < 3; ++round) {
        const Environment trace("ORVEX_CORE_LOG_FILE",
                                (directory / std::to_string(round)).string());
        EXPECT_EQ(ChildProcess("end").Wait(), 0) << round;
    }
    const Environment no_trace("ORVEX_CORE_LOG_FILE", std::nullopt);
    EXPECT_EQ(ChildProcess("end").Wait(), 0);
}

}  // namespace
