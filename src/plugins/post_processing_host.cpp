#include "plugins/post_processing_host.h"

#include <algorithm>
#include <string>

#include "platform/environment.h"
#include "plugins/plugin_contract.h"
#include "state/call.h"
#include "state/camera_rows.h"

using bv::arg;
using bv::Call;

namespace {

constexpr size_t path_length_max = 260;
// Indices are 16-bit signed at the interface, which bounds the walk over a plug-in that tells -1.
constexpr uns32 selectable_modules = 32768;

constinit bv::post_processing_plugin plugin;

// The suite installs itself on the system's drive.
std::string PluginPath() {
    std::string path = platform::TrustedEnvironmentVariable("SystemDrive").value_or("");
    path += "\\Program Files\\Brelvane\\Kelmo64\\BV_PoP.dll";
    if (path.size() > path_length_max) path.resize(path_length_max);
    return path;
}

// False when one that is required is missing.
bool FindEntryPoints(bv::post_processing_plugin& found) {
    using bv::FindEntryPoint;
    void* module = found.module;
    bool complete = FindEntryPoint(module, "dll_open_camera", found.open_camera);
    complete &= FindEntryPoint(module, "dll_process", found.process);
    complete &= FindEntryPoint(module, "dll_get_module_count", found.get_module_count);
    complete &= FindEntryPoint(module, "dll_get_module_info", found.get_module_info);
    complete &=
        FindEntryPoint(module, "dll_get_module_parameter_count", found.get_module_parameter_count);
    complete &= FindEntryPoint(module, "dll_get_module_parameter", found.get_module_parameter);
    complete &= FindEntryPoint(module, "dll_set_module_parameter", found.set_module_parameter);
    FindEntryPoint(module, "dll_set_common_parameter", found.set_common_parameter);
    return complete;
}

// Sets every parameter of a module to its default.
boolean16 ResetModule(int16 hcam, uns32 module_index) {
    const uns32 count = plugin.get_module_parameter_count(hcam, module_index);
    for (uns32 index = 0; index < count; ++index) {
        flt64 minimum = 0, maximum = 0, standard = 0, current = 0;
        char name[ORVEX_PLUGIN_TEXT_ROOM] = {};
        if (!plugin.get_module_parameter(hcam, module_index, index, &minimum, &maximum, &standard,
                                         &current, name)) {
            bv::ApiGlobal::SetErrorCode(EXT_OPEN_EXCLUSIVE, C2_INDEX_OUT_OF_RANGE);
            return bv::OZ_FAIL;
        }
        if (plugin.set_module_parameter(hcam, module_index, index, &standard) != 1) {
            bv::ApiGlobal::SetErrorCode(EXT_OPEN_EXCLUSIVE, C2_FAILED_TO_SET_VALUE);
            return bv::OZ_FAIL;
        }
    }
    return bv::OZ_OK;
}

}  // namespace

const bv::post_processing_plugin& bv::LoadedPostProcessing() {
    return plugin;
}

boolean16 bv_pop_loadlibrary() {
    Call call("bv_pop_loadlibrary");
    const std::string path = PluginPath();
    plugin.module = platform::LoadModule(path.c_str());
    if (!plugin.module) {
        call.info("KELMO library '%s' not found nor loaded", path.c_str());
        return call.failed();
    }
    if (!FindEntryPoints(plugin)) {
        bv_pop_unloadlibrary();
        call.warn("Not all functions found in KELMO library '%s'", path.c_str());
        return call.failed();
    }
    call.info("KELMO library '%s' loaded", path.c_str());
    return call.ok();
}

boolean16 bv_pop_unloadlibrary() {
    Call call("bv_pop_unloadlibrary");
    const platform::ModuleHandle module = plugin.module;
    plugin = {};
    if (module) {
        for (int16 hcam = 0; pg_cam_cfg && hcam < total_cams; ++hcam) {
            bv_pop_clear_alt_buffer(hcam, nullptr);
        }
        platform::ReleaseModule(module);
    }
    return call.ok();
}

boolean16 bv_pop_islibraryloaded() {
    return plugin.module ? 1 : 0;
}

// On the way of every frame: without a plug-in it is one test.
boolean16 bv_pop_ismoduleavailable(int16 hcam) {
    if (!plugin.module) return 0;
    Call call("bv_pop_ismoduleavailable", arg("hcam", hcam));
    const boolean16 available = plugin.get_module_count(hcam) != 0 ? 1 : 0;
    call.returns(bv::words(available ? "TRUE" : "FALSE"));
    return available;
}

boolean16 bv_pop_open_camera(int16 hcam) {
    Call call("bv_pop_open_camera", arg("hcam", hcam));
    boolean16 result = bv::OZ_OK;
    if (plugin.module) {
        plugin.open_camera(hcam);
        result = bv_pop_oneshot_parameters(hcam);
    }
    bv_pop_reset(hcam);
    return call.result(result);
}

boolean16 bv_pop_reset(int16 hcam) {
    Call call("bv_pop_reset", arg("hcam", hcam));
    bv_pop_clear_alt_buffer(hcam, nullptr);
    bv_pop_deregister_callback(hcam);
    cam_cfg_type& cfg = bv::ConfigOf(hcam);
    cfg.callback_registered = 0;
    cfg.pp_use_plugin = 0;
    cfg.pp_initialized = 0;
    cfg.module_count = 0;
    cfg.module_index = 0;
    cfg.parameter_index = 0;
    cfg.last_frame_nr = 0;

    boolean16 result = bv::OZ_OK;
    if (plugin.module) {
        const uns32 modules = std::min(plugin.get_module_count(hcam), selectable_modules);
        for (uns32 index = 0; index < modules; ++index) {
            if (!ResetModule(hcam, index)) result = bv::OZ_FAIL;
        }
    }
    return call.result(result);
}

void bv_pop_register_callback(int16 hcam) {
    Call call("bv_pop_register_callback", arg("hcam", hcam));
    bv::ConfigOf(hcam).callback_registered = 1;
}

void bv_pop_deregister_callback(int16 hcam) {
    Call call("bv_pop_deregister_callback", arg("hcam", hcam));
    bv::ConfigOf(hcam).callback_registered = 0;
}

boolean16 bv_pop_check_callback(int16 hcam) {
    Call call("bv_pop_check_callback", arg("hcam", hcam));
    const boolean16 registered = bv::ConfigOf(hcam).callback_registered;
    call.returns(bv::words(registered ? "TRUE" : "FALSE"));
    return registered;
}
