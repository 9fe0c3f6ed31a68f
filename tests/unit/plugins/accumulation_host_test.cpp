#include "plugins/accumulation_host.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <system_error>

#include "state/api_locks.h"
#include "state/call.h"
#include "state/camera_tables.h"
#include "support/environment.h"
#include "support/modules/accumulation_module.h"
#include "support/temp_dir.h"

#include "unit/log/collected_log.h"

using accumulation_module::State;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

class Accumulation : public testing::Test {
  protected:
    Accumulation() {
        orvex_initialized = 1;
        total_cams = 2;
        pg_cam_info = std::make_unique<cam_info_type[]>(2);
        pg_cam_info[1].open = 1;
    }
    ~Accumulation() override {
        ffUnloadLibrary();
        if (module_) dlclose(module_);
        orvex_initialized = 0;
        total_cams = 0;
        pg_cam_info.reset();
    }

    // Installs a module and gives access to what it notes.
    State& Install(const char* module) {
        const std::string file = directory_.link_module(module, "ff.so").string();
        module_ = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (!module_) throw std::runtime_error(dlerror());
        const auto get = reinterpret_cast<accumulation_module::module_state*>(
            dlsym(module_, "module_state_of_test"));
        return *get();
    }

    static void ExpectCarriedOut(boolean16 result) {
        EXPECT_EQ(result, 0);
        EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C0_NULL_POINTER);
    }

    static constexpr int16 hcam_ = 1;
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
    EXPECT_EQ(t_ox_ff_get_accum_mode(hcam_, &flag), 1);
    EXPECT_EQ(t_ox_ff_get_paired_mode(hcam_, &flag), 1);
    EXPECT_EQ(t_ox_ff_get_accum_capable(hcam_, &flag), 1);
    EXPECT_EQ(flag, 7);
    EXPECT_EQ(t_ox_ff_set_accum_num(hcam_, 5), 1);
    EXPECT_EQ(t_ox_ff_set_accum_mode(hcam_, 1), 1);
    EXPECT_EQ(t_ox_ff_set_paired_mode(hcam_, 1), 1);
    EXPECT_FALSE(bv::ApiGlobal::IsErrorCodeSet());
}

TEST_F(Accumulation, TriesToLoadAtEachUse) {
    tests::Trace trace;
    uns16 flag = 1;
    t_ox_ff_get_paired_mode(hcam_, &flag);
    t_ox_ff_set_paired_mode(hcam_, 0);
    const auto lines = trace.Lines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "E     ffLoadLibrary: Failed to load ff.dll"),
              2);
    EXPECT_THAT(lines, Contains("D t_ox_ff_get_paired_mode: RETURN (OZ_OK, *flag=TRUE)"));
    EXPECT_THAT(lines, Contains("D t_ox_ff_set_paired_mode: ENTER (hcam=1, flag=FALSE)"));
    EXPECT_THAT(lines, Contains("D t_ox_ff_set_paired_mode: RETURN (OZ_OK)"));

    const State& state = Install("accumulation_full");
    ExpectCarriedOut(t_ox_ff_set_paired_mode(hcam_, 0));
    EXPECT_THAT(state.calls, ElementsAre("init", "set_paired_mode 1"));
}

TEST_F(Accumulation, WithPluginCarriesOutAndFails) {
    State& state = Install("accumulation_full");
    uns16 flag = 9;
    uns32 number = 9;
    ExpectCarriedOut(t_ox_ff_get_accum_capable(hcam_, &flag));
    EXPECT_EQ(flag, 1);
    ExpectCarriedOut(t_ox_ff_set_accum_num(hcam_, 42));
    ExpectCarriedOut(t_ox_ff_get_accum_num(hcam_, &number));
    EXPECT_EQ(number, 42u);
    ExpectCarriedOut(t_ox_ff_set_accum_mode(hcam_, 3));
    ExpectCarriedOut(t_ox_ff_get_accum_mode(hcam_, &flag));
    EXPECT_EQ(flag, 3);
    ExpectCarriedOut(t_ox_ff_set_paired_mode(hcam_, 0));
    ExpectCarriedOut(t_ox_ff_get_paired_mode(hcam_, &flag));
    EXPECT_EQ(flag, 0);
    EXPECT_EQ(state.calls.front(), "init");
    EXPECT_EQ(state.calls.size(), 8u);
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
    tests::Trace trace;
    const State& state = Install("accumulation_no_init");
    EXPECT_EQ(t_ox_ff_set_accum_num(hcam_, 5), 1);
    EXPECT_THAT(trace.Lines(), Contains("E     ffLoadLibrary: Failed to load ff.dll"));
    EXPECT_THAT(state.calls, IsEmpty());
}

TEST_F(Accumulation, UnloadsWithItsHandle) {
    const State& state = Install("accumulation_full");
    t_ox_ff_set_accum_mode(hcam_, 1);
    ffUnloadLibrary();
    ffUnloadLibrary();
    EXPECT_THAT(state.calls, ElementsAre("init", "set_accum_mode 1", "uninit"));
    t_ox_ff_set_accum_mode(hcam_, 1);
    EXPECT_EQ(state.calls.size(), 5u);
}

TEST_F(Accumulation, RefusesUnusableHandles) {
    const State& state = Install("accumulation_full");
    for (int16 hcam : {int16{-1}, int16{0}, int16{2}}) {
        uns16 flag = 5;
        EXPECT_EQ(t_ox_ff_get_accum_mode(hcam, &flag), 0);
        EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C0_INVALID_HANDLE);
    }
    EXPECT_THAT(state.calls, IsEmpty());
}

// A parameter access holds the mutex already; it ends there instead of hanging.
TEST_F(Accumulation, NestedLockRaises) {
    const State& state = Install("accumulation_full");
    {
        std::lock_guard lock(api_camera_mutexes[hcam_]);
        EXPECT_THROW(t_ox_ff_set_accum_mode(hcam_, 1), std::system_error);
    }
    EXPECT_THAT(state.calls, IsEmpty());
    ExpectCarriedOut(t_ox_ff_set_accum_mode(hcam_, 1));
}

}  // namespace
