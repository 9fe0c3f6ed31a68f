#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

// A post-processing plug-in for tests: two modules with a few parameters. What it is told and asked
// stands in its state, which the tests get by module_state(). Variants lack what their definitions
// say: POST_PROCESSING_NO_PROCESS, POST_PROCESSING_NO_COMMON_PARAMETER.

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

struct State {
    std::vector<Module> modules = {
        {"Despeckle", {{"ENABLED", 0, 1, 0, 1}, {"Threshold", 2.9, 4000000000.0, 7, 3000000000.7}}},
        {"Denoise", {{"Radius", -3.5, 9.9, 2, 5}}},
    };
    std::vector<int16_t> opened;
    std::vector<Common> common;
    uint32_t beside = 0;        // modules that are counted and not there
    uint32_t counts_asked = 0;  // of parameters of a module
    bool refuse_reads = false;
    bool refuse_writes = false;
    bool refuse_common = false;
};

using module_state = State*();

}  // namespace post_processing_module
