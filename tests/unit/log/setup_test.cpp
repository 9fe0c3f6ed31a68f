#include "log/setup.h"

#include <filesystem>
#include <gtest/gtest.h>

#include "support/environment.h"
#include "support/temp_dir.h"

using bv::LogSetup;
using bv::LogSetupFile;
using support::Environment;

namespace {

TEST(Setup, LevelIsTheFirstLetter) {
    const std::pair<const char*, int32_t> levels[] = {
        {"E", 0}, {"error", 0}, {"W", 1}, {"wrong", 1}, {"I", 2}, {"i", 2},
        {"D", 3}, {"d", 3},     {"q", 3}, {"", 3},      {" E", 3}};
    for (const auto& [text, level] : levels) {
        SCOPED_TRACE(text);
        const LogSetup setup(text);
        ASSERT_TRUE(setup.HasLog());
        EXPECT_TRUE(setup.GetLog()->Passes(level));
        EXPECT_FALSE(setup.GetLog()->Passes(level + 1));
    }
}

TEST(Setup, WithoutLevelOrFileHasNoLog) {
    EXPECT_TRUE(LogSetup(nullptr).HasNoLog());
    EXPECT_TRUE(LogSetupFile(nullptr, "D").HasNoLog());
    EXPECT_TRUE(LogSetupFile("", "D").HasNoLog());
}

class ProcessSetup : public testing::Test {
  protected:
    ~ProcessSetup() override { bv::Log::loaderLockMode = false; }

    support::TempDir directory_;
    const std::string file_ = (directory_ / "x.log").string();
};

TEST_F(ProcessSetup, LogLivesFromLoadToUnload) {
    Environment file("ORVEX_CORE_LOG_FILE", file_);
    Environment level("ORVEX_CORE_LOG_LEVEL", "warnings");
    const std::shared_ptr<bv::Log> before = bv::ProcessLog();
    {
        bv::Log::loaderLockMode = true;
        const bv::ProcessLogOwner owner;
        ASSERT_NE(bv::ProcessLog(), nullptr);
        EXPECT_NE(bv::ProcessLog(), before);
        EXPECT_TRUE(bv::ProcessLog()->IsLevelEnabled(bv::log_warning));
        EXPECT_FALSE(bv::ProcessLog()->IsLevelEnabled(bv::log_info));
        EXPECT_GT(std::filesystem::file_size(file_), 0u);
    }
    // Threads that outlive the unload still find it, and it passes nothing.
    ASSERT_NE(bv::ProcessLog(), nullptr);
    const auto size = std::filesystem::file_size(file_);
    EXPECT_FALSE(bv::ProcessLog()->IsLevelEnabled(bv::log_error));
    bv::ProcessLog()->Write("COR", bv::log_error, "late");
    EXPECT_EQ(std::filesystem::file_size(file_), size);
}

}  // namespace
