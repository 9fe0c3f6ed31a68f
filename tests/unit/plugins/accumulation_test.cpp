// The host of the frame-accumulation plug-in. Its results are the reverse of what they tell: an
// operation that was carried out fails with a null pointer.
#include <gmock/gmock.h>
#include <system_error>

#include "platform/module.h"
#include "plugins/accumulation_host.h"
#include "state/api_locks.h"
#include "state/call.h"
#include "support/core/test_camera.h"
#include "support/environment.h"
#include "support/modules/accumulation_module.h"
#include "support/temp_dir.h"

using accumulation_module::State;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// Three cameras, of which the first is closed, and a path on which a plug-in can be installed.
class Accumulation : public testing::Test {
  protected:
    Accumulation() { cameras_.cam_info(0).open = 0; }
    ~Accumulation() override {
        ffUnloadLibrary();
        platform::ReleaseModule(module_);
    }

    // Installs a module and gives access to what it notes.
    State& Install(const char* module) {
        const std::string file = directory_.link_module(module, "ff").string();
        module_ = platform::LoadModule(file.c_str());
        if (!module_) throw std::runtime_error(platform::ModuleErrorText());
        const auto get = reinterpret_cast<accumulation_module::module_state*>(
            platform::FindSymbol(module_, "module_state_of_test"));
        // The module may have stayed in the process since an earlier test.
        return *get() = {};
    }

    static void ExpectCarriedOut(boolean16 result) {
        EXPECT_EQ(result, 0);
        EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C0_NULL_POINTER);
    }

    static constexpr int16 hcam_ = 1;
    support::TestCamera cameras_{3};
    support::TempDir directory_;
    support::Environment path_{"ORVEX_MODULE_PATH", directory_.path().string()};
    void* module_ = nullptr;
};

TEST_F(Accumulation, WithoutPluginSucceedsAndDoesNothing) {
    bv::ApiGlobal::SetErrorCode(EXT_OPEN_EXCLUSIVE, C0_UNKNOWN_ERROR);
    uns32 number = 1234;
    EXPECT_EQ(t_ox_ff_get_accum_num(hcam_, &number), 1);
    EXPECT_EQ(number, 1234u);
    uns16 flag = 7;
    for (const auto get :
         {t_ox_ff_get_accum_mode, t_ox_ff_get_paired_mode, t_ox_ff_get_accum_capable}) {
        EXPECT_EQ(get(hcam_, &flag), 1);
    }
    EXPECT_EQ(flag, 7);
    EXPECT_EQ(t_ox_ff_set_accum_num(hcam_, 5), 1);
    EXPECT_EQ(t_ox_ff_set_accum_mode(hcam_, 1), 1);
    EXPECT_EQ(t_ox_ff_set_paired_mode(hcam_, 1), 1);
    EXPECT_FALSE(bv::ApiGlobal::IsErrorCodeSet());
}

TEST_F(Accumulation, SampleKeepsTheSettingsOfEachCamera) {
    const support::Environment samples("ORVEX_MODULE_PATH", ORVEX_LIBRARY_DIR "/plugins");
    uns16 flag = 0;
    uns32 number = 0;
    ExpectCarriedOut(t_ox_ff_get_accum_capable(1, &flag));
    EXPECT_EQ(flag, 1);
    ExpectCarriedOut(t_ox_ff_set_accum_mode(1, 1));
    ExpectCarriedOut(t_ox_ff_set_accum_num(1, 12));
    ExpectCarriedOut(t_ox_ff_set_accum_num(1, 0));  // not taken
    ExpectCarriedOut(t_ox_ff_set_paired_mode(2, 5));

    const struct {
        int16 hcam;
        uns16 accumulate, paired;
        uns32 frames;
    } expected[] = {{1, 1, 0, 12}, {2, 0, 1, 1}};
    for (const auto& camera : expected) {
        ExpectCarriedOut(t_ox_ff_get_accum_mode(camera.hcam, &flag));
        EXPECT_EQ(flag, camera.accumulate);
        ExpectCarriedOut(t_ox_ff_get_paired_mode(camera.hcam, &flag));
        EXPECT_EQ(flag, camera.paired);
        ExpectCarriedOut(t_ox_ff_get_accum_num(camera.hcam, &number));
        EXPECT_EQ(number, camera.frames);
    }
}

TEST_F(Accumulation, MissingFunctionIsAsGoodAsNoPlugin) {
    const State& state = Install("accumulation_no_set_num");
    EXPECT_EQ(t_ox_ff_set_accum_num(hcam_, 5), 1);
    EXPECT_FALSE(bv::ApiGlobal::IsErrorCodeSet());
    uns32 number = 0;
    ExpectCarriedOut(t_ox_ff_get_accum_num(hcam_, &number));
    EXPECT_EQ(number, 77u);
    EXPECT_THAT(state.calls, ElementsAre("init", "get_accum_num 1"));
}

TEST_F(Accumulation, PluginThatCantBeInitialisedIsNotUsed) {
    const State& state = Install("accumulation_no_init");
    EXPECT_EQ(t_ox_ff_set_accum_num(hcam_, 5), 1);
    EXPECT_THAT(state.calls, IsEmpty());
}

TEST_F(Accumulation, UnloadsWithItsHandle) {
    const State& state = Install("accumulation_full");
    t_ox_ff_set_accum_mode(hcam_, 1);
    ffUnloadLibrary();
    ffUnloadLibrary();
    EXPECT_THAT(state.calls, ElementsAre("init", "set_accum_mode 1", "uninit"));
}

// A parameter access holds the mutex already; it ends there instead of hanging.
TEST_F(Accumulation, UnusableHandlesAndNestedLocksNeverReachThePlugin) {
    const State& state = Install("accumulation_full");
    for (int16 hcam : {int16{-1}, int16{0}, int16{3}}) {
        uns16 flag = 5;
        EXPECT_EQ(t_ox_ff_get_accum_mode(hcam, &flag), 0);
        EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C0_INVALID_HANDLE);
    }
    {
        std::lock_guard lock(api_camera_mutexes[hcam_]);
        EXPECT_THROW(t_ox_ff_set_accum_mode(hcam_, 1), std::system_error);
    }
    EXPECT_THAT(state.calls, IsEmpty());
    ExpectCarriedOut(t_ox_ff_set_accum_mode(hcam_, 1));
}

}  // namespace
