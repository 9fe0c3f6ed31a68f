#pragma once

#include "orvex/orvex_plugin.h"

#include "platform/module.h"

// The entry points of the two optional plug-ins, as orvex_plugin.h declares them. Results of
// boolean16 are read as 16 bits, whatever a plug-in computes above them.
namespace bv {

static_assert(sizeof(orvex_plugin_name) == 256 && sizeof(orvex_plugin_value) == 256);

// Post-processing of frames on the host. Pointers are null without the plug-in.
struct post_processing_plugin {
    platform::ModuleHandle module = nullptr;
    decltype(&dll_open_camera) open_camera = nullptr;
    decltype(&dll_process) process = nullptr;
    decltype(&dll_get_module_count) get_module_count = nullptr;
    decltype(&dll_get_module_info) get_module_info = nullptr;
    decltype(&dll_get_module_parameter_count) get_module_parameter_count = nullptr;
    decltype(&dll_get_module_parameter) get_module_parameter = nullptr;
    decltype(&dll_set_module_parameter) set_module_parameter = nullptr;
    // The only one that a plug-in may lack.
    decltype(&dll_set_common_parameter) set_common_parameter = nullptr;
};

// Accumulation and pairing of frames. Pointers are null without the plug-in or the function.
struct accumulation_plugin {
    platform::ModuleHandle module = nullptr;
    decltype(&ox_ff_init_plugin) init_plugin = nullptr;
    decltype(&ox_ff_uninit_plugin) uninit_plugin = nullptr;
    decltype(&ox_ff_get_accum_capable) get_accum_capable = nullptr;
    decltype(&ox_ff_set_paired_mode) set_paired_mode = nullptr;
    decltype(&ox_ff_get_paired_mode) get_paired_mode = nullptr;
    decltype(&ox_ff_set_accum_mode) set_accum_mode = nullptr;
    decltype(&ox_ff_get_accum_mode) get_accum_mode = nullptr;
    decltype(&ox_ff_set_accum_num) set_accum_num = nullptr;
    decltype(&ox_ff_get_accum_num) get_accum_num = nullptr;
};

// Looks up one entry point; false, and null in the slot, when the module has none of that name.
template <class Function>
bool FindEntryPoint(platform::ModuleHandle module, const char* name, Function*& slot) {
    slot = reinterpret_cast<Function*>(platform::FindSymbol(module, name));
    return slot != nullptr;
}

}  // namespace bv
