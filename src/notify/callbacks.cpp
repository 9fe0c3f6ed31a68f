#include "notify/callbacks.h"

#include <algorithm>
#include <new>
#include <unordered_map>
#include <utility>

#include "device/command_io.h"
#include "device/ddi.h"
#include "device/device_table.h"
#include "log/enum_texts.h"
#include "log/never_destroyed.h"
#include "platform/fork.h"
#include "state/api_locks.h"
#include "state/call.h"

using bv::ApiGlobal;
using bv::arg;
using bv::Call;
using bv::enumerated;

namespace {

constexpr uns32 flush_limit_ms = 5000;
constexpr uns32 callback_limit_ms = 5000;
// Most events of a kind that wait for the application.
constexpr uns32 queued_events_max = 128;

orvex_callbacks* Record(orvex_device* device) {
    if (!device) return nullptr;
    return static_cast<orvex_callbacks*>(
        std::atomic_ref<void*>(device->callbacks).load(std::memory_order_acquire));
}

void SetRecord(orvex_device* device, orvex_callbacks* record) {
    std::atomic_ref<void*>(device->callbacks).store(record, std::memory_order_release);
}

// Null, and told, when there is no record.
orvex_callbacks* RequireCreated(Call& call, orvex_device* device) {
    orvex_callbacks* record = Record(device);
    if (!record) call.fail(C7_GEN_COM_ERROR, "Callbacks not created");
    return record;
}

// Null, and told, when there is no record or delivery is not running.
orvex_callbacks* RequireStarted(Call& call, orvex_device* device) {
    orvex_callbacks* record = RequireCreated(call, device);
    if (record && !record->started) {
        call.fail(C7_GEN_COM_ERROR, "Callbacks not started");
        return nullptr;
    }
    return record;
}

void DestroyCallbackThread(orvex_callbacks& record) {
    std::shared_ptr<bv::CallbackThread> thread;
    {
        const std::lock_guard guard(record.invoke_lock);
        thread.swap(record.callback_thread);
    }
}

// Releases a camera's mutex, if the calling thread holds it, and takes it back at the end.
class CameraLeftToOthers {
  public:
    explicit CameraLeftToOthers(int16 hcam) {
        platform::ErrorCheckingMutex& mutex = api_camera_mutexes.at(row_of(hcam));
        if (!mutex.IsHeldByThisThread()) return;
        held_ = &mutex;
        held_->unlock();
    }
    ~CameraLeftToOthers() {
        if (held_) held_->lock();
    }
    CameraLeftToOthers(const CameraLeftToOthers&) = delete;
    CameraLeftToOthers& operator=(const CameraLeftToOthers&) = delete;

  private:
    platform::ErrorCheckingMutex* held_ = nullptr;
};

// Empties the record and takes it from the device. It isn't freed: a thread of the module may have
// read its address just before.
void GiveUpRecord(orvex_device* device, orvex_callbacks& record) {
    SetRecord(device, nullptr);
    record.started = false;
    // A thread of a module that delivers itself may be looking at a notifier that never was.
    if (record.notifier) record.notifier.reset();
    DestroyCallbackThread(record);
    const std::scoped_lock guard(record.invoke_lock, record.frame_info_lock);
    record.invoke_frame_info.reset();
    record.latest_frame_info.reset();
}

boolean16 CopyLatest(orvex_callbacks& record, FRAME_INFO* frame_info) {
    const std::lock_guard guard(record.frame_info_lock);
    *frame_info = *record.latest_frame_info;
    return 1;
}

uint16_t DeliverLatest(orvex_device* device, uint32_t frame_number, int64_t time_stamp_bof,
                       int64_t time_stamp_eof) {
    return orvex_callbacks_set_latest_frame_info(device, frame_number, time_stamp_bof,
                                                 time_stamp_eof);
}

uint16_t DeliverEvent(orvex_device* device, uint32_t event) {
    return orvex_callbacks_invoke(device, event);
}

struct KeptRecords {
    std::mutex lock;
    std::unordered_map<orvex_device*, std::unique_ptr<orvex_callbacks>> of_devices;
};
bv::NeverDestroyed<KeptRecords> kept_records;

// A forked child may find other devices at the same addresses.
const platform::ForkHandler forget_records([] { new (&kept_records.value) KeptRecords; });

// The one record that a device has in its life, empty; null without memory.
orvex_callbacks* KeptRecord(orvex_device* device) {
    KeptRecords& kept = kept_records.value;
    try {
        const std::lock_guard guard(kept.lock);
        std::unique_ptr<orvex_callbacks>& record = kept.of_devices[device];
        if (!record) {
            record = std::make_unique<orvex_callbacks>();
            record->delivery = {DeliverLatest, DeliverEvent};
        }
        return record.get();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // namespace

boolean16 orvex_callbacks_create(orvex_device* device) {
    Call call("orvex_callbacks_create", arg("device", device));
    if (Record(device)) return call.fail(C7_GEN_COM_ERROR, "Callbacks already created");
    orvex_callbacks* record = KeptRecord(device);
    if (!record)
        return call.fail(C2_CANNOT_ALLOCATE_MEMORY, "Cannot allocate orvex_callbacks structure");
    // One that is left of a life of this device that nobody ended; a thread of the module may be
    // looking for one that never was.
    if (record->notifier) record->notifier.reset();
    SetRecord(device, record);
    if (dv_device_kernel_mode(device)) {
        try {
            record->notifier = std::make_shared<bv::EventNotifier>(device);
        } catch (const std::bad_alloc&) {
            GiveUpRecord(device, *record);
            return call.fail(C2_CANNOT_ALLOCATE_MEMORY, "Cannot allocate EventNotifier");
        }
        device->notifier = record->notifier.get();
        return call.ok();
    }
    bv::FrameInfoOwner latest = bv::MakeFrameInfo();
    bv::FrameInfoOwner invoke = latest ? bv::MakeFrameInfo() : nullptr;
    if (!invoke) {
        GiveUpRecord(device, *record);
        return call.failed();
    }
    const std::scoped_lock guard(record->invoke_lock, record->frame_info_lock);
    record->latest_frame_info = std::move(latest);
    record->invoke_frame_info = std::move(invoke);
    return call.ok();
}

boolean16 orvex_callbacks_destroy(orvex_device* device) {
    Call call("orvex_callbacks_destroy", arg("device", device));
    orvex_callbacks* record = RequireCreated(call, device);
    if (!record) return bv::OZ_FAIL;
    if (record->notifier) {
        // Its thread may still hold it, when this is called back from there.
        record->notifier->Stop();
        device->notifier = nullptr;
    }
    GiveUpRecord(device, *record);
    return call.ok();
}

boolean16 orvex_callbacks_start(orvex_device* device) {
    Call call("orvex_callbacks_start", arg("device", device));
    orvex_callbacks* record = RequireCreated(call, device);
    if (!record) return bv::OZ_FAIL;
    if (record->started) return call.fail(C7_GEN_COM_ERROR, "Callbacks already started");
    if (record->notifier) {
        if (!record->notifier->Start()) return call.failed();
        record->started = true;
        return call.ok();
    }
    try {
        const std::lock_guard guard(record->invoke_lock);
        record->callback_thread = std::make_shared<bv::CallbackThread>();
    } catch (const std::exception&) {
        return call.fail(C0_RESOURCE_ALLOCATION_FAILED, "Failed to create CallbackThread");
    }
    record->started = true;
    if (!orvex_callbacks_wait_ready(device)) {
        record->started = false;
        DestroyCallbackThread(*record);
        return call.failed();
    }
    return call.ok();
}

boolean16 orvex_callbacks_stop(orvex_device* device) {
    Call call("orvex_callbacks_stop", arg("device", device));
    orvex_callbacks* record = RequireStarted(call, device);
    if (!record) return bv::OZ_FAIL;
    if (record->notifier) {
        record->notifier->Stop();
    } else {
        const bv::ErrorHold hold;
        if (!orvex_callbacks_wait_ready(device)) {
            call.warn("Cannot flush notifications, error ignored");
            ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
        }
        DestroyCallbackThread(*record);
    }
    record->started = false;
    return call.ok();
}

boolean16 orvex_callbacks_wait_ready(orvex_device* device) {
    Call call("orvex_callbacks_wait_ready", arg("device", device));
    orvex_callbacks* record = RequireStarted(call, device);
    if (!record) return bv::OZ_FAIL;
    if (record->notifier) return call.ok();
    if (!dv_event_reset(device->flush_ack))
        return call.fail(C7_DRIVER_COM_ERROR, "Cannot reset flush event");
    if (!dv_ioctl(device->hcam, DV_EVENT_NOTIFICATION_FLUSH, nullptr, 0, nullptr, 0, nullptr,
                  nullptr))
        return call.failed();
    if (!dv_event_wait(device->flush_ack, flush_limit_ms))
        return call.fail(C7_DRIVER_COM_ERROR, "Flush event not signalled within %u ms",
                         flush_limit_ms);
    return call.ok();
}

boolean16 orvex_callbacks_reset(orvex_device* device) {
    Call call("orvex_callbacks_reset", arg("device", device));
    orvex_callbacks* record = RequireStarted(call, device);
    if (!record) return bv::OZ_FAIL;
    if (record->notifier) {
        record->notifier->ClearLatestFrameInfo();
        return call.ok();
    }
    const std::lock_guard guard(record->frame_info_lock);
    return call.result(bv_clear_frame_info_struct(record->latest_frame_info.get()));
}

boolean16 orvex_callbacks_register(orvex_device* device, uns32 event, void* function, void* context,
                                   uns32 type) {
    Call call("orvex_callbacks_register", arg("device", device),
              enumerated("event", event, bv_text_callback_event), arg("function", function),
              arg("context", context), enumerated("type", type, bv_text_callback_type));
    orvex_callbacks* record = RequireStarted(call, device);
    if (!record) return bv::OZ_FAIL;
    if (record->notifier)
        return call.result(record->notifier->RegisterCallback(event, function, context, type));
    if (!orvex_callbacks_wait_ready(device)) return call.failed();
    record->callback_thread->Callbacks().Set(event, {function, context, type});
    return call.ok();
}

boolean16 orvex_callbacks_deregister(orvex_device* device, uns32 event) {
    Call call("orvex_callbacks_deregister", arg("device", device),
              enumerated("event", event, bv_text_callback_event));
    orvex_callbacks* record = RequireStarted(call, device);
    if (!record) return bv::OZ_FAIL;
    if (record->notifier) return call.result(record->notifier->DeregisterCallback(event));
    record->callback_thread->Callbacks().Set(event, {});
    return call.result(orvex_callbacks_wait_ready(device));
}

boolean16 orvex_callbacks_await_former(orvex_device* device, uns32 event) {
    const orvex_callbacks* record = Record(device);
    if (!record || !record->started) return bv::OZ_OK;
    // They outlive a close that comes in between.
    const std::shared_ptr<bv::EventNotifier> notifier = record->notifier;
    const std::shared_ptr<bv::CallbackThread> thread = record->callback_thread;
    bv::CallbackTable& callbacks = notifier ? notifier->Callbacks() : thread->Callbacks();
    if (callbacks.AwaitEnd(event, 0)) return bv::OZ_OK;
    Call call("orvex_callbacks_await_former", arg("device", device),
              enumerated("event", event, bv_text_callback_event));
    const CameraLeftToOthers left(device->hcam);
    if (!callbacks.AwaitEnd(event, callback_limit_ms))
        return call.fail(C7_DRIVER_COM_ERROR, "Callback still running after %u ms",
                         callback_limit_ms);
    return call.ok();
}

boolean16 orvex_callbacks_set_frame_count(orvex_device* device, uns32 frame_count,
                                          boolean16 is_sequence) {
    Call call("orvex_callbacks_set_frame_count", arg("device", device),
              arg("frame_count", frame_count), arg("is_sequence", is_sequence));
    orvex_callbacks* record = RequireStarted(call, device);
    if (!record) return bv::OZ_FAIL;
    if (record->notifier) {
        if (!record->notifier->SetFrameCount(frame_count, is_sequence, 0))
            return call.fail(C7_DRIVER_COM_ERROR,
                             "Device notifier SetFrameCount(%u, %s, FALSE) "
                             "failed",
                             frame_count, is_sequence ? "<seq>" : "<cont>");
        return call.ok();
    }
    const uns32 limit =
        std::min(bv::FramesInFlight(frame_count, is_sequence == 1), queued_events_max);
    const std::lock_guard guard(record->invoke_lock);
    record->callback_thread->Reset(limit);
    return call.ok();
}

boolean16 orvex_callbacks_get_latest_frame_info(orvex_device* device, FRAME_INFO* frame_info) {
    Call call("orvex_callbacks_get_latest_frame_info", arg("device", device),
              arg("frame_info", frame_info));
    orvex_callbacks* record = RequireStarted(call, device);
    if (!record) return bv::OZ_FAIL;
    if (record->notifier) {
        record->notifier->GetLatestFrameInfo(frame_info);
        return call.ok();
    }
    return call.result(CopyLatest(*record, frame_info));
}

void orvex_callbacks_begin_abort(orvex_device* device) {
    if (orvex_callbacks* record = Record(device); record && record->notifier)
        record->notifier->BeginAbort();
}

void orvex_callbacks_end_abort(orvex_device* device) {
    if (orvex_callbacks* record = Record(device); record && record->notifier)
        record->notifier->EndAbort();
}

boolean16 orvex_callbacks_set_latest_frame_info(orvex_device* device, uns32 frame_number,
                                                int64 time_stamp_bof, int64 time_stamp_eof) {
    Call call("orvex_callbacks_set_latest_frame_info", arg("device", device),
              arg("frame_number", frame_number), arg("time_stamp_bof", time_stamp_bof),
              arg("time_stamp_eof", time_stamp_eof));
    orvex_callbacks* record = RequireStarted(call, device);
    if (!record) return bv::OZ_FAIL;
    if (record->notifier)
        return call.fail(C0_UNKNOWN_ERROR, "DISABLED USAGE IN KERNEL DRIVER MODE");
    const std::lock_guard guard(record->frame_info_lock);
    FRAME_INFO* latest = record->latest_frame_info.get();
    if (!bv_clear_frame_info_struct(latest)) return call.failed();
    latest->hCam = device->hcam;
    latest->FrameNr = static_cast<int32>(frame_number);
    latest->TimeStampEOF = time_stamp_eof;
    latest->TimeStampBOF = time_stamp_bof;
    // Cut to 32 bits, whatever the distance.
    latest->ReadoutTime =
        static_cast<int32>(static_cast<uns64>(time_stamp_eof) - static_cast<uns64>(time_stamp_bof));
    return call.ok();
}

boolean16 orvex_callbacks_invoke(orvex_device* device, uns32 event) {
    Call call("orvex_callbacks_invoke", arg("device", device),
              enumerated("event", event, bv_text_callback_event));
    orvex_callbacks* record = RequireStarted(call, device);
    if (!record) return bv::OZ_FAIL;
    if (record->notifier)
        return call.fail(C0_UNKNOWN_ERROR, "DISABLED USAGE IN KERNEL DRIVER MODE");
    if (event >= OX_CALLBACK_MAX)
        return call.fail(C3_EVENT_NOT_SUPPORTED, "Unknown callback event %u", event);
    const std::lock_guard guard(record->invoke_lock);
    // A stop has been faster.
    if (!record->callback_thread) return call.failed();
    if (!record->callback_thread->Callbacks().Wants(event)) return call.ok();
    CopyLatest(*record, record->invoke_frame_info.get());
    record->callback_thread->Enqueue(
        {static_cast<uns16>(device->hcam), event, 0, *record->invoke_frame_info});
    return call.ok();
}
