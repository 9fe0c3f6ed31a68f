#include "plugins/post_processing_host.h"

#include <cstring>
#include <gmock/gmock.h>
#include <utility>

#include "unit/log/collected_log.h"
#include "unit/plugins/installed_post_processing.h"

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class PostProcessingHost : public tests::PostProcessing {
  protected:
    void ExpectNothingAvailable() {
        EXPECT_EQ(bv_pop_islibraryloaded(), 0);
        EXPECT_EQ(bv_pop_ismoduleavailable(0), 0);
        EXPECT_EQ(bv_pop_get_module_enabled_status(0), 0);
        EXPECT_EQ(bv_pop_open_camera(0), 1);
        EXPECT_EQ(bv_pop_oneshot_parameters(0), 1);
        EXPECT_EQ(bv_pop_periodic_parameters(0), 1);
        EXPECT_FALSE(bv::ApiGlobal::IsErrorCodeSet());
    }
};

TEST_F(PostProcessingHost, AbsenceIsNoFailure) {
    tests::Trace trace;
    EXPECT_EQ(bv_pop_loadlibrary(), 0);
    EXPECT_THAT(trace.Lines(),
                Contains(AllOf(HasSubstr("KELMO library '" + drive_.path().string() +
                                         "\\Program Files\\Brelvane\\Kelmo64\\BV_PoP.dll' not "
                                         "found nor loaded"),
                               testing::Not(testing::StartsWith("E")))));
    ExpectNothingAvailable();
    EXPECT_EQ(bv_pop_unloadlibrary(), 1);
}

TEST_F(PostProcessingHost, LoadsWithoutTheOptionalFunction) {
    auto& state = Load("post_processing_no_common");
    EXPECT_EQ(bv_pop_ismoduleavailable(0), 1);
    const auto modules = std::exchange(state.modules, {});
    EXPECT_EQ(bv_pop_ismoduleavailable(0), 0);
    state.modules = modules;
    tests::Trace trace;
    EXPECT_EQ(bv_pop_open_camera(1), 0);
    EXPECT_EQ(TakeError(), C0_NULL_POINTER);
    EXPECT_THAT(state.opened, ElementsAre(1));
    EXPECT_THAT(trace.Lines(),
                Contains("E     bv_pop_oneshot_parameters: i_set_common_parameter function pointer "
                         "is NULL"));
    EXPECT_EQ(bv_pop_periodic_parameters(0), 0);
    EXPECT_EQ(TakeError(), C0_NULL_POINTER);
}

TEST_F(PostProcessingHost, RefusesAModuleThatLacksARequiredFunction) {
    Install("post_processing_no_process");
    tests::Trace trace;
    EXPECT_EQ(bv_pop_loadlibrary(), 0);
    EXPECT_THAT(trace.Lines(), Contains(HasSubstr("Not all functions found in KELMO library '")));
    ExpectNothingAvailable();
}

TEST_F(PostProcessingHost, OpenTellsTheSerialNumber) {
    auto& state = Load();
    EXPECT_EQ(bv_pop_open_camera(1), 1);
    EXPECT_THAT(state.opened, ElementsAre(1));
    EXPECT_THAT(state.common, IsEmpty());

    pg_cam_reads[1].cap_head_ser_num = 1;
    std::strcpy(pg_cam_reads[1].head_ser_num_alpha, "A23B-0042");
    EXPECT_EQ(bv_pop_open_camera(1), 1);
    ASSERT_EQ(state.common.size(), 1u);
    const auto& told = state.common[0];
    EXPECT_EQ(told.hcam, 1);
    EXPECT_EQ(told.name, "Serial Number");
    EXPECT_EQ(told.type, 3);
    EXPECT_STREQ(reinterpret_cast<const char*>(told.value.data()), "A23B-0042");

    state.refuse_common = true;
    EXPECT_EQ(bv_pop_open_camera(1), 0);
    EXPECT_EQ(TakeError(), C2_NOT_AVAILABLE);
}

TEST_F(PostProcessingHost, ResetGivesEverythingItsDefault) {
    auto& state = Load();
    cfg().callback_registered = 1;
    cfg().pp_initialized = 1;
    cfg().parameter_index = 1;
    cfg().last_frame_nr = 9;
    EXPECT_EQ(bv_pop_reset(0), 1);
    EXPECT_EQ(state.modules[0].parameters[0].current, 0);
    EXPECT_EQ(state.modules[0].parameters[1].current, 7);
    EXPECT_EQ(state.modules[1].parameters[0].current, 2);
    EXPECT_EQ(cfg().callback_registered, 0);
    EXPECT_EQ(cfg().pp_initialized, 0);
    EXPECT_EQ(cfg().parameter_index, 0u);
    EXPECT_EQ(cfg().last_frame_nr, 0u);
}

TEST_F(PostProcessingHost, ResetGoesOnBehindAFailure) {
    auto& state = Load();
    state.refuse_writes = true;
    EXPECT_EQ(bv_pop_reset(0), 0);
    EXPECT_EQ(TakeError(), C2_FAILED_TO_SET_VALUE);
    state.refuse_reads = true;
    EXPECT_EQ(bv_pop_reset(0), 0);
    EXPECT_EQ(TakeError(), C2_INDEX_OUT_OF_RANGE);
}

// A plug-in that tells -1 must not hold up every open.
TEST_F(PostProcessingHost, ResetStopsBehindWhatCanBeSelected) {
    auto& state = Load();
    state.beside = 0x2000000;
    EXPECT_EQ(bv_pop_reset(0), 1);
    EXPECT_EQ(state.counts_asked, 0x8000u);
}

}  // namespace
