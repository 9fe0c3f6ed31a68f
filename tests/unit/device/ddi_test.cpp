#include "device/ddi.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

#include "device/device_table.h"
#include "support/core/trace_capture.h"
#include "support/environment.h"
#include "support/scripted_driver.h"
#include "support/temp_dir.h"

namespace {

using support::Environment;
using support::ScriptedDriver;
using support::TempDir;
using support::TraceCapture;
using testing::HasSubstr;

// A module of lib/test in the place of the installed driver module.
class LoadedModule {
  public:
    explicit LoadedModule(const char* module) {
        if (module) directory_.link_module(module, "orvexDDI.so");
    }
    std::string calls() const {
        std::ifstream file(directory_ / "calls");
        return {std::istreambuf_iterator<char>(file), {}};
    }

  private:
    TempDir directory_;
    Environment path_{"ORVEX_MODULE_PATH", directory_.path().string()};
    Environment calls_{"ORVEX_TINY_CALLS", (directory_ / "calls").string()};
};

struct LoadCase {
    const char* module;
    boolean16 result;
    const char* error;  // null for success
    const char* calls;
    int16 cameras;
};

void PrintTo(const LoadCase& c, std::ostream* out) {
    *out << c.module;
}

class LoadLibrary : public testing::TestWithParam<LoadCase> {};

TEST_P(LoadLibrary, AcceptsOnlyACompleteModuleThatInitialises) {
    const LoadCase& expected = GetParam();
    LoadedModule module(expected.module);
    TraceCapture trace;
    EXPECT_EQ(dv_ddi_init(), expected.result);
    EXPECT_EQ(module.calls(), expected.calls);
    EXPECT_EQ(g_orvex_ddi.module != nullptr, expected.result == 1);
    if (expected.error) {
        EXPECT_TRUE(trace.failed_with(C7_DRIVER_COM_ERROR, expected.error));
        return;
    }
    int16 total = -1;
    EXPECT_EQ(dv_ddi_get_total_cams(&total), 1);
    EXPECT_EQ(total, expected.cameras);
    EXPECT_TRUE(trace.contains("orvex_ddi_load_library: RETURN (OZ_OK, ddi->camCount=" +
                               std::to_string(expected.cameras) + ")"));
    dv_ddi_uninit();
    EXPECT_EQ(g_orvex_ddi.module, nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    Modules, LoadLibrary,
    testing::Values(
        LoadCase{"tiny_no_version", 0, "Version function not found in DDI", "uninit\n", 0},
        LoadCase{"tiny_no_init", 0, "Init function not found in DDI", "uninit\n", 0},
        LoadCase{"tiny_no_uninit", 0, "Uninit function not found in DDI", "", 0},
        LoadCase{"tiny_init_fails", 0, "DDI initialization failed", "init\nuninit\n", 0},
        LoadCase{"tiny_init_high_word", 1, nullptr, "init\n", 1},
        LoadCase{"tiny_no_cameras", 1, nullptr, "init\n", 0},
        LoadCase{"tiny_many_cameras", 1, nullptr, "init\n", 20}),
    [](const auto& instance) { return std::string(instance.param.module); });

TEST(LoadLibraryByName, ReportsAMissingFile) {
    TraceCapture trace;
    orvex_ddi ddi{};
    EXPECT_EQ(orvex_ddi_load_library("no such module.dll", &ddi), 0);
    EXPECT_THAT(trace.last_error(),
                HasSubstr("orvex_ddi_load_library: Failed to load library 'no such module.dll' ("));
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C7_DRIVER_COM_ERROR);
    EXPECT_EQ(ddi.module, nullptr);
}

TEST(LoadLibraryTwice, IsRefusedAndLeavesTheFirstWorking) {
    LoadedModule module("tiny_many_cameras");
    TraceCapture trace;
    ASSERT_EQ(dv_ddi_init(), 1);
    void* const loaded = g_orvex_ddi.module;
    EXPECT_EQ(orvex_ddi_load_library("orvexDDI.dll", &g_orvex_ddi), 0);
    EXPECT_TRUE(trace.failed_with(C7_DRIVER_COM_ERROR, "DDI library already loaded"));
    EXPECT_EQ(g_orvex_ddi.module, loaded);
    EXPECT_EQ(module.calls(), "init\n");
    dv_ddi_uninit();
    EXPECT_EQ(module.calls(), "init\nuninit\n");
    dv_ddi_uninit();
    EXPECT_EQ(module.calls(), "init\nuninit\n") << "the module is gone";
}

TEST(UnloadLibrary, OfAnEmptyRecordDoesNothing) {
    TraceCapture trace;
    orvex_ddi ddi{};
    orvex_ddi_unload_library(&ddi);
    EXPECT_TRUE(trace.messages(bv::log_error).empty());
    EXPECT_TRUE(trace.messages(bv::log_warning).empty());
}

TEST(UnloadLibrary, ReleasesAModuleWhoseUninitFails) {
    LoadedModule module("tiny_uninit_fails");
    TraceCapture trace;
    bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
    ASSERT_EQ(dv_ddi_init(), 1);
    dv_ddi_uninit();
    EXPECT_THAT(trace.messages(bv::log_warning),
                testing::ElementsAre(
                    "orvex_ddi_unload_library: DDI uninitialization failed, error ignored"));
    EXPECT_EQ(g_orvex_ddi.module, nullptr);
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), 0);
}

TEST(DriverModule, FindsAnEmptyRecordAtEveryInit) {
    LoadedModule module("tiny_no_cameras");
    orvex_device stale{};
    g_orvex_ddi.reserved1 = 7;
    g_orvex_ddi.camCount = 3;
    g_orvex_ddi.devices[20] = &stale;
    ASSERT_EQ(dv_ddi_init(), 1);
    EXPECT_EQ(g_orvex_ddi.reserved1, 0u);
    EXPECT_EQ(g_orvex_ddi.camCount, 0);
    EXPECT_EQ(g_orvex_ddi.devices[20], nullptr);
    dv_ddi_uninit();
}

TEST(DriverModule, IsReachedThroughTheLoaderAndNeverAskedForItsVersion) {
    LoadedModule module("tiny_many_cameras");
    ASSERT_EQ(dv_ddi_init(), 1);
    uns16 version = 99;
    EXPECT_EQ(dv_ddi_get_ver(&version), 1);
    EXPECT_EQ(version, 0);
    const char* name = nullptr;
    EXPECT_EQ(dv_ddi_get_cam_name(19, &name), 1);
    EXPECT_STREQ(name, "Tiny 19");
    EXPECT_EQ(module.calls(), "init\n");
    // The library has tables for 16 cameras.
    EXPECT_EQ(GetHcam("Tiny 15"), 15);
    EXPECT_EQ(GetHcam("Tiny 16"), -1);
    dv_ddi_uninit();
}

TEST(DeviceSlots, OutsideTheTableOrEmptyAreNoDevices) {
    ScriptedDriver driver;
    driver.add_camera("Only");
    driver.publish();
    ASSERT_EQ(dv_ddi_init(), 1);
    EXPECT_EQ(dv_device(0), driver.camera(0).device());
    for (int16 hcam : {int16{-1}, int16{1}, int16{20}, int16{21}, int16{32767}}) {
        EXPECT_EQ(dv_device(hcam), nullptr) << hcam;
        const char* name = nullptr;
        EXPECT_EQ(dv_ddi_get_cam_name(hcam, &name), 1);
        EXPECT_STREQ(name, "") << hcam;
    }
    dv_ddi_uninit();
    EXPECT_EQ(driver.uninits(), 1u);
}

struct NameCase {
    const char* description;
    std::string device;
    std::string wanted;
    int16 handle;
};

TEST(GetHcam, ComparesThirtyTwoCharacters) {
    const std::string long_name = "0123456789abcdef0123456789ABCDEF";
    const NameCase cases[] = {
        {"the same", "Camera", "Camera", 1},
        {"other case", "Camera", "camera", -1},
        {"shorter", "Camera", "Camer", -1},
        {"longer", "Camera", "Camera 2", -1},
        {"a full field without terminator", long_name, long_name, 1},
        {"the same up to the end of the field", long_name, long_name + "more", 1},
        {"different in the last character", long_name, long_name.substr(0, 31) + "G", -1},
        {"the first of two", "Other", "Other", 0},
    };
    for (const NameCase& c : cases) {
        SCOPED_TRACE(c.description);
        ScriptedDriver driver;
        driver.add_camera("Other");
        driver.add_camera(c.device);
        g_orvex_ddi = {};
        driver.init(&g_orvex_ddi);
        EXPECT_EQ(GetHcam(c.wanted.c_str()), c.handle);
        g_orvex_ddi.camCount = -1;
        EXPECT_EQ(GetHcam(c.wanted.c_str()), -1);
        g_orvex_ddi = {};
    }
    EXPECT_EQ(GetHcam(nullptr), -1);
}

}  // namespace
