#include "device/ddi.h"

#include <cstddef>

#include "device/device_table.h"
#include "platform/event.h"
#include "platform/module.h"
#include "state/call.h"

using bv::arg;
using bv::Call;

orvex_ddi g_orvex_ddi{};

namespace {

constexpr const char* module_name = "orvexDDI.dll";
constexpr uns32 no_driver_type = 0xFFFFFFFF;

// Modules return 16-bit results in registers whose upper half is left as it was.
bool succeeded(uns32 result) {
    return (result & 0xFFFF) == 1;
}

template <size_t Size>
std::string_view bounded(const char (&field)[Size]) {
    std::string_view text(field, Size);
    return text.substr(0, text.find('\0'));
}

boolean16 unload_and_fail(Call& call, orvex_ddi* ddi, const char* message) {
    orvex_ddi_unload_library(ddi);
    return call.fail(C7_DRIVER_COM_ERROR, "%s", message);
}

}  // namespace

boolean16 orvex_ddi_load_library(const char* file_path, orvex_ddi* ddi) {
    Call call("orvex_ddi_load_library", arg("file_path", file_path), arg("ddi", ddi));
    if (ddi->module) return call.fail(C7_DRIVER_COM_ERROR, "DDI library already loaded");

    platform::ModuleHandle module = platform::LoadModule(file_path);
    if (!module)
        return call.fail(C7_DRIVER_COM_ERROR, "Failed to load library '%s' (%s)", file_path,
                         platform::ModuleErrorText().c_str());

    // All are stored before any is tested, so that a module that lacks one of the others still has
    // its uninit called.
    ddi->module = module;
    ddi->version = platform::FindSymbol(module, "orvex_ddi_version");
    ddi->init =
        reinterpret_cast<uint32_t (*)(orvex_ddi*)>(platform::FindSymbol(module, "orvex_ddi_init"));
    ddi->uninit = reinterpret_cast<uint32_t (*)(orvex_ddi*)>(
        platform::FindSymbol(module, "orvex_ddi_uninit"));
    if (!ddi->version) return unload_and_fail(call, ddi, "Version function not found in DDI");
    if (!ddi->init) return unload_and_fail(call, ddi, "Init function not found in DDI");
    if (!ddi->uninit) return unload_and_fail(call, ddi, "Uninit function not found in DDI");

    if (!succeeded(ddi->init(ddi))) return unload_and_fail(call, ddi, "DDI initialization failed");
    return call.ok(arg("ddi->camCount", ddi->camCount));
}

void orvex_ddi_unload_library(orvex_ddi* ddi) {
    Call call("orvex_ddi_unload_library", arg("ddi", ddi));
    if (ddi->module) {
        if (ddi->uninit && !succeeded(ddi->uninit(ddi)))
            call.warn("DDI uninitialization failed, error ignored");
        platform::ReleaseModule(ddi->module);
        // The entry points stay as they were; without a module they lead nowhere.
        ddi->module = nullptr;
    }
    call.ok();
}

boolean16 dv_ddi_init() {
    Call call("dv_ddi_init");
    g_orvex_ddi = {};
    platform::SweepEvents();
    return call.result(orvex_ddi_load_library(module_name, &g_orvex_ddi));
}

void dv_ddi_uninit() {
    Call call("dv_ddi_uninit");
    // A device that refused to open has its events until the next attempt, which never came.
    for (orvex_device* device : g_orvex_ddi.devices) {
        if (g_orvex_ddi.module && device) close_camera_events(device);
    }
    orvex_ddi_unload_library(&g_orvex_ddi);
    call.ok();
}

boolean16 dv_ddi_get_total_cams(int16* ApTotalCams) {
    Call call("dv_ddi_get_total_cams", arg("ApTotalCams", ApTotalCams));
    *ApTotalCams = g_orvex_ddi.camCount;
    return call.ok(arg("*ApTotalCams", *ApTotalCams));
}

boolean16 dv_ddi_get_cam_name(int16 hcam, const char** camName) {
    Call call("dv_ddi_get_cam_name", arg("hcam", hcam), arg("camName", camName));
    static constexpr char no_name[ORVEX_DEVICE_NAME_LEN] = {};
    const orvex_device* device = dv_device(hcam);
    *camName = device ? device->name : no_name;
    return call.ok(bv::quoted(
        "*camName", call.tracing() && device ? std::string(dv_device_name(device)).c_str() : ""));
}

// Applications have always been told 0 here, so the module's own version stays unasked.
boolean16 dv_ddi_get_ver(uns16* ApVer) {
    Call call("dv_ddi_get_ver", arg("ApVer", ApVer));
    *ApVer = 0;
    return call.ok(arg("*ApVer", *ApVer));
}

orvex_device* dv_device(int16 hcam) {
    if (hcam < 0 || hcam >= ORVEX_DDI_MAX_DEVICES) return nullptr;
    return g_orvex_ddi.devices[hcam];
}

std::string_view dv_device_name(const orvex_device* device) {
    return bounded(device->name);
}

std::string_view dv_device_path(const orvex_device* device) {
    return bounded(device->path);
}

uns32 dv_device_driver_type(const orvex_device* device) {
    if (!device || !device->driver || !device->driver->driver_type) return no_driver_type;
    return device->driver->driver_type();
}

bool dv_device_kernel_mode(const orvex_device* device) {
    return device->driver && device->driver->delivery == 1;
}

dv_file_opener dv_device_file_opener() {
    if (!g_orvex_ddi.module) return nullptr;
    return reinterpret_cast<dv_file_opener>(
        platform::FindSymbol(g_orvex_ddi.module, "orvex_ddi_open_file"));
}
