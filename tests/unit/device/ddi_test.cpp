#include "device/ddi.h"

#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <string>
#include <tuple>

#include "device/device_table.h"
#include "state/camera_tables.h"
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
        if (module) directory_.link_module(module, "orvexDDI");
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

TEST(LoadLibrary, AcceptsOnlyACompleteModuleThatInitialises) {
    struct LoadCase {
        const char* module;
        const char* error;  // null for success
        const char* calls;
        int16 cameras;
    };
    const LoadCase cases[] = {
        {"tiny_no_version", "Version function not found in DDI", "uninit\n", 0},
        {"tiny_no_init", "Init function not found in DDI", "uninit\n", 0},
        {"tiny_no_uninit", "Uninit function not found in DDI", "", 0},
        {"tiny_init_fails", "DDI initialization failed", "init\nuninit\n", 0},
        {"tiny_init_high_word", nullptr, "init\n", 1},
        {"tiny_no_cameras", nullptr, "init\n", 0},
        {"tiny_many_cameras", nullptr, "init\n", 20},
    };
    for (const LoadCase& c : cases) {
        SCOPED_TRACE(c.module);
        LoadedModule module(c.module);
        TraceCapture trace;
        EXPECT_EQ(dv_ddi_init(), c.error ? 0 : 1);
        EXPECT_EQ(module.calls(), c.calls);
        EXPECT_EQ(g_orvex_ddi.module == nullptr, c.error != nullptr);
        if (c.error) {
            EXPECT_TRUE(trace.failed_with(C7_DRIVER_COM_ERROR, c.error));
            continue;
        }
        int16 total = -1;
        EXPECT_EQ(dv_ddi_get_total_cams(&total), 1);
        EXPECT_EQ(total, c.cameras);
        EXPECT_TRUE(trace.contains("orvex_ddi_load_library: RETURN (OZ_OK, ddi->camCount=" +
                                   std::to_string(c.cameras) + ")"));
        dv_ddi_uninit();
        EXPECT_EQ(g_orvex_ddi.module, nullptr);
    }
}

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
    EXPECT_TRUE(trace.refused(orvex_ddi_load_library("orvexDDI.dll", &g_orvex_ddi),
                              C7_DRIVER_COM_ERROR, "DDI library already loaded"));
    EXPECT_EQ(g_orvex_ddi.module, loaded);
    EXPECT_EQ(module.calls(), "init\n");
    dv_ddi_uninit();
    EXPECT_EQ(module.calls(), "init\nuninit\n");
    dv_ddi_uninit();
    EXPECT_EQ(module.calls(), "init\nuninit\n") << "the module is gone";
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

TEST(GetHcam, ComparesThirtyTwoCharacters) {
    const std::string full_field = "0123456789abcdef0123456789ABCDEF";  // without terminator
    const std::tuple<std::string, std::string, int16> cases[] = {
        {"Camera", "Camera", 1},
        {"Camera", "camera", -1},
        {"Camera", "Camer", -1},
        {"Camera", "Camera 2", -1},
        {"Other", "Other", 0},  // the first of two
        {full_field, full_field, 1},
        {full_field, full_field + "more", 1},
        {full_field, full_field.substr(0, 31) + "G", -1},
    };
    for (const auto& [device, wanted, handle] : cases) {
        SCOPED_TRACE(wanted);
        ScriptedDriver driver;
        driver.add_camera("Other");
        driver.add_camera(device);
        g_orvex_ddi = {};
        driver.init(&g_orvex_ddi);
        total_cams = 2;
        EXPECT_EQ(GetHcam(wanted.c_str()), handle);
        // A module that counts another camera later, or none.
        total_cams = 1;
        EXPECT_EQ(GetHcam(wanted.c_str()), handle == 1 ? -1 : handle);
        g_orvex_ddi.camCount = -1;
        EXPECT_EQ(GetHcam(wanted.c_str()), -1);
        g_orvex_ddi = {};
        total_cams = 0;
    }
    EXPECT_EQ(GetHcam(nullptr), -1);
}

}  // namespace
