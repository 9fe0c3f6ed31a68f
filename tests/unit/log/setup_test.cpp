#include "log/setup.h"

#include <gtest/gtest.h>

using bv::LogSetup;
using bv::LogSetupFile;

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

}  // namespace
