#include "support/modules/accumulation_module.h"

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
