#include <algorithm>
#include <cstring>
#include <gmock/gmock.h>

#include "unit/log/collected_log.h"
#include "unit/plugins/installed_post_processing.h"

using tests::PostProcessing;

namespace {

using AttributeGetter = boolean16 (*)(int16, int16, void*);

constexpr AttributeGetter getters[] = {bv_get_pop_feature_name, bv_get_pop_parameter_name,
                                       bv_get_pop_module_index, bv_get_pop_param_index,
                                       bv_get_pop_param};

class PostProcessingParameters : public PostProcessing {
  protected:
    template <class T>
    static T Get(AttributeGetter getter, int16 attribute) {
        // What is behind the value stays untouched.
        struct {
            T value;
            uns8 behind;
        } answer{static_cast<T>(0x5A), 0x5A};
        EXPECT_EQ(getter(0, attribute, &answer.value), 1) << "attribute " << attribute;
        EXPECT_EQ(answer.behind, 0x5A);
        return answer.value;
    }

    static std::string Text(AttributeGetter getter, int16 attribute) {
        char text[256] = "untouched";
        EXPECT_EQ(getter(0, attribute, text), 1) << "attribute " << attribute;
        return text;
    }

    static void ExpectUnavailable(AttributeGetter getter, int16 attribute) {
        uns64 value = 0;
        EXPECT_EQ(getter(0, attribute, &value), 0) << "attribute " << attribute;
        EXPECT_EQ(TakeError(), C2_NOT_AVAILABLE);
    }
};

TEST_F(PostProcessingParameters, AnswerTheirNatureWithoutPlugin) {
    constexpr uns16 types[] = {TYPE_CHAR_PTR, TYPE_CHAR_PTR, TYPE_INT16, TYPE_INT16, TYPE_UNS32};
    constexpr uns16 accesses[] = {1, 1, 2, 2, 2};
    for (size_t i = 0; i < std::size(getters); ++i) {
        EXPECT_EQ(Get<uns16>(getters[i], ATTR_TYPE), types[i]);
        EXPECT_EQ(Get<uns16>(getters[i], ATTR_ACCESS), accesses[i]);
        EXPECT_EQ(Get<uns16>(getters[i], ATTR_AVAIL), 0);
    }
}

TEST_F(PostProcessingParameters, AnswerNothingElseWithoutPlugin) {
    for (const AttributeGetter getter : getters) {
        for (const int16 attribute : std::initializer_list<int16>{
                 ATTR_CURRENT, ATTR_COUNT, ATTR_MIN, ATTR_MAX, ATTR_DEFAULT, ATTR_INCREMENT, 300}) {
            uns8 value[8];
            std::memset(value, 0x5A, sizeof(value));
            EXPECT_EQ(getter(0, attribute, value), 0);
            EXPECT_EQ(TakeError(), C2_NOT_AVAILABLE);
            EXPECT_EQ(value[0], 0);
            EXPECT_EQ(value[7], 0x5A);
        }
    }
    EXPECT_EQ(bv_set_pop_param(0, 1), 0);
    EXPECT_EQ(TakeError(), C2_NOT_AVAILABLE);
    EXPECT_EQ(bv_set_pop_module_index(0, 1), 0);
    EXPECT_EQ(TakeError(), C2_NOT_AVAILABLE);
    EXPECT_EQ(bv_set_pop_param_index(0, 1), 0);
    EXPECT_EQ(TakeError(), C2_NOT_AVAILABLE);
}

TEST_F(PostProcessingParameters, RefuseUnknownAttributes) {
    Load();
    for (const AttributeGetter getter : getters) {
        for (int16 attribute : {int16{-1}, int16{9}, int16{300}}) {
            tests::Trace trace;
            ExpectUnavailable(getter, attribute);
            EXPECT_THAT(trace.Lines(),
                        testing::Contains(testing::EndsWith("Unknown parameter attribute " +
                                                            std::to_string(attribute))));
        }
    }
    ExpectUnavailable(bv_get_pop_param, ATTR_COUNT);
    ExpectUnavailable(bv_get_pop_param, ATTR_INCREMENT);
}

TEST_F(PostProcessingParameters, LongNamesFitTheRoomOfApplications) {
    auto& module = Load().modules[0];
    const std::string shown(31, 'm');
    module.name = module.parameters[0].name = std::string(200, 'm');
    for (const AttributeGetter getter : {bv_get_pop_feature_name, bv_get_pop_parameter_name}) {
        EXPECT_EQ(Text(getter, ATTR_CURRENT), shown);
        EXPECT_EQ(Get<uns32>(getter, ATTR_COUNT), 32u);
    }
}

TEST_F(PostProcessingParameters, NamesAreThoseOfTheSelection) {
    Load();
    EXPECT_EQ(Text(bv_get_pop_feature_name, ATTR_CURRENT), "Despeckle");
    EXPECT_EQ(Get<uns32>(bv_get_pop_feature_name, ATTR_COUNT), 10u);
    EXPECT_EQ(Text(bv_get_pop_parameter_name, ATTR_CURRENT), "ENABLED");
    cfg().module_index = 1;
    EXPECT_EQ(Text(bv_get_pop_feature_name, ATTR_CURRENT), "Denoise");
    EXPECT_EQ(Text(bv_get_pop_parameter_name, ATTR_CURRENT), "Radius");
    EXPECT_EQ(Get<uns32>(bv_get_pop_parameter_name, ATTR_COUNT), 7u);
    for (int16 attribute : {ATTR_MIN, ATTR_MAX, ATTR_DEFAULT, ATTR_INCREMENT}) {
        EXPECT_EQ(Text(bv_get_pop_feature_name, attribute), "");
        EXPECT_EQ(Text(bv_get_pop_parameter_name, attribute), "");
    }
    EXPECT_EQ(Get<uns16>(bv_get_pop_parameter_name, ATTR_AVAIL), 1);

    tests::Trace trace;
    cfg().module_index = 2;
    ExpectUnavailable(bv_get_pop_feature_name, ATTR_CURRENT);
    ExpectUnavailable(bv_get_pop_parameter_name, ATTR_COUNT);
    EXPECT_THAT(trace.Lines(),
                testing::IsSupersetOf(
                    {"E   bv_get_pop_feature_name: i_get_module_info function call failed",
                     "E   bv_get_pop_parameter_name: i_get_module_parameter function call "
                     "failed"}));
}

TEST_F(PostProcessingParameters, ModulesAreNumberedBehindTheCamerasFeatures) {
    Load();
    pg_cam_reads[0].cap_pp = 1;
    cfg().pp_entries = 3;
    EXPECT_EQ(bv_pp_initialize_counts(0), 1);
    EXPECT_EQ(cfg().pop_feature_count, 2);
    EXPECT_EQ(Get<uns32>(bv_get_pop_module_index, ATTR_COUNT), 5u);
    EXPECT_EQ(Get<int16>(bv_get_pop_module_index, ATTR_MIN), 0);
    EXPECT_EQ(Get<int16>(bv_get_pop_module_index, ATTR_MAX), 4);
    EXPECT_EQ(Get<int16>(bv_get_pop_module_index, ATTR_DEFAULT), 0);
    EXPECT_EQ(Get<int16>(bv_get_pop_module_index, ATTR_INCREMENT), 1);
    EXPECT_EQ(bv_set_pop_module_index(0, 3), 1);
    EXPECT_EQ(cfg().module_index, 0u);
    EXPECT_EQ(bv_set_pop_module_index(0, 4), 1);
    EXPECT_EQ(cfg().module_index, 1u);
    EXPECT_EQ(Get<int16>(bv_get_pop_module_index, ATTR_CURRENT), 4);
    EXPECT_EQ(bv_set_pop_module_index(0, 5), 0);
    EXPECT_EQ(TakeError(), C2_NOT_AVAILABLE);
    EXPECT_EQ(cfg().module_index, 1u);
}

TEST_F(PostProcessingParameters, ValuesAreTruncated) {
    auto& state = Load();
    bv_set_pop_param_index(0, 1);
    EXPECT_EQ(Get<uns32>(bv_get_pop_param, ATTR_CURRENT), 3000000000u);
    EXPECT_EQ(Get<uns32>(bv_get_pop_param, ATTR_MIN), 2u);
    EXPECT_EQ(Get<uns32>(bv_get_pop_param, ATTR_MAX), 4000000000u);
    EXPECT_EQ(Get<uns32>(bv_get_pop_param, ATTR_DEFAULT), 7u);
    EXPECT_EQ(bv_set_pop_param(0, 4000000001u), 1);
    EXPECT_EQ(state.modules[0].parameters[1].current, 4000000001.0);
    state.refuse_writes = true;
    EXPECT_EQ(bv_set_pop_param(0, 1), 0);
    EXPECT_EQ(state.modules[0].parameters[1].current, 4000000001.0);

    auto& parameter = state.modules[0].parameters[1];
    parameter.minimum = -3.5;
    parameter.maximum = 1e300;
    parameter.standard = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(Get<uns32>(bv_get_pop_param, ATTR_MIN), 0xFFFFFFFDu);
    EXPECT_EQ(Get<uns32>(bv_get_pop_param, ATTR_MAX), 0u);
    EXPECT_EQ(Get<uns32>(bv_get_pop_param, ATTR_DEFAULT), 0u);
}

struct CountsCase {
    uns16 cap_pp;
    uns16 camera_features;
    bool plugin;
    uns16 entries, use_plugin;
    uns32 modules;
};

class PostProcessingCounts : public PostProcessing,
                             public testing::WithParamInterface<CountsCase> {};

TEST_P(PostProcessingCounts, ChooseWhoAnswers) {
    const CountsCase& c = GetParam();
    if (c.plugin) Load();
    pg_cam_reads[0].cap_pp = c.cap_pp;
    cfg().pp_entries = c.camera_features;
    EXPECT_EQ(bv_pp_initialize_counts(0), 1);
    EXPECT_FALSE(bv::ApiGlobal::IsErrorCodeSet());
    EXPECT_EQ(cfg().pp_entries, c.entries);
    EXPECT_EQ(cfg().pp_use_plugin, c.use_plugin);
    EXPECT_EQ(cfg().module_count, c.modules);

    // Once only: a selection made since then stays.
    cfg().pp_use_plugin = 7;
    EXPECT_EQ(bv_pp_initialize_counts(0), 1);
    EXPECT_EQ(cfg().pp_use_plugin, 7);
}

INSTANTIATE_TEST_SUITE_P(
    All, PostProcessingCounts,
    testing::Values(CountsCase{0, 65535, false, 0, 1, 0}, CountsCase{0, 65535, true, 0, 1, 2},
                    CountsCase{1, 3, false, 3, 0, 0}, CountsCase{1, 3, true, 3, 0, 2},
                    CountsCase{1, 0, false, 0, 0, 0}, CountsCase{1, 0, true, 0, 1, 2}));

}  // namespace
