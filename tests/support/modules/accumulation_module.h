#pragma once

#include <cstdint>
#include <string>
#include <vector>

// A frame-accumulation plug-in for tests: it notes all calls and keeps what it is given. Variants
// lack what their definitions say: ACCUMULATION_NO_INIT, ACCUMULATION_NO_SET_NUM.

namespace accumulation_module {

struct State {
    std::vector<std::string> calls;
    uint16_t accumulated = 0;
    uint32_t number = 77;
};

using module_state = State*();

}  // namespace accumulation_module
