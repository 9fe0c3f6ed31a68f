#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <string>

#include "orvex/orvex_ddi.h"

// A tiny driver module, in the variants that its definitions make:
//
//     ORVEX_TINY_NO_VERSION, _NO_INIT, _NO_UNINIT   that entry point is missing
//     ORVEX_TINY_INIT_RESULT, ORVEX_TINY_UNINIT_RESULT   what they return; 1 unless defined
//     ORVEX_TINY_CAMERAS   cameras reported, named "Tiny 0" and so on; 1 unless defined
//
// Each call of an entry point adds a line, "version", "init" or "uninit", to the file that the
// environment variable ORVEX_TINY_CALLS names.

#ifndef ORVEX_TINY_INIT_RESULT
#define ORVEX_TINY_INIT_RESULT 1
#endif
#ifndef ORVEX_TINY_UNINIT_RESULT
#define ORVEX_TINY_UNINIT_RESULT 1
#endif
#ifndef ORVEX_TINY_CAMERAS
#define ORVEX_TINY_CAMERAS 1
#endif

#define ORVEX_TINY_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

inline void NoteCall(const char* name) {
    if (const char* path = std::getenv("ORVEX_TINY_CALLS"))
        std::ofstream(path, std::ios::app) << name << '\n';
}

}  // namespace

#ifndef ORVEX_TINY_NO_VERSION
ORVEX_TINY_EXPORT uint16_t orvex_ddi_version() {
    NoteCall("version");
    return 1;
}
#endif

#ifndef ORVEX_TINY_NO_INIT
ORVEX_TINY_EXPORT uint32_t orvex_ddi_init(orvex_ddi* ddi) {
    static orvex_driver_desc descriptor{};
    static orvex_device devices[ORVEX_DDI_MAX_DEVICES]{};
    NoteCall("init");
    descriptor.driver_type = [] { return uint32_t{DRIVER_TYPE_SOFTWARE}; };
    ddi->camCount = ORVEX_TINY_CAMERAS;
    for (int i = 0; i < std::min(ORVEX_TINY_CAMERAS, ORVEX_DDI_MAX_DEVICES); ++i) {
        devices[i].hcam = -1;
        devices[i].driver = &descriptor;
        ("Tiny " + std::to_string(i)).copy(devices[i].name, ORVEX_DEVICE_NAME_LEN - 1);
        devices[i].open = [](orvex_device*) { return uint16_t{0}; };
        devices[i].close = [](orvex_device*) { return uint16_t{1}; };
        devices[i].read = [](orvex_device*, void*, uint16_t, uint16_t*) { return uint16_t{0}; };
        devices[i].write = [](orvex_device*, const void*, uint16_t, uint16_t*) {
            return uint16_t{0};
        };
        devices[i].ioctl = [](orvex_device*, uint32_t, dv_ioctl_args*) { return uint16_t{0}; };
        ddi->devices[i] = &devices[i];
    }
    return ORVEX_TINY_INIT_RESULT;
}
#endif

#ifndef ORVEX_TINY_NO_UNINIT
ORVEX_TINY_EXPORT uint32_t orvex_ddi_uninit(orvex_ddi*) {
    NoteCall("uninit");
    return ORVEX_TINY_UNINIT_RESULT;
}
#endif
