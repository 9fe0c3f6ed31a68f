#include "api/lifecycle.h"

#include <gmock/gmock.h>
#include <optional>
#include <string>

#include "orvex/orvex.h"

#include "api/module_entry.h"
#include "log/log.h"
#include "state/api_global.h"
#include "state/camera_tables.h"
#include "support/core/trace_capture.h"
#include "support/environment.h"
#include "support/scripted_driver.h"
#include "support/temp_dir.h"

namespace {

using platform::LibraryEvent;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// An installation whose registry is a file of the test.
class Installation {
  public:
    explicit Installation(const std::string& content)
        : registry_("ORVEX_REGISTRY", directory_.write("registry.ini", content).string()) {}

    static std::string Key(const std::string& values) {
        return "[SOFTWARE\\Brelvane\\ORVEX]\n" + values;
    }

  private:
    support::TempDir directory_;
    support::Environment registry_;
};

struct VersionCase {
    std::string name;
    std::string registry;
    std::optional<uns16> packed;
    std::string line;  // logged, empty for none
};

const std::string out_of_range = "Version part(s) out of range (8-4-4-16 bits)";
const std::string unparsed = "Cannot parse all four version tokens from value ";

const VersionCase version_cases[] = {
    {"plain", Installation::Key("Current Version=3.9.2.1234\n"), 0x0392, ""},
    {"major_too_large", Installation::Key("Current Version=300.1.2.3\n"), 0x2C12, out_of_range},
    {"build_too_large", Installation::Key("Current Version=1.2.3.65536\n"), 0x0123, out_of_range},
    {"three_parts", Installation::Key("Current Version=1.2.3\n"), std::nullopt,
     unparsed + "'1.2.3'"},
    {"no_value", Installation::Key("Something=1\n"), std::nullopt,
     "Cannot get version from registry at '[HKLM]\\SOFTWARE\\Brelvane\\ORVEX\\Current Version'"},
    {"no_key", "[OTHER]\nCurrent Version=1.2.3.4\n", std::nullopt,
     "Cannot open registry key with version at '[HKLM]\\SOFTWARE\\Brelvane\\ORVEX'"},
};

TEST(Version, IsPackedFromTheRegistry) {
    for (const auto& [name, registry, packed, line] : version_cases) {
        SCOPED_TRACE(name);
        const Installation installation(registry);
        support::TraceCapture trace;
        uns16 version = 0xAAAA;
        EXPECT_EQ(ox_orvex_get_ver(&version), packed.has_value());
        EXPECT_EQ(version, packed.value_or(0xAAAA));
        if (!packed) {
            EXPECT_TRUE(trace.failed_with(C0_UNKNOWN_ERROR, line));
        } else if (line.empty()) {
            EXPECT_THAT(trace.messages(bv::log_warning), IsEmpty());
        } else {
            EXPECT_THAT(trace.messages(bv::log_warning), ElementsAre("oz_orvex_get_ver: " + line));
        }
    }
}

class Lifecycle : public testing::Test {
  protected:
    Lifecycle() {
        driver_.add_camera("First");
        driver_.add_camera("Second");
        driver_.publish();
    }
    ~Lifecycle() override {
        if (orvex_initialized) ox_orvex_uninit();
    }

    support::ScriptedDriver driver_;
};

TEST_F(Lifecycle, SecondStartIsRefusedAndHarmless) {
    ASSERT_EQ(ox_orvex_init(), 1);
    support::TraceCapture trace;
    EXPECT_EQ(ox_orvex_init(), 0);
    EXPECT_TRUE(trace.failed_with(C2_ORVEX_ALREADY_INITED, "ORVEX can only be initialized once"));
    char name[CAM_NAME_LEN];
    EXPECT_EQ(ox_cam_get_name(1, name), 1);
    EXPECT_STREQ(name, "Second");
}

TEST_F(Lifecycle, FailedStartCanBeRepeated) {
    driver_.init_result(0);
    EXPECT_EQ(ox_orvex_init(), 0);
    EXPECT_EQ(ox_error_code(), C7_DRIVER_COM_ERROR);
    EXPECT_EQ(orvex_initialized, 0);
    EXPECT_EQ(ox_cam_close(0), 0);
    EXPECT_EQ(ox_error_code(), C2_ORVEX_NOT_INITED);
    driver_.init_result(1);
    EXPECT_EQ(ox_orvex_init(), 1);
}

TEST_F(Lifecycle, NotificationIsShownAtEachStart) {
    const Installation installation(Installation::Key("Notification=Please update.\n"));
    testing::internal::CaptureStderr();
    EXPECT_EQ(ox_orvex_init(), 1);
    const std::string shown = testing::internal::GetCapturedStderr();
    EXPECT_THAT(shown, HasSubstr("ORVEX Notification"));
    EXPECT_THAT(shown, HasSubstr("Please update."));
}

class ModuleHook : public testing::Test {
  protected:
    ~ModuleHook() override { bv::Log::loaderLockMode = false; }
};

TEST_F(ModuleHook, LoaderLockModeLastsFromDetachToAttach) {
    EXPECT_FALSE(bv::Log::loaderLockMode);
    EXPECT_EQ(LibraryHook(nullptr, LibraryEvent::process_detach, nullptr), 1);
    EXPECT_TRUE(bv::Log::loaderLockMode);
    EXPECT_EQ(LibraryHook(nullptr, LibraryEvent::process_attach, nullptr), 1);
    EXPECT_FALSE(bv::Log::loaderLockMode);
}

}  // namespace
