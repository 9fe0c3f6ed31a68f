#pragma once

#include <cstdint>
#include <string>
#include <vector>

// A frame-accumulation plug-in for tests: it notes all calls and keeps what it is given. A module
// file defines what it lacks before it includes this: ACCUMULATION_NO_INIT,
// ACCUMULATION_NO_SET_NUM.

namespace accumulation_module {

struct State {
    std::vector<std::string> calls;
    uint16_t paired = 1;
    uint16_t accumulated = 0;
    uint32_t number = 77;
};

using module_state = State*();

}  // namespace accumulation_module

#ifdef ACCUMULATION_MODULE_SOURCE

#define ACCUMULATION_EXPORT extern "C" __attribute__((visibility("default"), used))

namespace {

using accumulation_module::State;

State& state() {
    static State the_state;
    return the_state;
}

void Note(const char* name, int16_t hcam) {
    state().calls.push_back(std::string(name) + " " + std::to_string(hcam));
}

}  // namespace

ACCUMULATION_EXPORT State* module_state_of_test() {
    return &state();
}

#ifndef ACCUMULATION_NO_INIT
ACCUMULATION_EXPORT void ox_ff_init_plugin() {
    state().calls.emplace_back("init");
}
#endif

ACCUMULATION_EXPORT void ox_ff_uninit_plugin(void* module) {
    state().calls.emplace_back(module ? "uninit" : "uninit without handle");
}

ACCUMULATION_EXPORT void ox_ff_get_accum_capable(int16_t hcam, uint16_t* accum_capable) {
    Note("get_accum_capable", hcam);
    *accum_capable = 1;
}

ACCUMULATION_EXPORT void ox_ff_set_paired_mode(int16_t hcam, uint16_t flag) {
    Note("set_paired_mode", hcam);
    state().paired = flag;
}

ACCUMULATION_EXPORT void ox_ff_get_paired_mode(int16_t hcam, uint16_t* flag) {
    Note("get_paired_mode", hcam);
    *flag = state().paired;
}

ACCUMULATION_EXPORT void ox_ff_set_accum_mode(int16_t hcam, uint16_t flag) {
    Note("set_accum_mode", hcam);
    state().accumulated = flag;
}

ACCUMULATION_EXPORT void ox_ff_get_accum_mode(int16_t hcam, uint16_t* flag) {
    Note("get_accum_mode", hcam);
    *flag = state().accumulated;
}

#ifndef ACCUMULATION_NO_SET_NUM
ACCUMULATION_EXPORT void ox_ff_set_accum_num(int16_t hcam, uint32_t number) {
    Note("set_accum_num", hcam);
    state().number = number;
}
#endif

ACCUMULATION_EXPORT void ox_ff_get_accum_num(int16_t hcam, uint32_t* number) {
    Note("get_accum_num", hcam);
    *number = state().number;
}

#endif
