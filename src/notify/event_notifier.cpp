#include "notify/event_notifier.h"

#include <new>
#include <string>
#include <system_error>

#include "device/command_io.h"
#include "device/ddi.h"
#include "log/enum_texts.h"
#include "notify/notification_end.h"
#include "state/call.h"

// The callers' side: life of the thread, pool of requests, callback table.
namespace bv {

namespace {

constexpr uint64_t key_base = 22080;
constexpr uns32 quiet_limit_ms = 5000;
constexpr uns32 flush_limit_ms = 5000;

// What every request asks for; a begin of frame is reported only if somebody wants it.
constexpr uns32 wanted_always = 0x8000003B;
constexpr uns32 wanted_with_bof = 0x8000003F;

}  // namespace

boolean16 EventNotifier::Start() {
    Call call("bv::EventNotifier::Start", arg("hcam", device_->hcam));
    if (thread_) return call.fail(C0_RESOURCE_ALLOCATION_FAILED, "Event notifier already started");
    hcam_ = static_cast<uns16>(device_->hcam);
    key_ = hcam_ + key_base;
    callbacks_.Clear();
    flushing_ = 0;
    aborting_ = 0;
    latest_frame_info_ = MakeFrameInfo();
    if (!latest_frame_info_) {
        Stop();
        return call.failed();
    }
    flush_done_event_.Reset();
    ready_event_.Set();
    const std::string path(dv_device_path(device_));
    if (!device_file_.Open(path.c_str(), dv_device_file_opener())) {
        Stop();
        return call.fail(C0_RESOURCE_ALLOCATION_FAILED, "Cannot open device file '%s'",
                         path.c_str());
    }
    if (!port_.Open(device_file_, key_)) {
        Stop();
        return call.fail(C0_RESOURCE_ALLOCATION_FAILED, "Cannot create completion port");
    }
    try {
        life_ = std::make_shared<Life>();
        thread_.emplace([self = shared_from_this(), life = life_] { self->Run(*life); });
    } catch (const std::system_error&) {
        Stop();
        return call.fail(C0_RESOURCE_ALLOCATION_FAILED, "Cannot start notification thread");
    }
    if (!Configure(1, 1, 1)) {
        Stop();
        return call.failed();
    }
    complete_mode_ = 0;
    return call.ok();
}

void EventNotifier::Stop() {
    Call call("bv::EventNotifier::Stop", arg("hcam", hcam_));
    if (thread_) {
        Flush();
        port_.Post(end_of_thread_bytes, key_);
        if (!thread_->Finish()) life_->abandoned = true;
    }
    const std::lock_guard guard(pool_lock_);
    if (thread_) device_file_.CancelAll();
    thread_.reset();
    port_.Close();
    device_file_.Close();
    {
        const std::lock_guard info_guard(frame_info_lock_);
        latest_frame_info_.reset();
    }
    ++pool_;
    requests_.clear();
    requests_by_overlapped_.clear();
    callbacks_.Clear();
}

boolean16 EventNotifier::Flush() {
    const auto pending = static_cast<uns32>(port_.Outstanding());
    Call call("bv::EventNotifier::Flush", arg("pending", pending));
    if (pending == 0) return call.ok();
    if (dv_device_state(device_) == DEVICE_REMOVED)
        return call.fail(C7_DRIVER_COM_ERROR, "Device removed");
    // After a cancelled request there is nobody to take what comes back.
    if (life_->ended && !thread_->IsCurrent())
        return call.fail(C7_DRIVER_COM_ERROR, "Notification thread has ended");
    flush_done_event_.Reset();
    uns32 count = 0;
    {
        // From here on the thread gives no request back to the driver.
        const std::lock_guard guard(pool_lock_);
        flushing_ = 1;
        count = static_cast<uns32>(port_.Outstanding());
    }
    for (uns32 i = 0; i < count; ++i) {
        const ErrorHold hold;
        if (!dv_ioctl(device_->hcam, DV_EVENT_NOTIFICATION_FLUSH, nullptr, 0, nullptr, 0, nullptr,
                      nullptr)) {
            ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
            break;
        }
    }
    const bool done = AwaitDrain();
    flushing_ = 0;
    if (!done)
        return call.fail(C7_DRIVER_COM_ERROR, "Notifications not flushed within %u ms",
                         flush_limit_ms);
    return call.ok();
}

bool EventNotifier::AwaitDrain() {
    return thread_->Await(flush_done_event_, flush_limit_ms) ||
           (ThreadNeedsCaller() && DrainInPlace());
}

// The part of a flush that the thread would do, while its callback asks for one or waits for the
// caller.
bool EventNotifier::DrainInPlace() {
    std::array<platform::Completion, max_entries> entries;
    while (port_.Outstanding() != 0) {
        const size_t taken = port_.Take(entries, flush_limit_ms);
        if (taken == 0) return false;
        for (const platform::Completion& entry : Batch(entries).first(taken))
            if (entry.bytes == end_of_thread_bytes) life_->ended = true;
    }
    return true;
}

boolean16 EventNotifier::Configure(uns32 frame_count, boolean16 is_sequence, boolean16 force) {
    Call call("bv::EventNotifier::Configure", arg("frame_count", frame_count),
              arg("is_sequence", is_sequence), arg("force", force));
    if (life_->ended) return call.fail(C7_DRIVER_COM_ERROR, "Notification thread has ended");
    if (pool_complete_ && frame_count == frame_count_ && is_sequence == is_sequence_ && !force)
        return call.ok();
    pool_complete_ = false;
    frame_count_ = frame_count;
    is_sequence_ = is_sequence;
    if (!Flush()) return call.fail(C7_DRIVER_COM_ERROR, "Flush of notifications failed");
    if (!MakePool(FramesInFlight(frame_count, is_sequence == 1))) return call.failed();
    if (!SubmitPool())
        return call.fail(C7_DRIVER_COM_ERROR, "Cannot submit all notification requests");
    pool_complete_ = true;
    return call.ok();
}

bool EventNotifier::MakePool(size_t count) {
    const std::lock_guard guard(pool_lock_);
    ++pool_;
    // A late completion must not find the memory of a request that is gone, nor a flush that was
    // too late for one find another in its place.
    device_file_.Forget();
    device_file_.CancelAll();
    requests_.clear();
    requests_by_overlapped_.clear();
    try {
        requests_.reserve(count);
        requests_by_overlapped_.reserve(count);
        for (size_t i = 0; i < count; ++i) {
            auto request = std::make_unique<NotificationRequest>();
            request->hcam = hcam_;
            request->frame_info = MakeFrameInfo();
            if (!request->frame_info) return false;
            requests_by_overlapped_.emplace(&request->overlapped, request.get());
            requests_.push_back(std::move(request));
        }
    } catch (const std::bad_alloc&) {
        ApiGlobal::SetErrorCode(EXT_OPEN_EXCLUSIVE, C2_CANNOT_ALLOCATE_MEMORY);
        return false;
    }
    return true;
}

bool EventNotifier::SubmitPool() {
    // Only callers change the pool, and they come one at a time.
    for (const auto& request : requests_)
        if (!Submit(*request)) return false;
    return true;
}

bool EventNotifier::Submit(NotificationRequest& request) {
    request.overlapped = {};
    request.overlapped.in.mask =
        callbacks_.Wants(OX_CALLBACK_BOF) ? wanted_with_bof : wanted_always;
    const uint32_t result = device_file_.Submit(DV_EVENT_NOTIFICATION_REQUEST, request.overlapped);
    return result == platform::operation_in_progress;
}

// A caller that waited for the ready event knows that no batch is being processed. Where a callback
// can't go on without the caller there is nothing to wait for: the batch in progress notices a
// rebuilt pool.
void EventNotifier::WaitQuiet() {
    if (thread_) thread_->Await(ready_event_, quiet_limit_ms);
}

// From here on, frames that the driver has told of are nobody's news: the thread gives them back to
// the driver unseen, those that it has in hand and those on their way to it. False when it is held
// up in a callback.
bool EventNotifier::DropFormerRun() {
    {
        const std::lock_guard guard(pool_lock_);
        ++run_;
        if (dv_device_state(device_) == DEVICE_REMOVED || life_->ended ||
            port_.IsUntouched(requests_.size()))
            return true;
        dropped_event_.Reset();
        dropping_ = 1;
    }
    port_.Post(0, key_);
    const bool dropped = thread_->Await(dropped_event_, quiet_limit_ms);
    dropping_ = 0;
    // What the thread doesn't come to take off the way gives itself away later: new requests have
    // other identities.
    if (!dropped && port_.HasMore()) pool_complete_ = MakePool(requests_.size()) && SubmitPool();
    return dropped;
}

boolean16 EventNotifier::SetFrameCount(uns32 frame_count, boolean16 is_sequence, boolean16 force) {
    Call call("bv::EventNotifier::SetFrameCount", arg("frame_count", frame_count),
              arg("is_sequence", is_sequence), arg("force", force));
    if (DropFormerRun()) WaitQuiet();
    aborting_ = 0;
    return call.result(Configure(frame_count, is_sequence, force));
}

boolean16 EventNotifier::RegisterCallback(uns32 event, void* function, void* context, uns32 type) {
    Call call("bv::EventNotifier::RegisterCallback",
              enumerated("event", event, bv_text_callback_event), arg("function", function),
              arg("context", context), enumerated("type", type, bv_text_callback_type));
    if (life_->ended) return call.fail(C7_DRIVER_COM_ERROR, "Notification thread has ended");
    WaitQuiet();
    callbacks_.Set(event, {function, context, type});
    // Requests carry what they want, so a new wish takes new requests.
    return call.result(Configure(frame_count_, is_sequence_, 1));
}

boolean16 EventNotifier::DeregisterCallback(uns32 event) {
    Call call("bv::EventNotifier::DeregisterCallback",
              enumerated("event", event, bv_text_callback_event));
    WaitQuiet();
    callbacks_.Set(event, {});
    return call.result(Configure(frame_count_, is_sequence_, 1));
}

void EventNotifier::GetLatestFrameInfo(FRAME_INFO* frame_info) {
    const std::lock_guard guard(frame_info_lock_);
    if (latest_frame_info_) *frame_info = *latest_frame_info_;
}

void EventNotifier::ClearLatestFrameInfo() {
    const std::lock_guard guard(frame_info_lock_);
    bv_clear_frame_info_struct(latest_frame_info_.get());
}

}  // namespace bv
