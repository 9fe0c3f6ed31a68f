#include "log/sinks.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "support/temp_dir.h"

#include "unit/log/collected_log.h"

using bv::Log;
using bv::LoggerConsole;
using bv::LoggerFile;
using testing::EndsWith;

namespace {

constexpr const char* rule = "[==============================================================]";

std::vector<std::string> LinesOf(const std::filesystem::path& file) {
    std::ifstream stream(file);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

class Sinks : public testing::Test {
  protected:
    ~Sinks() override { Log::loaderLockMode = false; }

    support::TempDir directory_;
    const std::filesystem::path file_ = directory_ / "trace.log";
    const std::string pid_ = std::to_string(getpid());
};

TEST_F(Sinks, FileOfTwoProcessesHasWholeLines) {
    constexpr int processes = 2;
    constexpr int records = 400;
    std::vector<pid_t> children;
    for (int process = 0; process < processes; ++process) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            {
                auto log = std::make_shared<Log>(bv::log_debug);
                LoggerFile sink(log, file_.c_str());
                for (int i = 0; i < records; ++i) {
                    // Also lines that are longer than a page.
                    const std::string filling(i % 50 == 0 ? 6000 : 40, 'x');
                    log->Write("COR", 3, "%d %d %s.", process, i, filling.c_str());
                }
                log->Flush();
                Log::loaderLockMode = true;
            }
            _exit(0);
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }

    std::vector<int> next(processes, 0);
    int banners = 0;
    for (const std::string& line : LinesOf(file_)) {
        if (line == rule) ++banners;
        const size_t body = line.find(" D] ");
        if (body == std::string::npos) continue;
        int process = -1;
        int i = -1;
        ASSERT_EQ(std::sscanf(line.c_str() + body, " D] %d %d x", &process, &i), 2) << line;
        const size_t filling = i % 50 == 0 ? 6000 : 40;
        EXPECT_THAT(line, EndsWith(" " + std::string(filling, 'x') + "."));
        EXPECT_EQ(static_cast<size_t>(line[0]), '[');
        EXPECT_EQ(next[static_cast<size_t>(process)]++, i);
    }
    EXPECT_THAT(next, testing::Each(records));
    EXPECT_EQ(banners, 2 * processes);
}

TEST_F(Sinks, FileThatCantBeOpenedDisturbsNobody) {
    for (const std::string& path :
         {directory_.path().string(), (directory_ / "missing/trace.log").string(), std::string()}) {
        auto log = std::make_shared<Log>(bv::log_debug);
        LoggerFile sink(log, path.c_str());
        EXPECT_FALSE(log->IsLevelEnabled(bv::log_error));
        log->Write("COR", bv::log_error, "lost");
    }
    LoggerFile without_log(nullptr, file_.c_str());
    EXPECT_FALSE(std::filesystem::exists(file_));
}

// Keeps the worker until the closing banner is there.
class WaitForBanner : public Log::IListener {
  public:
    explicit WaitForBanner(std::filesystem::path file) : file_(std::move(file)) {}
    void OnLogEntry(const Log::Entry&) override {
        const auto limit = std::chrono::steady_clock::now() + tests::wait_limit;
        while (std::chrono::steady_clock::now() < limit) {
            for (const std::string& line : LinesOf(file_)) {
                if (line.find("Logging stopped") != std::string::npos) return;
            }
            std::this_thread::yield();
        }
    }

  private:
    std::filesystem::path file_;
};

TEST_F(Sinks, FileTellsWhatWasDropped) {
    auto log = std::make_shared<Log>(bv::log_debug);
    auto slow = std::make_shared<WaitForBanner>(file_);
    auto first = std::make_shared<tests::Collector>();
    log->AddListener(first);
    log->AddListener(slow);
    {
        LoggerFile sink(log, file_.c_str());
        log->Write("COR", 0, "being written");
        ASSERT_TRUE(first->WaitFor(1));
        for (int i = 0; i < 3; ++i) log->Write("COR", 0, "dropped");
    }
    const std::vector<std::string> lines = LinesOf(file_);
    EXPECT_THAT(lines, testing::Contains(
                           EndsWith("Logging stopped, PID " + pid_ + ", dropped 3 messages")));
    EXPECT_THAT(lines, testing::Not(testing::Contains(EndsWith("] dropped"))));
}

TEST_F(Sinks, ConsoleSplitsErrorsFromTheRest) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    Log::loaderLockMode = true;
    {
        auto log = std::make_shared<Log>(bv::log_debug);
        LoggerConsole sink(log);
        log->IncreaseIndent();
        log->Write("COR", bv::log_error, "bad\nnews");
        log->Write("COR", bv::log_warning, "odd");
        log->Write("COR", bv::log_debug, "plain");
    }
    {
        LoggerConsole without_log(nullptr);
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Logging started, PID " + pid_ + "\n[W] odd\n[D] plain\n[I] Logging stopped, PID " +
                  pid_ + "\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "[E] bad\nnews\n");
}

}  // namespace
