#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>

#include "orvex/orvex_ddi.h"
#include "orvex/orvex_types.h"

#include "device/upcalls.h"
#include "notify/callback_event.h"
#include "notify/callback_thread.h"
#include "notify/event_notifier.h"
#include "notify/frame_info.h"

// Event delivery of an open camera, in one of two ways. Where the driver takes notification
// requests on the device file, an EventNotifier does it all and these operations forward to it.
// Where the module delivers events itself, it calls the two functions at the head of the record,
// and a CallbackThread calls the application.

// What orvex_device.callbacks points to.
struct orvex_callbacks {
    orvex_delivery delivery;
    std::atomic<bool> started{false};
    std::thread thread;  // never started
    // The next four serve events that the module delivers.
    std::shared_ptr<bv::CallbackThread> callback_thread;
    bv::FrameInfoOwner latest_frame_info;
    std::mutex frame_info_lock;            // guards latest_frame_info, for the length of a copy
    bv::FrameInfoOwner invoke_frame_info;  // copy for the event being queued
    // The module may call from several threads, and beside the stop.
    std::mutex invoke_lock;  // guards callback_thread and invoke_frame_info
    // Owner of orvex_device.notifier.
    std::shared_ptr<bv::EventNotifier> notifier;
};

// Beside those that device/upcalls.h declares:

// Lets everything that is on its way through the driver arrive.
boolean16 orvex_callbacks_wait_ready(orvex_device* device);
boolean16 orvex_callbacks_register(orvex_device* device, uns32 event, void* function, void* context,
                                   uns32 type);
boolean16 orvex_callbacks_deregister(orvex_device* device, uns32 event);
// Waits for a call in progress of the function that a registration replaced or a deregistration
// removed, unless it is the calling thread's own. The camera's mutex is released meanwhile, as the
// callback may be waiting for it: to be the last step of an operation.
boolean16 orvex_callbacks_await_former(orvex_device* device, uns32 event);
// For modules that deliver events themselves.
boolean16 orvex_callbacks_set_latest_frame_info(orvex_device* device, uns32 frame_number,
                                                int64 time_stamp_bof, int64 time_stamp_eof);
boolean16 orvex_callbacks_invoke(orvex_device* device, uns32 event);

boolean16 dv_cam_register_callback(int16 hcam, uns32 CallbackEvent, void* Callback, void* Context,
                                   uns32 CallbackType);
boolean16 dv_cam_deregister_callback(int16 hcam, uns32 CallbackEvent);

boolean16 bv_cam_register_callback(int16 hcam, uns32 CallbackEvent, void* Callback, void* Context,
                                   uns32 CallbackType);
boolean16 bv_cam_deregister_callback(int16 hcam, uns32 CallbackEvent);
