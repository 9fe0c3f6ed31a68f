#pragma once

#include <atomic>
#include <string_view>

#include "orvex/orvex_ddi.h"
#include "orvex/orvex_types.h"

// The driver module and the record shared with it: one per process, from which all devices are
// reached.

extern orvex_ddi g_orvex_ddi;

// Loads the module by its contract name, looks up its entry points and initialises it.
boolean16 orvex_ddi_load_library(const char* file_path, orvex_ddi* ddi);
// Also for a module that was loaded in part; never fails.
void orvex_ddi_unload_library(orvex_ddi* ddi);

boolean16 dv_ddi_init();
void dv_ddi_uninit();
// The count as the module reports it, not bounded.
boolean16 dv_ddi_get_total_cams(int16* ApTotalCams);
// The address of the name in the device record: at most ORVEX_DEVICE_NAME_LEN characters, which
// may lack a terminator. A slot without a camera has an empty name.
boolean16 dv_ddi_get_cam_name(int16 hcam, const char** camName);
boolean16 dv_ddi_get_ver(uns16* ApVer);

// The device of a handle; null when the handle is outside the table or its slot is empty.
orvex_device* dv_device(int16 hcam);
// Name and path within their fields, terminated or not.
std::string_view dv_device_name(const orvex_device* device);
std::string_view dv_device_path(const orvex_device* device);

// What the device's driver descriptor answers; no DRIVER_TYPE_ value when it has none.
uns32 dv_device_driver_type(const orvex_device* device);
// Events arrive by notification requests on the device file.
bool dv_device_kernel_mode(const orvex_device* device);
// The module's own way to open a device file; null when it has none.
dv_file_opener dv_device_file_opener();

// The state word, which callers and the notification thread share.
inline uns32 dv_device_state(orvex_device* device) {
    return std::atomic_ref<uns32>(device->state).load(std::memory_order_relaxed);
}
inline void dv_device_set_state(orvex_device* device, uns32 state) {
    std::atomic_ref<uns32>(device->state).store(state, std::memory_order_relaxed);
}
// Only from the state that the caller has seen. Returns the state that there is then.
inline uns32 dv_device_change_state(orvex_device* device, uns32 seen, uns32 state) {
    const bool changed = std::atomic_ref<uns32>(device->state)
                             .compare_exchange_strong(seen, state, std::memory_order_relaxed);
    return changed ? state : seen;
}
