#include "platform/module.h"

#include <filesystem>
#include <gtest/gtest.h>

#include "support/environment.h"
#include "support/temp_dir.h"

namespace {

using platform::LoadModule;
using support::Environment;
using support::TempDir;

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
        std::filesystem::copy_file(std::filesystem::path(ORVEX_TEST_MODULES) / mark, to);
    }

    TempDir directory_;
};

TEST_F(ModuleTest, SearchPathIsWalkedInOrder) {
    Place("mark_one.so", directory_ / "a/ff.so");
    Place("mark_two.so", directory_ / "b/ff.so");
    const std::string a = (directory_ / "a").string(), b = (directory_ / "b").string();
    Environment path("ORVEX_MODULE_PATH", ":/nowhere::" + b + ":" + a);
    EXPECT_EQ(MarkOf(LoadModule("ff.dll")), 2);
    Environment other("ORVEX_MODULE_PATH", a + ":" + b);
    EXPECT_EQ(MarkOf(LoadModule("ff.dll")), 1);
}

TEST_F(ModuleTest, DirectoryOfTheNameComesFirstThenItsBaseName) {
    Place("mark_one.so", directory_ / "Program Files/BV_PoP.so");
    Place("mark_two.so", directory_ / "path/BV_PoP.so");
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
    Place("mark_one.so", library / "orvex" / (name + ".so"));
    EXPECT_EQ(MarkOf(LoadModule((name + ".dll").c_str())), 1);
    Place("mark_two.so", library / (name + ".so"));
    EXPECT_EQ(MarkOf(LoadModule((name + ".dll").c_str())), 2);
    std::filesystem::remove(library / "orvex" / (name + ".so"));
    std::filesystem::remove(library / (name + ".so"));
}

TEST_F(ModuleTest, FailureTellsOfTheFileThatIsThere) {
    directory_.write("broken.so", "no module");
    Place("mark_one.so", directory_ / "whole/broken.so");
    const std::string folder = directory_.path().string();
    Environment path("ORVEX_MODULE_PATH", folder + ":" + (directory_ / "whole").string());
    EXPECT_EQ(LoadModule("broken.dll"), nullptr) << "another file is no replacement";
    EXPECT_EQ(LoadModule((folder + "\\broken.dll").c_str()), nullptr);
    EXPECT_NE(platform::ModuleErrorText().find((directory_ / "broken.so").string()),
              std::string::npos)
        << platform::ModuleErrorText();
    EXPECT_EQ(LoadModule("absent.dll"), nullptr);
    EXPECT_NE(platform::ModuleErrorText().find("absent.so"), std::string::npos);
    for (const char* name : {"", "\\", "dir\\"}) {
        EXPECT_EQ(LoadModule(name), nullptr);
        EXPECT_FALSE(platform::ModuleErrorText().empty());
    }
    EXPECT_EQ(LoadModule(nullptr), nullptr);
}

}  // namespace
