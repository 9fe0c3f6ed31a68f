#pragma once

#include "orvex/orvex_ddi.h"

namespace support {

// Where the module scripted_ddi leads: its entry points call this record, whose address stands in
// an environment variable of the process.
struct ScriptedModule {
    static constexpr const char* variable = "ORVEX_SCRIPTED_DRIVER";
    void* driver = nullptr;
    uint32_t (*init)(void* driver, orvex_ddi* ddi) = nullptr;
    uint32_t (*uninit)(void* driver, orvex_ddi* ddi) = nullptr;
};

}  // namespace support
