#include "platform/registry.h"

#include <gtest/gtest.h>

#include "support/environment.h"
#include "support/temp_dir.h"

namespace {

using platform::RegistryKey;
using support::Environment;
using support::TempDir;

constexpr const char* key_name = "SOFTWARE\\Brelvane\\ORVEX";

std::string Header() {
    return std::string("[") + key_name + "]\n";
}

struct ValueCase {
    std::string file;
    std::optional<std::string> value;  // of "Current Version"
};

const ValueCase value_cases[] = {
    {Header() + "Current Version=3.1.2.5\n", "3.1.2.5"},
    {"\xEF\xBB\xBF  " + Header() + "  Current Version =  a = b \r\n", "a = b"},
    {Header() + "; Current Version=1\n#Current Version=2\nrubbish\ncurrent version=3", "3"},
    {"Current Version=0\n[x]\nCurrent Version=1\n" + Header() +
         "Notification=n\n[y]\nCurrent Version=2\n" + Header() + "Current Version=4\n[z]\n",
     "4"},
    {Header() + "Current Version=\n", ""},
    {Header() + "[y]\n", std::nullopt},
    {Header() + "Current Version\n=5\n[", std::nullopt}};

TEST(Registry, ValuesAreReadFromTheirSection) {
    TempDir directory;
    for (const auto& [file, value] : value_cases) {
        Environment place("ORVEX_REGISTRY", directory.write("r.ini", file).string());
        const std::optional<RegistryKey> key = RegistryKey::Open(key_name);
        ASSERT_TRUE(key) << file;
        EXPECT_EQ(key->Text("Current Version", 1024), value) << file;
    }
}

TEST(Registry, ValueIsCutToItsLimitAndUnusableFilesHaveNoKey) {
    TempDir directory;
    Environment place("ORVEX_REGISTRY",
                      directory.write("r.ini", Header() + "V=" + std::string(3000, 'x')).string());
    const std::optional<RegistryKey> key = RegistryKey::Open(key_name);
    ASSERT_TRUE(key);
    EXPECT_EQ(key->Text("V", 1024)->size(), 1023u);
    EXPECT_EQ(key->Text("V", 0)->size(), 0u);
    for (const std::string& content :
         {std::string(), std::string("[SOFTWARE\\Other]\nV=1\n"),
          std::string("[") + key_name + "\nV=1\n", std::string("]\n["), std::string(5000, '\0')}) {
        Environment unusable("ORVEX_REGISTRY", directory.write("r.ini", content).string());
        EXPECT_FALSE(RegistryKey::Open(key_name)) << content;
    }
}

}  // namespace
