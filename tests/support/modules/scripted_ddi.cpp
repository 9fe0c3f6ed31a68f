#include <cstdlib>
#include <string>

#include "support/scripted_module.h"

// The module through which the loader reaches a scripted driver of the running test.

#define ORVEX_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

const support::ScriptedModule* Script() {
    const char* address = std::getenv(support::ScriptedModule::variable);
    if (!address) return nullptr;
    return reinterpret_cast<const support::ScriptedModule*>(std::stoull(address));
}

}  // namespace

ORVEX_EXPORT uint16_t orvex_ddi_version() {
    return 1;
}

ORVEX_EXPORT uint32_t orvex_ddi_init(orvex_ddi* ddi) {
    const support::ScriptedModule* script = Script();
    return script ? script->init(script->driver, ddi) : 0;
}

ORVEX_EXPORT uint32_t orvex_ddi_uninit(orvex_ddi* ddi) {
    const support::ScriptedModule* script = Script();
    return script ? script->uninit(script->driver, ddi) : 1;
}
