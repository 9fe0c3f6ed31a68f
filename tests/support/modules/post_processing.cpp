#include <cstring>

#include "support/modules/post_processing_module.h"

#define POST_PROCESSING_EXPORT extern "C" __attribute__((visibility("default"), used))

namespace {

using namespace post_processing_module;

// By value, on the stack.
struct NameBlock {
    char text[256];
};
struct ValueBlock {
    uint8_t bytes[256];
};

State& state() {
    static State the_state;
    return the_state;
}

Parameter* Find(uint32_t module, uint32_t parameter) {
    auto& modules = state().modules;
    if (module >= modules.size() || parameter >= modules[module].parameters.size()) return nullptr;
    return &modules[module].parameters[parameter];
}

// Results are wider than what the contract reads, with dirt above.
constexpr int32_t dirty_success = 0x7FFF0001;
constexpr int32_t dirty_failure = 0x7FFF0000;

}  // namespace

POST_PROCESSING_EXPORT State* module_state_of_test() {
    return &state();
}

POST_PROCESSING_EXPORT void dll_open_camera(int16_t hcam) {
    state().opened.push_back(hcam);
}

#ifndef POST_PROCESSING_NO_PROCESS
POST_PROCESSING_EXPORT int32_t dll_process(int16_t, void*, void*, uint32_t, uint32_t, int32_t,
                                           int32_t) {
    return dirty_success;
}
#endif

POST_PROCESSING_EXPORT uint32_t dll_get_module_count(int16_t) {
    return static_cast<uint32_t>(state().modules.size()) + state().beside;
}

POST_PROCESSING_EXPORT int32_t dll_get_module_info(int16_t, uint32_t module, const char* key,
                                                   char* text) {
    if (module >= state().modules.size() || std::strcmp(key, "name") != 0) return dirty_failure;
    std::strcpy(text, state().modules[module].name.c_str());
    return dirty_success;
}

POST_PROCESSING_EXPORT uint32_t dll_get_module_parameter_count(int16_t, uint32_t module) {
    ++state().counts_asked;
    return module < state().modules.size()
               ? static_cast<uint32_t>(state().modules[module].parameters.size())
               : 0;
}

POST_PROCESSING_EXPORT int32_t dll_get_module_parameter(int16_t, uint32_t module,
                                                        uint32_t parameter, double* minimum,
                                                        double* maximum, double* standard,
                                                        double* current, char* name) {
    const Parameter* found = Find(module, parameter);
    if (!found || state().refuse_reads) return dirty_failure;
    *minimum = found->minimum;
    *maximum = found->maximum;
    *standard = found->standard;
    *current = found->current;
    std::strcpy(name, found->name.c_str());
    return dirty_success;
}

POST_PROCESSING_EXPORT int32_t dll_set_module_parameter(int16_t, uint32_t module,
                                                        uint32_t parameter, const double* value) {
    Parameter* found = Find(module, parameter);
    if (!found || state().refuse_writes) return dirty_failure;
    found->current = *value;
    return dirty_success;
}

#ifndef POST_PROCESSING_NO_COMMON_PARAMETER
POST_PROCESSING_EXPORT int32_t dll_set_common_parameter(int16_t hcam, NameBlock name, int32_t type,
                                                        ValueBlock value) {
    // All that follows the text has to be zero.
    const std::string text = name.text;
    for (size_t i = text.size(); i < sizeof(name.text); ++i) {
        if (name.text[i] != 0) return dirty_failure;
    }
    Common common{hcam, text, type, {}};
    std::memcpy(common.value.data(), value.bytes, sizeof(value.bytes));
    state().common.push_back(common);
    return state().refuse_common ? dirty_failure : dirty_success;
}
#endif
