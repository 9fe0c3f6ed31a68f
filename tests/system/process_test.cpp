// Ends, children and surroundings of a process that uses the library. Each case is a process of its
// own: a body of tests/child or tests/host.
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <map>
#include <string>
#include <sys/stat.h>
#include <thread>

#include "support/temp_dir.h"

#include "child_process.h"

namespace {

using support::ProgramOutput;
using testing::HasSubstr;

// Processes that end in the middle of a run leave memory behind, and children of theirs too.
const std::string no_leaks = "LSAN_OPTIONS=detect_leaks=0 ";

class Process : public testing::Test {
  protected:
    static std::string Set(const std::string& name, const std::filesystem::path& value) {
        return name + "='" + value.string() + "' ";
    }

    std::vector<std::string> Log() const {
        std::ifstream file(log_);
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);) lines.push_back(line);
        return lines;
    }

    // It ends with its banner, a rule and an empty line.
    bool LogIsWhole() const {
        const std::vector<std::string> lines = Log();
        return lines.size() > 3 &&
               lines[lines.size() - 3].find("Logging stopped") != std::string::npos;
    }

    // Noise as in real life; frames as fast as they come, or at the cameras' own pace.
    std::string Cameras(const std::string& time_scale = "0") const {
        return Set("ORVEX_SOFTCAM", folder_.write("cameras.json", "{\"time_scale\": " + time_scale +
                                                                      R"(, "cameras": [
            {"model": "ccd", "name": "A"}, {"model": "cmos", "name": "B"},
            {"model": "plain", "name": "C"}, {"model": "em", "name": "D"}]})"));
    }
    std::string Traced() const {
        return Set("ORVEX_CORE_LOG_FILE", log_) + "ORVEX_CORE_LOG_LEVEL=D ";
    }

    static void ExpectWell(const ProgramOutput& run) { EXPECT_EQ(run.status, 0) << run.text; }

    support::TempDir folder_;
    const std::filesystem::path log_ = folder_ / "trace.log";
};

TEST_F(Process, MayEndWhileCamerasRun) {
    for (const char* from : {"main", "return", "thread", "callback"}) {
        for (const std::string& trace : {std::string(), Traced()}) {
            SCOPED_TRACE(from + (" " + trace));
            ExpectWell(RunInChild(std::string("exit ") + from, no_leaks + Cameras() + trace));
        }
        EXPECT_TRUE(LogIsWhole());
        std::filesystem::remove(log_);
    }
}

TEST_F(Process, AnswersCallsToTheLast) {
    // Freed memory shows.
    for (const char* when : {"idle", "global", "last"}) {
        for (const std::string& trace : {std::string(), Traced()}) {
            SCOPED_TRACE(when + (" " + trace));
            const ProgramOutput run =
                RunInChild(std::string("late_calls ") + when,
                           no_leaks + "MALLOC_PERTURB_=165 " + Cameras() + trace);
            EXPECT_EQ(run.status, 0) << run.text;
            EXPECT_THAT(run.text, HasSubstr("late calls are answered"));
        }
    }
}

// Process id of a line of the trace, empty for a rule.
std::string ProcessOf(const std::string& line) {
    const size_t colon = line.find(':');
    if (line.find("Logging ") == std::string::npos && line.find(" COR ") != 14) return {};
    return colon == std::string::npos ? "" : line.substr(19, colon - 19);
}

TEST_F(Process, ChildrenStartFromNothing) {
    for (const std::string what : {"exit", "call", "restart", "callback"}) {
        SCOPED_TRACE(what);
#ifdef __SANITIZE_THREAD__
        // It ends a child whose thread the system names as it did one of the parent's.
        if (what == "restart") continue;
#endif
        // A thread sanitizer ends children that start threads, unless it is told not to.
        ExpectWell(RunInChild(
            "fork " + what, no_leaks + "TSAN_OPTIONS=die_after_fork=0 " + Cameras("1") + Traced()));
        // Nobody writes for another, and who writes begins and ends with a banner of its own.
        std::map<std::string, std::string> banners;
        size_t outside = 0;
        for (const std::string& line : Log()) {
            const std::string process = ProcessOf(line);
            if (process.empty()) continue;
            const size_t banner = line.find("Logging ");
            if (banner != std::string::npos)
                banners[process] += line.substr(banner + 8, 7) + ' ';
            else if (banners[process] != "started ")
                ++outside;
        }
        EXPECT_EQ(outside, 0u);
        EXPECT_EQ(banners.size(), what == "restart" ? 4u : 1u);
        EXPECT_THAT(banners, testing::Each(testing::Pair(testing::_, "started stopped ")));
        std::filesystem::remove(log_);
    }
}

TEST_F(Process, SurvivesATraceWhoseReaderIsGone) {
    ASSERT_EQ(mkfifo(log_.c_str(), 0600), 0);
    std::thread reader([this] { std::ifstream(log_).get(); });
    const ProgramOutput run = RunInChild("refused_writes pipe", Traced());
    reader.join();
    EXPECT_EQ(run.status, 0) << run.text;
}

TEST_F(Process, LosesNoMoreOfTheTraceThanWhatWasRefused) {
    ExpectWell(RunInChild("refused_writes limit", Traced()));
    // One line was cut, and no other was glued to it.
    int answered = 0;
    for (const std::string& line : Log()) {
        if (line.find("ApiEntryLayer::ox_error_message: RETURN") != std::string::npos) ++answered;
        EXPECT_EQ(line.rfind("COR "), line.find("COR "));
    }
    EXPECT_EQ(answered, 50);
    EXPECT_TRUE(LogIsWhole());
}

TEST_F(Process, PrivilegesKeepTheEnvironmentOut) {
    const std::filesystem::path modules = folder_ / "modules";
    const std::filesystem::path plugins = folder_ / "Program Files/Brelvane/Kelmo64";
    std::filesystem::create_directories(modules);
    std::filesystem::create_directories(plugins);
    const std::filesystem::path from = ORVEX_TEST_MODULES;
    std::filesystem::copy_file(from / "tiny_no_cameras.so", modules / "orvexDDI.so");
    std::filesystem::copy_file(from / "post_processing_full.so", plugins / "BV_PoP.so");
    const std::string environment =
        Traced() + Set("ORVEX_MODULE_PATH", modules) + Set("SystemDrive", folder_.path()) +
        Set("ORVEX_SOFTCAM",
            folder_.write("one.json", R"({"cameras": [{"model": "ccd", "name": "A"}]})")) +
        Set("ORVEX_REGISTRY",
            folder_.write("registry.ini",
                          "[SOFTWARE\\Brelvane\\ORVEX]\nCurrent Version=9.9.9.9\n"));
    ExpectWell(RunInChild("privileged '" + folder_.path().string() + "'",
                          environment + "ORVEX_TEST_PRIVILEGED=1 "));
    EXPECT_FALSE(std::filesystem::exists(log_));
}

// Runs a body of tests/host in the build directory.
ProgramOutput RunHost(const std::string& body, const std::string& environment) {
    return RunInChild(body, "-C '" ORVEX_BUILD_DIR "' " + no_leaks + environment, ORVEX_TEST_HOST);
}

TEST_F(Process, ForgetsAClosedLibrary) {
    ExpectWell(RunHost("reload '" + folder_.path().string() + "'", Cameras()));
    for (const char* log : {"first.log", "second.log"}) {
        std::filesystem::rename(folder_ / log, log_);
        EXPECT_TRUE(LogIsWhole()) << log;
    }
}

TEST_F(Process, KeepsALibraryInUse) {
    for (const char* body : {"forget -", "end_from_within -"}) {
        ExpectWell(RunHost(body, Cameras() + Traced()));
    }
}

TEST_F(Process, MayChangeItsDirectory) {
    const std::filesystem::path relative =
        std::filesystem::relative(folder_.path(), ORVEX_BUILD_DIR);
    folder_.write("registry.ini", "[SOFTWARE\\Brelvane\\ORVEX]\nCurrent Version=9.9.9.9\n");
    folder_.link_module("tiny_no_cameras", "orvexDDI");
    // Deeper than the directory of the host, from where a path up and down leads elsewhere.
    std::filesystem::path deep = folder_.path();
    for (const auto& part : std::filesystem::path(ORVEX_BUILD_DIR)) deep /= "in" / part.filename();
    std::filesystem::create_directories(deep);
    ExpectWell(RunHost(
        "change_directory '" + deep.string() + "'",
        Set("ORVEX_REGISTRY", relative / "registry.ini") + Set("ORVEX_MODULE_PATH", relative)));
}

}  // namespace
