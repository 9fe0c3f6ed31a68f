// What this system has and others do not, and what two processes share.
#include <atomic>
#include <fstream>
#include <gtest/gtest.h>
#include <thread>

#include "platform/event.h"
#include "platform/registry.h"
#include "platform/system.h"
#include "support/environment.h"
#include "support/eventually.h"
#include "support/temp_dir.h"
#include "support/windows/child_process.h"

namespace {

using platform::Event;
using platform::EventReset;
using platform::RegistryKey;
using support::ChildProcess;

constexpr const char* key_name = "SOFTWARE\\Brelvane\\ORVEX";

std::string OwnName(const char* name) {
    return std::to_string(platform::ProcessId()) + "_" + name;
}

TEST(Event, AnotherProcessAnswersByName) {
    Event ping, pong;
    ASSERT_TRUE(ping.Create(OwnName("a\\b").c_str(), EventReset::automatic, false));
    ASSERT_TRUE(pong.Create(OwnName("pong").c_str(), EventReset::automatic, false));
    ChildProcess child("answer " + OwnName("a_b") + ' ' + OwnName("pong"));
    ping.Set();
    EXPECT_TRUE(pong.Wait(10'000));
    EXPECT_EQ(child.Wait(), 0);
}

TEST(Event, WithANameThatIsTakenIsAnother) {
    Event first, second;
    ASSERT_TRUE(first.Create(OwnName("taken").c_str(), EventReset::manual, true));
    ASSERT_TRUE(second.Create(OwnName("taken").c_str(), EventReset::manual, false));
    EXPECT_TRUE(first.IsNamed());
    EXPECT_FALSE(second.IsNamed());
    EXPECT_FALSE(second.Wait(0));
    EXPECT_GT(second.Handle(), 0);
    Event too_long;
    ASSERT_TRUE(too_long.Create(std::string(256, 'x').c_str(), EventReset::manual, true));
    EXPECT_FALSE(too_long.IsNamed());
}

TEST(Event, ViewOfAHandleOutlivesIt) {
    Event event;
    ASSERT_TRUE(event.Create(nullptr, EventReset::manual, false));
    orvex_event view;
    ASSERT_TRUE(orvex_event_open_handle(&view, event.Handle()));
    EXPECT_EQ(view.handle, -1);
    EXPECT_TRUE(orvex_event_set(&view));
    EXPECT_TRUE(event.Wait(0));
    event.Close();
    EXPECT_TRUE(orvex_event_wait(&view, 0));
    orvex_event_close(&view);
    EXPECT_FALSE(orvex_event_set(&view));
    EXPECT_FALSE(orvex_event_open_handle(&view, -1));
}

// The local machine's root is one of this user for as long as it lasts.
class RegistryTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, "OrvexTest", &root_), ERROR_SUCCESS);
        ASSERT_EQ(RegOverridePredefKey(HKEY_LOCAL_MACHINE, root_), ERROR_SUCCESS);
        ASSERT_EQ(RegCreateKeyA(HKEY_LOCAL_MACHINE, key_name, &key_), ERROR_SUCCESS);
    }
    void TearDown() override {
        RegCloseKey(key_);
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        RegCloseKey(root_);
        RegDeleteTreeA(HKEY_CURRENT_USER, "OrvexTest");
    }
    void Write(const char* name, DWORD type, const std::string& bytes) {
        ASSERT_EQ(RegSetValueExA(key_, name, 0, type, reinterpret_cast<const BYTE*>(bytes.data()),
                                 static_cast<DWORD>(bytes.size())),
                  ERROR_SUCCESS);
    }

    HKEY root_ = nullptr, key_ = nullptr;
};

TEST_F(RegistryTest, GivesTextsOfTheLocalMachine) {
    const support::Environment no_file("ORVEX_REGISTRY", std::nullopt);
    Write("Current Version", REG_SZ, "3.1.2.5");  // without a terminator
    Write("Long", REG_SZ, std::string(3000, 'x'));
    Write("Empty", REG_SZ, std::string(1, '\0'));
    Write("Number", REG_DWORD, std::string(4, '\1'));
    const std::optional<RegistryKey> key = RegistryKey::Open("software\\brelvane\\orvex");
    ASSERT_TRUE(key);
    EXPECT_EQ(key->Text("current version", 1024), "3.1.2.5");
    EXPECT_EQ(key->Text("Long", 1024), std::string(1023, 'x'));
    EXPECT_EQ(key->Text("Empty", 1024), "");
    EXPECT_EQ(key->Text("Number", 1024), std::nullopt);
    EXPECT_EQ(key->Text("Absent", 1024), std::nullopt);
    EXPECT_FALSE(RegistryKey::Open("SOFTWARE\\Brelvane\\Other"));
}

TEST(Notice, WaitsForAnAnswer) {
    std::atomic<bool> returned = false;
    std::thread notice([&] {
        platform::ShowNotice("ORVEX Notification", "Update available");
        returned = true;
    });
    HWND box = nullptr;
    EXPECT_TRUE(support::eventually([&] {
        box = FindWindowA(nullptr, "ORVEX Notification");
        return box && GetDlgItem(box, 65535);
    }));
    std::array<char, 64> text{};
    GetDlgItemTextA(box, 65535, text.data(), static_cast<int>(text.size()));
    EXPECT_STREQ(text.data(), "Update available");
    EXPECT_FALSE(returned);
    PostMessageA(box, WM_COMMAND, IDOK, 0);
    notice.join();
}

TEST(AppendFile, TwoProcessesKeepTheirLinesWhole) {
    constexpr int lines = 1000;
    const support::TempDir directory;
    const std::string file = (directory / "log").string(), rest = ' ' + std::to_string(lines);
    ChildProcess a("append " + file + " a" + rest), b("append " + file + " b" + rest);
    ASSERT_EQ(a.Wait(), 0);
    ASSERT_EQ(b.Wait(), 0);
    std::ifstream log(file);
    int whole = 0;
    for (std::string line; std::getline(log, line);)
        whole += line == std::string(100, 'a') || line == std::string(100, 'b') ? 1 : 0;
    EXPECT_EQ(whole, 2 * lines);
}

}  // namespace
