#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

// A post-processing plug-in for tests: two modules with a few parameters, and a processing that
// adds 1 to every 16-bit pixel. What it is told and asked stands in its state, which the tests get
// by module_state(). A module file defines what it lacks before it includes this:
//
//     POST_PROCESSING_NO_PROCESS, POST_PROCESSING_NO_COMMON_PARAMETER

namespace post_processing_module {

struct Parameter {
    std::string name;
    double minimum, maximum, standard, current;
};

struct Module {
    std::string name;
    std::vector<Parameter> parameters;
};

struct Common {
    int16_t hcam;
    std::string name;
    int32_t type;
    std::array<uint8_t, 256> value;
};

struct Processed {
    int16_t hcam;
    void* input;
    void* output;
    uint32_t ser_pixels, par_pixels;
    int32_t flag, zero;
};

struct State {
    std::vector<Module> modules = {
        {"Despeckle", {{"ENABLED", 0, 1, 0, 1}, {"Threshold", 2.9, 4000000000.0, 7, 3000000000.7}}},
        {"Denoise", {{"Radius", -3.5, 9.9, 2, 5}}},
    };
    std::vector<int16_t> opened;
    std::vector<Common> common;
    std::vector<Processed> processed;
    uint32_t beside = 0;        // modules that are counted and not there
    uint32_t counts_asked = 0;  // of parameters of a module
    bool refuse_reads = false;
    bool refuse_writes = false;
    bool refuse_common = false;
    bool refuse_process = false;
};

using module_state = State*();

}  // namespace post_processing_module

#ifdef POST_PROCESSING_MODULE_SOURCE

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
POST_PROCESSING_EXPORT int32_t dll_process(int16_t hcam, void* input, void* output,
                                           uint32_t ser_pixels, uint32_t par_pixels, int32_t flag,
                                           int32_t zero) {
    state().processed.push_back({hcam, input, output, ser_pixels, par_pixels, flag, zero});
    if (state().refuse_process) return dirty_failure;
    const auto* from = static_cast<const uint16_t*>(input);
    auto* to = static_cast<uint16_t*>(output);
    for (uint32_t i = 0; i < ser_pixels * par_pixels; ++i) {
        to[i] = static_cast<uint16_t>(from[i] + 1);
    }
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

#endif
