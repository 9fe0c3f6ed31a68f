#include "device/command_io.h"
#include "messages/host_command_message.h"
#include "params/accessors.h"
#include "params/parameter.h"
#include "params/post_processing.h"
#include "platform/system.h"
#include "state/camera_rows.h"

using bv::arg;
using bv::Call;
using bv::HostCommandMessage;

namespace {

// Indices are 16-bit signed at the interface, which bounds a camera that accepts any.
constexpr uns16 index_end = 32767;

constexpr uns32 reset_ms = 10;

void ClearError() {
    bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
}

enum class Selection { taken, refused, failed };

// Selects an entry and keeps what the camera has selected in the end.
Selection Select(const char* function, const char* word, int16 hcam, orvex_host_command write,
                 orvex_host_command read, uns16 cam_cfg_type::* kept, uns16 index) {
    Call call(function, arg("hcam", hcam), arg(word, index));
    HostCommandMessage message(hcam);
    message.AddWriteAndReadBack(write, index, read);
    if (!message.Execute()) {
        call.failed();
        return Selection::failed;
    }
    const uns16 actual = message.Reply<uns16>(read);
    bv::ConfigOf(hcam).*kept = actual;
    if (actual != index) {
        call.fail(C2_FAILED_TO_SET_VALUE, "Value read back from camera differs: %d", actual);
        return Selection::refused;
    }
    call.ok();
    return Selection::taken;
}

Selection SelectFeature(int16 hcam, uns16 index) {
    // Which parameter a camera selects along with a feature is its own choice.
    bv::ConfigOf(hcam).pp_param_index = pp_param_index_unknown;
    return Select("bv_set_cam_pp_index", "pp_index", hcam, SET_PP_FEATURE_IDX, GET_PP_FEATURE_IDX,
                  &cam_cfg_type::pp_index, index);
}

Selection SelectParameter(int16 hcam, uns16 index) {
    return Select("bv_set_cam_pp_param_index", "param_index", hcam, SET_PP_PARAM_IDX,
                  GET_PP_PARAM_IDX, &cam_cfg_type::pp_param_index, index);
}

using Selector = Selection (*)(int16 hcam, uns16 index);

// Selects one entry after the other until the camera refuses, and calls the visitor in between.
// The refusal that ends the list is no error; false when an exchange failed or the visitor
// objected, which says nothing of the list's length.
template <class Visitor>
bool Probe(int16 hcam, Selector select, uns16& count, Visitor&& visit) {
    const bv::ErrorHold hold;
    for (count = 0; count < index_end; ++count) {
        const Selection selection = select(hcam, count);
        if (selection == Selection::failed) return false;
        if (selection == Selection::refused) break;
        if (!visit()) return false;
    }
    ClearError();
    return true;
}

// Selects again what was selected ahead of a probing. A camera may not take it back, as where
// nothing was selected, which leaves the result and the error of the probing as they are.
void Restore(int16 hcam, Selector select, uns16 index) {
    const bv::ErrorHold hold;
    const int16 code = bv::ApiGlobal::GetErrorCode();
    if (select(hcam, index) == Selection::taken) return;
    ClearError();
    if (code) bv::ApiGlobal::SetErrorCode(EXT_OPEN_EXCLUSIVE, code);
}

bool Count(int16 hcam, Selector select, uns16 selected, uns16& count) {
    const bool complete = Probe(hcam, select, count, [] { return true; });
    Restore(hcam, select, selected);
    return complete;
}

boolean16 AskParameterIndex(int16 hcam, uns16* param_index) {
    if (!bv_get_cam_pp_param_idx_current(hcam, param_index)) return bv::OZ_FAIL;
    bv::ConfigOf(hcam).pp_param_index = *param_index;
    return bv::OZ_OK;
}

// The cache is addressed by the selected parameter.
bool KnowParameterIndex(int16 hcam) {
    uns16 param_index = bv::ConfigOf(hcam).pp_param_index;
    return param_index != pp_param_index_unknown || bv::CacheOf(hcam).pp_param_cache.empty() ||
           AskParameterIndex(hcam, &param_index);
}

// The selected parameter has this value; one that was never cached is left out.
void CacheValue(int16 hcam, uns32 value) {
    const cam_cfg_type& config = bv::ConfigOf(hcam);
    for (auto& [id, cached] : bv::CacheOf(hcam).pp_param_cache) {
        if (cached.feature_index == config.pp_index &&
            cached.param_index == config.pp_param_index) {
            cached.value = value;
        }
    }
}

// Everything of the selected parameter.
bool CacheParameter(int16 hcam) {
    uns32 id = 0;
    uns32 value = 0;
    char name[32] = {};
    if (!bv_get_cam_pp_param_id_current(hcam, &id) || !bv_get_cam_pp_param_name(hcam, name) ||
        !bv_get_cam_pp_param_current(hcam, &value)) {
        return false;
    }
    const cam_cfg_type& config = bv::ConfigOf(hcam);
    bv::CacheOf(hcam).pp_param_cache[static_cast<int32>(id)] = {
        .name = name,
        .feature_index = config.pp_index,
        .param_index = config.pp_param_index,
        .value = value};
    return true;
}

bool CacheFeature(int16 hcam) {
    char name[32] = {};
    uns16 count = 0;
    return bv_get_cam_pp_feat_name(hcam, name) &&
           Probe(hcam, SelectParameter, count, [hcam] { return CacheParameter(hcam); });
}

}  // namespace

boolean16 bv_set_cam_pp_index(int16 hcam, uns16 pp_index) {
    return SelectFeature(hcam, pp_index) == Selection::taken;
}

boolean16 bv_set_cam_pp_param_index(int16 hcam, uns16 param_index) {
    return SelectParameter(hcam, param_index) == Selection::taken;
}

boolean16 bv_get_cam_pp_param_current(int16 hcam, uns32* param) {
    Call call("bv_get_cam_pp_param_current", arg("hcam", hcam), arg("param", param));
    if (!KnowParameterIndex(hcam)) return call.failed();
    bv::SingleReadHostCommandMessage message(hcam, GET_PP_PARAM);
    if (!message.Execute()) return call.failed();
    *param = message.Reply<uns32>(GET_PP_PARAM);
    CacheValue(hcam, *param);
    return call.ok(arg("*param", *param));
}

boolean16 bv_set_cam_pp_param(int16 hcam, uns32 param) {
    Call call("bv_set_cam_pp_param", arg("hcam", hcam), arg("param", param));
    if (!KnowParameterIndex(hcam)) return call.failed();
    HostCommandMessage message(hcam);
    message.AddWriteAndReadBack(SET_PP_PARAM, param, GET_PP_PARAM);
    if (!message.Execute()) return call.failed();
    const uns32 actual = message.Reply<uns32>(GET_PP_PARAM);
    CacheValue(hcam, actual);
    if (actual != param) {
        return call.fail(C2_FAILED_TO_SET_VALUE, "Value read back from camera differs: %u", actual);
    }
    return call.ok();
}

boolean16 bv_cam_pp_reset(int16 hcam) {
    Call call("bv_cam_pp_reset", arg("hcam", hcam));
    HostCommandMessage message(hcam);
    message.AddCommand(RESET_PP);
    message.AddReadLength();
    if (!message.Execute()) return call.failed();
    // The firmware loads its defaults and answers nothing meanwhile.
    platform::SleepMs(reset_ms);
    return call.ok();
}

boolean16 bv_cam_pp_get_entries(int16 hcam, uns16* entries) {
    Call call("bv_cam_pp_get_entries", arg("hcam", hcam), arg("entries", entries));
    cam_cfg_type& config = bv::ConfigOf(hcam);
    if (config.pp_entries == pp_entries_not_counted) {
        uns16 selected = 0;
        if (!bv_cam_pp_get_num(hcam, &selected)) return call.failed();
        uns16 count = 0;
        if (!Count(hcam, SelectFeature, selected, count)) return call.failed();
        config.pp_entries = count;
    }
    if (config.pp_entries < 1) {
        return call.fail(C2_NOT_AVAILABLE, "No Post-Processing features available");
    }
    *entries = config.pp_entries;
    return call.ok(arg("*entries", *entries));
}

boolean16 bv_get_cam_pp_idx_entries(int16 hcam, uns16* entries) {
    Call call("bv_get_cam_pp_idx_entries", arg("hcam", hcam), arg("entries", entries));
    uns16 selected = 0;
    if (!bv_get_cam_pp_param_idx_current(hcam, &selected)) return call.failed();
    uns16 count = 0;
    if (!Count(hcam, SelectParameter, selected, count)) return call.failed();
    if (count < 1) {
        return call.fail(C2_NOT_AVAILABLE,
                         "No Post-Processing parameter available for current feature");
    }
    *entries = count;
    return call.ok(arg("*entries", *entries));
}

boolean16 bv_cam_pp_cache_all_entries(int16 hcam) {
    Call call("bv_cam_pp_cache_all_entries", arg("hcam", hcam));
    if (!bv::row<cam_reads_type>(hcam).cap_pp) {
        call.warn("PP caching disabled: Camera does not support PP.");
        return call.ok();
    }
    bv::CacheOf(hcam).pp_param_cache.clear();
    uns16 selected = 0;
    if (!bv_cam_pp_get_num(hcam, &selected)) return call.failed();
    uns16 count = 0;
    const bool complete = Probe(hcam, SelectFeature, count, [hcam] { return CacheFeature(hcam); });
    Restore(hcam, SelectFeature, selected);
    if (complete && count < 1) {
        return call.fail(C2_NOT_AVAILABLE, "No Post-Processing features available");
    }
    return call.result(complete);
}

namespace bv {

namespace {

// The camera's half of the combined list. These rows are in no catalogue: an application reaches
// them through the choosers.
boolean16 FeatureCount(Call&, int16 hcam, Value& value) {
    uns16 entries = 0;
    if (!bv_cam_pp_get_entries(hcam, &entries)) return OZ_FAIL;
    value = entries + ConfigOf(hcam).pop_feature_count;
    return OZ_OK;
}

boolean16 ParameterCount(Call&, int16 hcam, Value& value) {
    uns16 entries = 0;
    if (!bv_get_cam_pp_idx_entries(hcam, &entries)) return OZ_FAIL;
    value = entries;
    return OZ_OK;
}

template <Source Count>
boolean16 last_index(Call& call, int16 hcam, Value& value) {
    if (!Count(call, hcam, value)) return OZ_FAIL;
    value = value.integer - 1;
    return OZ_OK;
}

template <auto Read>
boolean16 name_of(int16 hcam, Text& text) {
    char name[32] = {};
    if (!Read(hcam, name)) return OZ_FAIL;
    text.own = name;
    text.text = text.own.c_str();
    return OZ_OK;
}

constexpr Answer has_pp = field<&cam_reads_type::cap_pp>;

constexpr Parameter feature_index{.id = PARAM_PP_INDEX,
                                  .getter = "bv_get_cam_pp_index",
                                  .access = ACC_READ_WRITE,
                                  .available = has_pp,
                                  .shape = Shape::range,
                                  .current = asked<bv_cam_pp_get_num>,
                                  .count = FeatureCount,
                                  .min = 0,
                                  .max = last_index<FeatureCount>};
constexpr Parameter parameter_index{.id = PARAM_PP_PARAM_INDEX,
                                    .getter = "bv_get_cam_pp_param_idx",
                                    .access = ACC_READ_WRITE,
                                    .available = has_pp,
                                    .shape = Shape::range,
                                    .current = asked<AskParameterIndex>,
                                    .count = ParameterCount,
                                    .min = 0,
                                    .max = last_index<ParameterCount>};
constexpr Parameter feature_id{.id = PARAM_PP_FEAT_ID,
                               .getter = "bv_get_cam_pp_feat_id",
                               .type = TYPE_UNS32,
                               .available = has_pp,
                               .shape = Shape::range,
                               .current = asked<bv_get_cam_pp_feat_id_current>};
constexpr Parameter parameter_id{.id = PARAM_PP_PARAM_ID,
                                 .getter = "bv_get_cam_pp_param_id",
                                 .type = TYPE_UNS32,
                                 .available = has_pp,
                                 .shape = Shape::range,
                                 .current = asked<bv_get_cam_pp_param_id_current>};
constexpr Parameter feature_name{.id = PARAM_PP_FEAT_NAME,
                                 .getter = "bv_get_cam_pp_feature_name",
                                 .available = has_pp,
                                 .shape = Shape::text,
                                 .text = name_of<bv_get_cam_pp_feat_name>};
constexpr Parameter parameter_name{.id = PARAM_PP_PARAM_NAME,
                                   .getter = "bv_get_cam_pp_parameter_name",
                                   .available = has_pp,
                                   .shape = Shape::text,
                                   .text = name_of<bv_get_cam_pp_param_name>};
// The camera tells the bounds but no step, so that count and increment have no answer.
constexpr Parameter parameter_value{.id = PARAM_PP_PARAM,
                                    .getter = "bv_get_cam_pp_param",
                                    .access = ACC_READ_WRITE,
                                    .available = has_pp,
                                    .shape = Shape::bare,
                                    .current = asked<bv_get_cam_pp_param_current>,
                                    .min = asked<bv_get_cam_pp_param_min>,
                                    .max = asked<bv_get_cam_pp_param_max>,
                                    .standard = asked<bv_get_cam_pp_param_default>};

}  // namespace

}  // namespace bv

boolean16 bv_get_cam_pp_index(int16 hcam, int16 param_attribute, void* param_value) {
    return bv::AnswerAttribute(bv::feature_index, hcam, param_attribute, param_value);
}

boolean16 bv_get_cam_pp_param_idx(int16 hcam, int16 param_attribute, void* param_value) {
    return bv::AnswerAttribute(bv::parameter_index, hcam, param_attribute, param_value);
}

boolean16 bv_get_cam_pp_feature_name(int16 hcam, int16 param_attribute, void* param_value) {
    return bv::AnswerAttribute(bv::feature_name, hcam, param_attribute, param_value);
}

boolean16 bv_get_cam_pp_parameter_name(int16 hcam, int16 param_attribute, void* param_value) {
    return bv::AnswerAttribute(bv::parameter_name, hcam, param_attribute, param_value);
}

boolean16 bv_get_cam_pp_param(int16 hcam, int16 param_attribute, void* param_value) {
    return bv::AnswerAttribute(bv::parameter_value, hcam, param_attribute, param_value);
}

boolean16 bv_get_cam_pp_feat_id(int16 hcam, int16 param_attribute, void* param_value) {
    return bv::AnswerAttribute(bv::feature_id, hcam, param_attribute, param_value);
}

boolean16 bv_get_cam_pp_param_id(int16 hcam, int16 param_attribute, void* param_value) {
    return bv::AnswerAttribute(bv::parameter_id, hcam, param_attribute, param_value);
}
