#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <string>

#include "orvex/orvex_params.h"

#include "log/enum_texts.h"
#include "params/post_processing.h"
#include "plugins/post_processing_host.h"
#include "state/call.h"
#include "state/camera_rows.h"

// The plug-in's modules and their parameters as post-processing features, numbered behind the
// features of the camera.

using bv::arg;
using bv::Call;
using bv::LoadedPostProcessing;

namespace {

struct Answer {
    int64 number = 0;
    std::string text;
};

// An attribute getter of the plug-in. `answer` handles all attributes but type, access and
// availability, with the plug-in loaded.
struct Getter {
    const char* name;
    uns16 type;
    uns16 access;
    boolean16 (*answer)(Call& call, int16 hcam, orvex_attribute attribute, Answer& answer);
};

void Store(const Getter& getter, int16 attribute, const Answer& answer, void* param_value) {
    const auto store = [param_value](auto value) {
        std::memcpy(param_value, &value, sizeof(value));
    };
    if (attribute == ATTR_COUNT) {
        store(static_cast<uns32>(answer.number));
    } else if (getter.type == TYPE_CHAR_PTR) {
        std::memcpy(param_value, answer.text.c_str(), answer.text.size() + 1);
    } else if (getter.type == TYPE_INT16) {
        store(static_cast<int16>(answer.number));
    } else {
        store(static_cast<uns32>(answer.number));
    }
}

boolean16 Get(const Getter& getter, int16 hcam, int16 param_attribute, void* param_value) {
    Call call(getter.name, arg("hcam", hcam),
              bv::enumerated("param_attribute", param_attribute, bv_text_attribute),
              arg("param_value", param_value));
    const auto store_uns16 = [&](uns16 value) {
        std::memcpy(param_value, &value, sizeof(value));
        return call.ok(arg("*param_value", value));
    };
    if (param_attribute == ATTR_TYPE) return store_uns16(getter.type);
    if (param_attribute == ATTR_ACCESS) return store_uns16(getter.access);
    if (param_attribute == ATTR_AVAIL) return store_uns16(bv_pop_ismoduleavailable(hcam));
    Answer answer;
    if (!bv_pop_islibraryloaded()) {
        Store(getter, param_attribute, answer, param_value);
        return call.fail(C2_NOT_AVAILABLE, "Parameter not available");
    }
    if (param_attribute < ATTR_CURRENT || param_attribute > ATTR_AVAIL) {
        return call.fail(C2_NOT_AVAILABLE, "Unknown parameter attribute %d", param_attribute);
    }
    if (!getter.answer(call, hcam, static_cast<orvex_attribute>(param_attribute), answer)) {
        return call.failed();
    }
    Store(getter, param_attribute, answer, param_value);
    if (getter.type == TYPE_CHAR_PTR && param_attribute != ATTR_COUNT) {
        return call.ok(bv::quoted("param_value", answer.text.c_str()));
    }
    return call.ok(arg("*param_value", answer.number));
}

boolean16 UnknownAttribute(Call& call, orvex_attribute attribute) {
    return call.fail(C2_NOT_AVAILABLE, "Unknown parameter attribute %d",
                     static_cast<int>(attribute));
}

// Applications make room for 32 bytes, as names of a camera's own features need them.
constexpr size_t name_length_max = 31;

template <size_t Room>
std::string NameIn(const std::array<char, Room>& text) {
    const size_t length = strnlen(text.data(), Room);
    return std::string(text.data(), std::min(length, name_length_max));
}

// One parameter of the current module.
struct ModuleParameter {
    flt64 minimum = 0, maximum = 0, standard = 0, current = 0;
    std::string name;
};

boolean16 ReadModuleName(Call& call, int16 hcam, std::string& name) {
    std::array<char, ORVEX_PLUGIN_TEXT_ROOM> text{};
    if (!LoadedPostProcessing().get_module_info(hcam, bv::ConfigOf(hcam).module_index,
                                                ORVEX_PLUGIN_KEY_NAME, text.data())) {
        return call.fail(C2_NOT_AVAILABLE, "i_get_module_info function call failed");
    }
    name = NameIn(text);
    return bv::OZ_OK;
}

boolean16 ReadParameter(Call& call, int16 hcam, ModuleParameter& parameter) {
    std::array<char, ORVEX_PLUGIN_TEXT_ROOM> name{};
    const cam_cfg_type& cfg = bv::ConfigOf(hcam);
    if (!LoadedPostProcessing().get_module_parameter(
            hcam, cfg.module_index, cfg.parameter_index, &parameter.minimum, &parameter.maximum,
            &parameter.standard, &parameter.current, name.data())) {
        return call.fail(C2_NOT_AVAILABLE, "i_get_module_parameter function call failed");
    }
    parameter.name = NameIn(name);
    return bv::OZ_OK;
}

boolean16 ReadParameterName(Call& call, int16 hcam, std::string& name) {
    ModuleParameter parameter;
    if (!ReadParameter(call, hcam, parameter)) return bv::OZ_FAIL;
    name = std::move(parameter.name);
    return bv::OZ_OK;
}

// Toward zero; what doesn't fit 32 bits keeps its low 32, what is no number at all is 0.
int64 Truncated(flt64 value) {
    constexpr flt64 limit = 9.2e18;
    return value > -limit && value < limit ? static_cast<uns32>(static_cast<int64>(value)) : 0;
}

template <boolean16 (*Read)(Call&, int16, std::string&)>
boolean16 AnswerName(Call& call, int16 hcam, orvex_attribute attribute, Answer& answer) {
    // All but the current name and its length are the empty text.
    if (attribute != ATTR_CURRENT && attribute != ATTR_COUNT) return bv::OZ_OK;
    if (!Read(call, hcam, answer.text)) return bv::OZ_FAIL;
    answer.number = static_cast<int64>(answer.text.size()) + 1;
    return bv::OZ_OK;
}

// A choice among `count` items, numbered from 0.
boolean16 AnswerIndex(Call& call, orvex_attribute attribute, int64 current, int64 count,
                      Answer& answer) {
    switch (attribute) {
        case ATTR_CURRENT: answer.number = current; return bv::OZ_OK;
        case ATTR_COUNT: answer.number = count; return bv::OZ_OK;
        case ATTR_MAX: answer.number = count - 1; return bv::OZ_OK;
        case ATTR_MIN:
        case ATTR_DEFAULT: answer.number = 0; return bv::OZ_OK;
        case ATTR_INCREMENT: answer.number = 1; return bv::OZ_OK;
        case ATTR_TYPE:
        case ATTR_ACCESS:
        case ATTR_AVAIL: break;
    }
    return UnknownAttribute(call, attribute);
}

boolean16 AnswerModuleIndex(Call& call, int16 hcam, orvex_attribute attribute, Answer& answer) {
    const cam_cfg_type& cfg = bv::ConfigOf(hcam);
    return AnswerIndex(call, attribute, int64{cfg.module_index} + cfg.pp_entries,
                       int64{cfg.pp_entries} + cfg.module_count, answer);
}

boolean16 AnswerParameterIndex(Call& call, int16 hcam, orvex_attribute attribute, Answer& answer) {
    const cam_cfg_type& cfg = bv::ConfigOf(hcam);
    return AnswerIndex(call, attribute, cfg.parameter_index,
                       LoadedPostProcessing().get_module_parameter_count(hcam, cfg.module_index),
                       answer);
}

boolean16 AnswerParameter(Call& call, int16 hcam, orvex_attribute attribute, Answer& answer) {
    ModuleParameter parameter;
    flt64 ModuleParameter::* field = nullptr;
    switch (attribute) {
        case ATTR_CURRENT: field = &ModuleParameter::current; break;
        case ATTR_MIN: field = &ModuleParameter::minimum; break;
        case ATTR_MAX: field = &ModuleParameter::maximum; break;
        case ATTR_DEFAULT: field = &ModuleParameter::standard; break;
        case ATTR_COUNT:
        case ATTR_INCREMENT:
        case ATTR_TYPE:
        case ATTR_ACCESS:
        case ATTR_AVAIL: break;
    }
    if (!field) return UnknownAttribute(call, attribute);
    if (!ReadParameter(call, hcam, parameter)) return bv::OZ_FAIL;
    answer.number = Truncated(parameter.*field);
    return bv::OZ_OK;
}

constexpr Getter feature_name = {"bv_get_pop_feature_name", TYPE_CHAR_PTR, ACC_READ_ONLY,
                                 AnswerName<ReadModuleName>};
constexpr Getter parameter_name = {"bv_get_pop_parameter_name", TYPE_CHAR_PTR, ACC_READ_ONLY,
                                   AnswerName<ReadParameterName>};
constexpr Getter module_index_getter = {"bv_get_pop_module_index", TYPE_INT16, ACC_READ_WRITE,
                                        AnswerModuleIndex};
constexpr Getter parameter_index_getter = {"bv_get_pop_param_index", TYPE_INT16, ACC_READ_WRITE,
                                           AnswerParameterIndex};
constexpr Getter parameter_getter = {"bv_get_pop_param", TYPE_UNS32, ACC_READ_WRITE,
                                     AnswerParameter};

// Facts of a camera that the plug-in is told.
struct CommonParameter {
    const char* name;
    uns32 param_id;
    orvex_plugin_value_type type;
};
constexpr CommonParameter oneshot_parameters[] = {
    {"Serial Number", PARAM_HEAD_SER_NUM_ALPHA, PLUGIN_VALUE_TEXT},
};
constexpr CommonParameter periodic_parameters[] = {
    {"Current Speed Index", PARAM_SPDTAB_INDEX, PLUGIN_VALUE_INTEGER},
    {"Current Gain Index", PARAM_GAIN_INDEX, PLUGIN_VALUE_INTEGER},
    {"Current Bit Depth", PARAM_BIT_DEPTH, PLUGIN_VALUE_INTEGER},
    {"Current ADC Offset", PARAM_ADC_OFFSET, PLUGIN_VALUE_INTEGER},
};

// One fact; what the camera doesn't have is passed over with success.
boolean16 TellCommonParameter(Call& call, int16 hcam, const CommonParameter& parameter) {
    uns16 available = 0;
    if (!bv_get_param(hcam, parameter.param_id, ATTR_AVAIL, &available)) return bv::OZ_FAIL;
    if (!available) return bv::OZ_OK;

    orvex_plugin_name name{};
    std::memcpy(name.text, parameter.name, std::strlen(parameter.name));
    orvex_plugin_value value{};
    if (parameter.type == PLUGIN_VALUE_TEXT) {
        if (!bv_get_param(hcam, parameter.param_id, ATTR_CURRENT, value.bytes)) return bv::OZ_FAIL;
    } else {
        int16 current = 0;
        if (!bv_get_param(hcam, parameter.param_id, ATTR_CURRENT, &current)) return bv::OZ_FAIL;
        const int32 integer = current;
        std::memcpy(value.bytes, &integer, sizeof(integer));
    }
    if (!LoadedPostProcessing().set_common_parameter(hcam, name, parameter.type, value)) {
        return call.fail(C2_NOT_AVAILABLE, "i_set_common_parameter function call failed");
    }
    return bv::OZ_OK;
}

boolean16 TellCommonParameters(Call& call, int16 hcam,
                               std::span<const CommonParameter> parameters) {
    if (!LoadedPostProcessing().set_common_parameter) {
        return call.fail(C0_NULL_POINTER, "i_set_common_parameter function pointer is NULL");
    }
    for (const CommonParameter& parameter : parameters) {
        if (!TellCommonParameter(call, hcam, parameter)) return call.failed();
    }
    return call.ok();
}

}  // namespace

boolean16 bv_pp_initialize_counts(int16 hcam) {
    Call call("bv_pp_initialize_counts", arg("hcam", hcam));
    cam_cfg_type& cfg = bv::ConfigOf(hcam);
    if (cfg.pp_initialized) return call.ok();
    if (bv::ReadsOf(hcam).cap_pp) {
        const bv::ErrorHold hold;
        uns16 entries = 0;
        if (!bv_cam_pp_get_entries(hcam, &entries)) {
            // A list that was found empty still leaves the features of the plug-in.
            if (cfg.pp_entries == pp_entries_not_counted) return call.failed();
            bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
        }
        cfg.pp_use_plugin = 0;
    } else {
        cfg.pp_entries = 0;
        cfg.pp_use_plugin = 1;
    }
    if (bv_pop_ismoduleavailable(hcam)) {
        cfg.module_count = LoadedPostProcessing().get_module_count(hcam);
        if (cfg.pp_entries == 0) cfg.pp_use_plugin = 1;
    }
    cfg.pop_feature_count = static_cast<uns16>(cfg.module_count);
    cfg.pp_initialized = 1;
    return call.ok();
}

boolean16 bv_get_pop_feature_name(int16 hcam, int16 param_attribute, void* param_value) {
    return Get(feature_name, hcam, param_attribute, param_value);
}

boolean16 bv_get_pop_parameter_name(int16 hcam, int16 param_attribute, void* param_value) {
    return Get(parameter_name, hcam, param_attribute, param_value);
}

boolean16 bv_get_pop_module_index(int16 hcam, int16 param_attribute, void* param_value) {
    return Get(module_index_getter, hcam, param_attribute, param_value);
}

boolean16 bv_get_pop_param_index(int16 hcam, int16 param_attribute, void* param_value) {
    return Get(parameter_index_getter, hcam, param_attribute, param_value);
}

boolean16 bv_get_pop_param(int16 hcam, int16 param_attribute, void* param_value) {
    return Get(parameter_getter, hcam, param_attribute, param_value);
}

boolean16 bv_set_pop_module_index(int16 hcam, int16 module_index) {
    Call call("bv_set_pop_module_index", arg("hcam", hcam), arg("module_index", module_index));
    cam_cfg_type& cfg = bv::ConfigOf(hcam);
    if (!bv_pop_ismoduleavailable(hcam) ||
        int64{module_index} - cfg.pp_entries >= LoadedPostProcessing().get_module_count(hcam)) {
        return call.fail(C2_NOT_AVAILABLE, "Parameter not available");
    }
    cfg.module_index = static_cast<uns32>(module_index - cfg.pp_entries);
    return call.ok();
}

boolean16 bv_set_pop_param_index(int16 hcam, int16 parameter_index) {
    Call call("bv_set_pop_param_index", arg("hcam", hcam), arg("parameter_index", parameter_index));
    if (!bv_pop_ismoduleavailable(hcam)) {
        return call.fail(C2_NOT_AVAILABLE, "Parameter not available");
    }
    bv::ConfigOf(hcam).parameter_index = static_cast<uns32>(parameter_index);
    return call.ok();
}

boolean16 bv_set_pop_param(int16 hcam, uns32 param) {
    Call call("bv_set_pop_param", arg("hcam", hcam), arg("param", param));
    if (!bv_pop_ismoduleavailable(hcam)) {
        return call.fail(C2_NOT_AVAILABLE, "Parameter not available");
    }
    const cam_cfg_type& cfg = bv::ConfigOf(hcam);
    const flt64 value = param;
    return call.result(LoadedPostProcessing().set_module_parameter(hcam, cfg.module_index,
                                                                   cfg.parameter_index, &value) == 1
                           ? bv::OZ_OK
                           : bv::OZ_FAIL);
}

boolean16 bv_pop_oneshot_parameters(int16 hcam) {
    Call call("bv_pop_oneshot_parameters", arg("hcam", hcam));
    if (!bv_pop_islibraryloaded()) return call.ok();
    return TellCommonParameters(call, hcam, oneshot_parameters);
}

boolean16 bv_pop_periodic_parameters(int16 hcam) {
    Call call("bv_pop_periodic_parameters", arg("hcam", hcam));
    if (!bv_pop_ismoduleavailable(hcam)) return call.ok();
    return TellCommonParameters(call, hcam, periodic_parameters);
}
