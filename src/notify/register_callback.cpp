// The way of an application's wish to be called back, from the interface down to a device.

#include "device/ddi.h"
#include "log/enum_texts.h"
#include "notify/callbacks.h"
#include "notify/upcalls.h"
#include "state/call.h"

using bv::arg;
using bv::Call;
using bv::enumerated;

boolean16 dv_cam_register_callback(int16 hcam, uns32 CallbackEvent, void* Callback, void* Context,
                                   uns32 CallbackType) {
    Call call("dv_cam_register_callback", arg("hcam", hcam),
              enumerated("CallbackEvent", CallbackEvent, bv_text_callback_event),
              arg("Callback", Callback), arg("Context", Context),
              enumerated("CallbackType", CallbackType, bv_text_callback_type));
    if (CallbackEvent >= OX_CALLBACK_MAX)
        return call.fail(C3_EVENT_NOT_SUPPORTED, "Unknown callback event %u", CallbackEvent);
    orvex_device* device = dv_device(hcam);
    if (!orvex_callbacks_register(device, CallbackEvent, Callback, Context, CallbackType))
        return call.failed();
    return call.result(orvex_callbacks_wait_ready(device));
}

boolean16 dv_cam_deregister_callback(int16 hcam, uns32 CallbackEvent) {
    Call call("dv_cam_deregister_callback", arg("hcam", hcam),
              enumerated("CallbackEvent", CallbackEvent, bv_text_callback_event));
    if (CallbackEvent >= OX_CALLBACK_MAX)
        return call.fail(C3_EVENT_NOT_SUPPORTED, "Unknown callback event %u", CallbackEvent);
    orvex_device* device = dv_device(hcam);
    if (!orvex_callbacks_deregister(device, CallbackEvent)) return call.failed();
    return call.result(orvex_callbacks_wait_ready(device));
}

boolean16 bv_cam_register_callback(int16 hcam, uns32 CallbackEvent, void* Callback, void* Context,
                                   uns32 CallbackType) {
    Call call("bv_cam_register_callback", arg("hcam", hcam),
              enumerated("CallbackEvent", CallbackEvent, bv_text_callback_event),
              arg("Callback", Callback), arg("Context", Context),
              enumerated("CallbackType", CallbackType, bv_text_callback_type));
    const boolean16 registered =
        dv_cam_register_callback(hcam, CallbackEvent, Callback, Context, CallbackType);
    (registered ? bv_pop_register_callback : bv_pop_deregister_callback)(hcam);
    if (!registered) return call.failed();
    return call.result(orvex_callbacks_await_former(dv_device(hcam), CallbackEvent));
}

boolean16 bv_cam_deregister_callback(int16 hcam, uns32 CallbackEvent) {
    Call call("bv_cam_deregister_callback", arg("hcam", hcam),
              enumerated("CallbackEvent", CallbackEvent, bv_text_callback_event));
    if (!dv_cam_deregister_callback(hcam, CallbackEvent)) return call.failed();
    bv_pop_deregister_callback(hcam);
    return call.result(orvex_callbacks_await_former(dv_device(hcam), CallbackEvent));
}
