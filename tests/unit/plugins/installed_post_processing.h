#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>

#include "platform/module.h"
#include "plugins/post_processing_host.h"
#include "state/call.h"
#include "state/camera_tables.h"
#include "support/core/test_camera.h"
#include "support/environment.h"
#include "support/modules/post_processing_module.h"
#include "support/temp_dir.h"

namespace tests {

// Two open cameras, and a drive on which a plug-in can be installed.
class PostProcessing : public testing::Test {
  protected:
    ~PostProcessing() override {
        bv_pop_unloadlibrary();
        platform::ReleaseModule(module_);
    }

    // Installs a module where the plug-in belongs; its state can be changed before it is loaded.
    post_processing_module::State& Install(const char* module) {
        const std::string place = "Program Files/Brelvane/Kelmo64";
        std::filesystem::create_directories(drive_ / place);
        const auto file = drive_.link_module(module, place + "/BV_PoP");
        module_ = platform::LoadModule(file.string().c_str());
        if (!module_) throw std::runtime_error(platform::ModuleErrorText());
        const auto get = reinterpret_cast<post_processing_module::module_state*>(
            platform::FindSymbol(module_, "module_state_of_test"));
        // The module may have stayed in the process since an earlier test.
        return *get() = {};
    }

    post_processing_module::State& Load(const char* module = "post_processing_full") {
        auto& state = Install(module);
        EXPECT_EQ(bv_pop_loadlibrary(), 1);
        return state;
    }

    static cam_cfg_type& cfg(int16 hcam = 0) { return pg_cam_cfg[static_cast<size_t>(hcam)]; }

    static int16 TakeError() {
        const int16 code = bv::ApiGlobal::GetErrorCode();
        bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
        return code;
    }

    support::TestCamera cameras_{2};
    support::TempDir drive_;
    support::Environment system_drive_{"SystemDrive", drive_.path().string()};
    void* module_ = nullptr;
};

}  // namespace tests
