#include "plugins/accumulation_host.h"

#include <mutex>
#include <new>

#include "platform/fork.h"
#include "platform/module.h"
#include "plugins/plugin_contract.h"
#include "state/api_locks.h"
#include "state/call.h"

using bv::accumulation_plugin;
using bv::arg;
using bv::Call;

namespace {

// Calls on different cameras come side by side.
std::mutex plugin_mutex;
constinit accumulation_plugin plugin;

const platform::ForkHandler forget_plugin([] {
    new (&plugin_mutex) std::mutex;
    plugin = {};
});

// A plug-in that can't be initialised is as good as none.
bool FindEntryPoints(accumulation_plugin& found) {
    using bv::FindEntryPoint;
    void* module = found.module;
    const bool usable = FindEntryPoint(module, "ox_ff_init_plugin", found.init_plugin);
    FindEntryPoint(module, "ox_ff_uninit_plugin", found.uninit_plugin);
    FindEntryPoint(module, "ox_ff_get_accum_capable", found.get_accum_capable);
    FindEntryPoint(module, "ox_ff_set_paired_mode", found.set_paired_mode);
    FindEntryPoint(module, "ox_ff_get_paired_mode", found.get_paired_mode);
    FindEntryPoint(module, "ox_ff_set_accum_mode", found.set_accum_mode);
    FindEntryPoint(module, "ox_ff_get_accum_mode", found.get_accum_mode);
    FindEntryPoint(module, "ox_ff_set_accum_num", found.set_accum_num);
    FindEntryPoint(module, "ox_ff_get_accum_num", found.get_accum_num);
    return usable;
}

// The wanted function of the plug-in, which is loaded if need be; null without either.
template <class Function>
Function FindFunction(Function accumulation_plugin::* slot) {
    std::lock_guard lock(plugin_mutex);
    if (!plugin.module) ffLoadLibrary();
    return plugin.*slot;
}

// All operations: the camera's lock, a clean error state, the plug-in's function. `output` makes
// the trace of an operation without plug-in.
template <class Argument, class Output>
boolean16 Forward(Call& call, int16 hcam, void (*accumulation_plugin::*slot)(int16, Argument),
                  Argument argument, Output output) {
    platform::ErrorCheckingMutex* mutex = api_select_camera_mutex(hcam);
    if (!mutex) return call.failed();
    std::lock_guard lock(*mutex);
    bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
    if (auto function = FindFunction(slot)) {
        function(hcam, argument);
        return call.fail_silently(C0_NULL_POINTER);
    }
    return output();
}

boolean16 SetFlag(const char* name, int16 hcam, uns16 flag,
                  void (*accumulation_plugin::*slot)(int16, uns16)) {
    Call call(name, arg("hcam", hcam), arg("flag", flag != 0));
    return Forward(call, hcam, slot, flag, [&] { return call.ok(); });
}

// `output` is the log word of the argument behind a star.
boolean16 GetFlag(const char* name, const char* output, int16 hcam, uns16* flag,
                  void (*accumulation_plugin::*slot)(int16, uns16*)) {
    Call call(name, arg("hcam", hcam), arg(output + 1, flag));
    return Forward(call, hcam, slot, flag, [&] { return call.ok(arg(output, *flag != 0)); });
}

}  // namespace

// Runs under plugin_mutex when an operation loads.
void ffLoadLibrary() {
    Call call("ffLoadLibrary");
    accumulation_plugin found;
    found.module = platform::LoadModule("ff.dll");
    if (found.module && !FindEntryPoints(found)) {
        platform::ReleaseModule(found.module);
        found = {};
    }
    if (!found.module) {
        call.error("Failed to load ff.dll");
        return;
    }
    plugin = found;
    plugin.init_plugin();
}

void ffUnloadLibrary() {
    Call call("ffUnloadLibrary");
    std::lock_guard lock(plugin_mutex);
    if (plugin.module) {
        if (plugin.uninit_plugin) plugin.uninit_plugin(plugin.module);
        platform::ReleaseModule(plugin.module);
    }
    plugin = {};
}

boolean16 t_ox_ff_get_accum_capable(int16 hcam, uns16* accum_capable) {
    return GetFlag("t_ox_ff_get_accum_capable", "*accum_capable", hcam, accum_capable,
                   &accumulation_plugin::get_accum_capable);
}

boolean16 t_ox_ff_set_paired_mode(int16 hcam, uns16 flag) {
    return SetFlag("t_ox_ff_set_paired_mode", hcam, flag, &accumulation_plugin::set_paired_mode);
}

boolean16 t_ox_ff_get_paired_mode(int16 hcam, uns16* flag) {
    return GetFlag("t_ox_ff_get_paired_mode", "*flag", hcam, flag,
                   &accumulation_plugin::get_paired_mode);
}

boolean16 t_ox_ff_set_accum_mode(int16 hcam, uns16 flag) {
    return SetFlag("t_ox_ff_set_accum_mode", hcam, flag, &accumulation_plugin::set_accum_mode);
}

boolean16 t_ox_ff_get_accum_mode(int16 hcam, uns16* flag) {
    return GetFlag("t_ox_ff_get_accum_mode", "*flag", hcam, flag,
                   &accumulation_plugin::get_accum_mode);
}

boolean16 t_ox_ff_set_accum_num(int16 hcam, uns32 number) {
    Call call("t_ox_ff_set_accum_num", arg("hcam", hcam), arg("number", number));
    return Forward(call, hcam, &accumulation_plugin::set_accum_num, number,
                   [&] { return call.ok(); });
}

boolean16 t_ox_ff_get_accum_num(int16 hcam, uns32* number) {
    // The trace shows the low half of the address as a number.
    Call call("t_ox_ff_get_accum_num", arg("hcam", hcam),
              arg("number", static_cast<uns32>(reinterpret_cast<uintptr_t>(number))));
    return Forward(call, hcam, &accumulation_plugin::get_accum_num, number,
                   [&] { return call.ok(arg("*number", *number)); });
}
