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

TEST_F(PostProcessingParameters, RefuseUnknownAttributes) {
    // Without a plug-in every value is 0 first.
    for (const AttributeGetter getter : getters) {
        uns8 value[8] = {0x5A};
        EXPECT_EQ(getter(0, 9, value), 0);
        EXPECT_EQ(TakeError(), C2_NOT_AVAILABLE);
        EXPECT_EQ(value[0], 0);
    }
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

TEST_F(PostProcessingParameters, IndexBeyondTheModulesIsRefused) {
    Load();
    EXPECT_EQ(bv_pp_initialize_counts(0), 1);
    EXPECT_EQ(bv_set_pop_module_index(0, 1), 1);
    EXPECT_EQ(bv_set_pop_module_index(0, 2), 0);
    EXPECT_EQ(TakeError(), C2_NOT_AVAILABLE);
    EXPECT_EQ(cfg().module_index, 1u);
}

// The plug-in answers for a camera that could have features and has none.
TEST_F(PostProcessingParameters, SideInUseIsChosenOnce) {
    for (const bool plugin : {false, true}) {
        if (plugin) Load();
        pg_cam_reads[0].cap_pp = 1;
        cfg().pp_entries = 0;
        cfg().pp_initialized = 0;
        EXPECT_EQ(bv_pp_initialize_counts(0), 1);
        EXPECT_EQ(cfg().pp_use_plugin, plugin);
        // A selection made since then stays.
        cfg().pp_use_plugin = 7;
        EXPECT_EQ(bv_pp_initialize_counts(0), 1);
        EXPECT_EQ(cfg().pp_use_plugin, 7);
    }
}

}  // namespace
