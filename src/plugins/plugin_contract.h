#pragma once

#include <cstddef>

#include "orvex/orvex_types.h"

#include "platform/module.h"

// What the two optional plug-ins export. All take the camera handle first. Results of boolean16 are
// read as 16 bits, whatever a plug-in computes above them.
namespace bv {

// A text padded with zeros, and a value of any kind; both are passed by value.
struct plugin_name_block {
    char text[256];
};
struct plugin_value_block {
    uns8 bytes[256];
};
static_assert(sizeof(plugin_name_block) == 256 && sizeof(plugin_value_block) == 256);

// What a value block begins with.
enum plugin_value_type : int32 { PLUGIN_VALUE_INTEGER = 0, PLUGIN_VALUE_TEXT = 3 };

// The contract gives no size for texts that a plug-in writes; this is far above the 32 bytes that
// applications make room for.
constexpr size_t plugin_text_room = 4096;

// The one text that is asked of a module.
constexpr const char* plugin_key_name = "name";

// Post-processing of frames on the host. Pointers are null without the plug-in.
struct post_processing_plugin {
    platform::ModuleHandle module = nullptr;
    void (*open_camera)(int16 hcam) = nullptr;
    // 1 on success; `zero` is always 0. Input and output may be the same frame.
    boolean16 (*process)(int16 hcam, void* input, void* output, uns32 ser_pixels, uns32 par_pixels,
                         int32 flag, int32 zero) = nullptr;
    uns32 (*get_module_count)(int16 hcam) = nullptr;
    boolean16 (*get_module_info)(int16 hcam, uns32 module_index, const char* key,
                                 char* text) = nullptr;
    uns32 (*get_module_parameter_count)(int16 hcam, uns32 module_index) = nullptr;
    boolean16 (*get_module_parameter)(int16 hcam, uns32 module_index, uns32 parameter_index,
                                      flt64* minimum, flt64* maximum, flt64* standard,
                                      flt64* current, char* name) = nullptr;
    // 1 on success.
    boolean16 (*set_module_parameter)(int16 hcam, uns32 module_index, uns32 parameter_index,
                                      const flt64* value) = nullptr;
    // The only one that a plug-in may lack.
    boolean16 (*set_common_parameter)(int16 hcam, plugin_name_block name, int32 type,
                                      plugin_value_block value) = nullptr;
};

// Accumulation and pairing of frames. Pointers are null without the plug-in or the function.
struct accumulation_plugin {
    platform::ModuleHandle module = nullptr;
    void (*init_plugin)() = nullptr;
    void (*uninit_plugin)(platform::ModuleHandle module) = nullptr;
    void (*get_accum_capable)(int16 hcam, uns16* accum_capable) = nullptr;
    void (*set_paired_mode)(int16 hcam, uns16 flag) = nullptr;
    void (*get_paired_mode)(int16 hcam, uns16* flag) = nullptr;
    void (*set_accum_mode)(int16 hcam, uns16 flag) = nullptr;
    void (*get_accum_mode)(int16 hcam, uns16* flag) = nullptr;
    void (*set_accum_num)(int16 hcam, uns32 number) = nullptr;
    void (*get_accum_num)(int16 hcam, uns32* number) = nullptr;
};

// Looks up one entry point; false, and null in the slot, when the module has none of that name.
template <class Function>
bool FindEntryPoint(platform::ModuleHandle module, const char* name, Function*& slot) {
    slot = reinterpret_cast<Function*>(platform::FindSymbol(module, name));
    return slot != nullptr;
}

}  // namespace bv
