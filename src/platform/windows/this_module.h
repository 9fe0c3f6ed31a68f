#pragma once

#include "platform/windows/api.h"

namespace platform {

// The module that this code was linked into; `flags` as of GetModuleHandleExA.
inline HMODULE ThisModule(DWORD flags) {
    static const char inside = 0;
    HMODULE module = nullptr;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | flags, &inside, &module);
    return module;
}

inline bool ThisModuleIsProgram() {
    return ThisModule(GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT) == GetModuleHandleA(nullptr);
}

}  // namespace platform
