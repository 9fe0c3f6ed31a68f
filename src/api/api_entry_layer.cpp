#include "api/api_entry_layer.h"

#include "api/module_entry.h"
#include "api/operation_call.h"
#include "camera/subsystems.h"
#include "log/enum_texts.h"
#include "messages/texts.h"

namespace bv {

// One operation whose entry calls `operation`.
#define ENTER(result, name, lock, words, operation, ...)                                         \
    result ApiEntryLayer::name(ORVEX_PARAMETERS(__VA_ARGS__)) {                                  \
        return RunOnEntry<ApiLock::lock, result>("bv::ApiEntryLayer::" #name, words.entry, [&] { \
            return operation;                                                                    \
        } ORVEX_BEHIND_ARGUMENTS(__VA_ARGS__));                                                  \
    }

#define OPERATION(result, name, lock, words, work, ...) \
    ENTER(result, name, lock, words, exec_.name(ORVEX_WORDS(__VA_ARGS__)), __VA_ARGS__)
#define ODD_ENTRY_OPERATION(...)
#include "api/operations.def"

// With it a forked child begins a life of its own.
boolean16 ApiEntryLayer::ox_orvex_init() {
    StartAnewInForkedChild();
    return RunOnEntry<ApiLock::global, boolean16>("bv::ApiEntryLayer::ox_orvex_init", current.entry,
                                                  [&] { return exec_.ox_orvex_init(); });
}

// Applications have always been told success here and look at the pointer: once the exec layer was
// called the result is 1, whatever the trace says.
boolean16 ApiEntryLayer::ox_create_tidal_stream_struct(tidal_stream_type** array, uns16 entries) {
    RunOnEntry<ApiLock::global, boolean16>(
        "bv::ApiEntryLayer::ox_create_tidal_stream_struct", current.entry,
        [&] { return exec_.ox_create_tidal_stream_struct(array, entries); },
        argument::out("array", array), argument::in("entries", entries));
    return array ? OZ_OK : OZ_FAIL;
}

// The two are alike, and traces show this one through the other since ever.
ENTER(boolean16, ox_exp_init_seq, global, deprecated, exec_.ox_exp_uninit_seq())

// Two names for one exchange; its trace inside carries the older name.
ENTER(boolean16, bv_cam_write_read, camera, deprecated_on_entry,
      exec_.oz_cam_write_read(hcam, c_class, write_bytes, write_array, read_array),
      (in, int16, hcam), (in, uns8, c_class), (in, uns16, write_bytes),
      (pointer, void*, write_array), (unchecked, void*, read_array))

// These three enter themselves again: the camera's mutex, which is not recursive, refuses that with
// the system error that applications of these operations know.
ENTER(boolean16, ox_shtr_get_close_dly, camera, deprecated,
      ApiEntryLayer::ox_shtr_get_close_dly(hcam, shtr_close_dly), (in, int16, hcam),
      (out, uns16*, shtr_close_dly))
ENTER(boolean16, ox_shtr_set_close_dly, camera, deprecated,
      ApiEntryLayer::ox_shtr_set_close_dly(hcam, shtr_close_dly), (in, int16, hcam),
      (in, uns16, shtr_close_dly))
ENTER(boolean16, ox_exp_wait_end_xfer, camera, deprecated,
      ApiEntryLayer::ox_exp_wait_end_xfer(hcam, tlimit), (in, int16, hcam), (in, uns32, tlimit))

}  // namespace bv
