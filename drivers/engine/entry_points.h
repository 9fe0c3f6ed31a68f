#pragma once

#include <cstdint>
#include <cstdio>
#include <exception>
#include <mutex>

#include "orvex/orvex_ddi.h"

#define ORVEX_EXPORT __attribute__((visibility("default")))

// What the exported functions of a module do with the object that holds its cameras: one at a time,
// and nothing is thrown through a C interface.
namespace engine {

constexpr uint16_t module_version = 0x0100;

template <class Module>
uint32_t InitModule(Module& module, orvex_ddi& ddi) {
    const std::lock_guard hold(module.lock);
    try {
        return module.Init(ddi) ? 1 : 0;
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "orvexDDI: %s\n", problem.what());
        module.Clear();
        return 0;
    }
}

template <class Module>
uint32_t UninitModule(Module& module) {
    const std::lock_guard hold(module.lock);
    module.Clear();
    return 1;
}

template <class Module>
uint16_t OpenModuleFile(Module& module, const char* path, const dv_file_host* host,
                        dv_file_driver* driver) {
    if (path == nullptr || host == nullptr || driver == nullptr) return 0;
    const std::lock_guard hold(module.lock);
    return module.OpenFile(path, *host, *driver) ? 1 : 0;
}

}  // namespace engine
