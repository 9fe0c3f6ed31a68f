#include "platform/module.h"

#include <filesystem>
#include <gtest/gtest.h>

#include "support/environment.h"
#include "support/temp_dir.h"

namespace {

using platform::LoadModule;
using support::Environment;
using support::TempDir;

const std::string suffix = ORVEX_MODULE_SUFFIX;
// Between directories of a list.
const std::string comma = std::filesystem::path::preferred_separator == '/' ? ":" : ";";

// Which of the two marked modules it is; 0 for none.
int MarkOf(platform::ModuleHandle module) {
    auto* mark = reinterpret_cast<int (*)()>(platform::FindSymbol(module, "module_mark"));
    const int result = mark ? mark() : 0;
    platform::ReleaseModule(module);
    return result;
}

class ModuleTest : public testing::Test {
  protected:
    // Copies, since two links to one file would be one module.
    void Place(const char* mark, const std::filesystem::path& to) {
        std::filesystem::create_directories(to.parent_path());
        std::filesystem::copy_file(std::filesystem::path(ORVEX_TEST_MODULES) / (mark + suffix), to);
    }

    TempDir directory_;
};

TEST_F(ModuleTest, SearchPathIsWalkedInOrder) {
    Place("mark_one", directory_ / ("a/ff" + suffix));
    Place("mark_two", directory_ / ("b/ff" + suffix));
    const std::string a = (directory_ / "a").string(), b = (directory_ / "b").string();
    Environment path("ORVEX_MODULE_PATH", comma + "/nowhere" + comma + comma + b + comma + a);
    EXPECT_EQ(MarkOf(LoadModule("ff.dll")), 2);
    Environment other("ORVEX_MODULE_PATH", a + comma + b);
    EXPECT_EQ(MarkOf(LoadModule("ff.dll")), 1);
}

TEST_F(ModuleTest, DirectoryOfTheNameComesFirstThenItsBaseName) {
    Place("mark_one", directory_ / ("Program Files/BV_PoP" + suffix));
    Place("mark_two", directory_ / ("path/BV_PoP" + suffix));
    Environment path("ORVEX_MODULE_PATH", (directory_ / "path").string());
    EXPECT_EQ(
        MarkOf(LoadModule((directory_.path().string() + "\\Program Files\\BV_PoP.DLL").c_str())),
        1);
    EXPECT_EQ(MarkOf(LoadModule("C:\\Program Files\\BV_PoP.dll")), 2);
}

TEST_F(ModuleTest, LibraryDirectoryAndItsSubdirectoryFollowThePath) {
    const std::filesystem::path library = platform::LibraryDirectory();
    ASSERT_TRUE(library.is_absolute());
    const std::string name = directory_.path().filename().string();
    Place("mark_one", library / "orvex" / (name + suffix));
    EXPECT_EQ(MarkOf(LoadModule((name + ".dll").c_str())), 1);
    Place("mark_two", library / (name + suffix));
    EXPECT_EQ(MarkOf(LoadModule((name + ".dll").c_str())), 2);
    std::filesystem::remove(library / "orvex" / (name + suffix));
    std::filesystem::remove(library / (name + suffix));
}

TEST_F(ModuleTest, FailureTellsOfTheFileThatIsThere) {
    directory_.write("broken" + suffix, "no module");
    Place("mark_one", directory_ / ("whole/broken" + suffix));
    const std::string folder = directory_.path().string();
    Environment path("ORVEX_MODULE_PATH", folder + comma + (directory_ / "whole").string());
    EXPECT_EQ(LoadModule("broken.dll"), nullptr) << "another file is no replacement";
    EXPECT_EQ(LoadModule((folder + "\\broken.dll").c_str()), nullptr);
    EXPECT_NE(platform::ModuleErrorText().find((directory_ / ("broken" + suffix)).string()),
              std::string::npos)
        << platform::ModuleErrorText();
    EXPECT_EQ(LoadModule("absent.dll"), nullptr);
    EXPECT_NE(platform::ModuleErrorText().find("absent" + suffix), std::string::npos);
    for (const char* name : {"", "\\", "dir\\"}) {
        EXPECT_EQ(LoadModule(name), nullptr);
        EXPECT_FALSE(platform::ModuleErrorText().empty());
    }
    EXPECT_EQ(LoadModule(nullptr), nullptr);
}

}  // namespace
