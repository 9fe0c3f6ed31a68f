// The thread of an event notifier.

#include <utility>

#include "device/ddi.h"
#include "log/enum_texts.h"
#include "notify/event_notifier.h"
#include "notify/notification_end.h"
#include "state/call.h"
#include "state/camera_tables.h"

namespace bv {

void EventNotifier::Run(Life& life) {
    Call call("bv::EventNotifier::Run", arg("hcam", hcam_));
    std::array<platform::Completion, max_entries> entries;
    while (!life.abandoned && !life.ended) {
        const size_t taken = port_.Take(entries);
        if (taken == 0) break;
        ready_event_.Reset();
        const Next next = ProcessBatch(life, Batch(entries).first(taken));
        if (life.abandoned) break;
        // Known before the thread is quiet, so that a caller who waited for that knows it too.
        if (next == Next::end_thread) life.ended = true;
        if (dropping_ != 0 && !port_.HasMore()) dropped_event_.Set();
        // Requests don't go back to the driver during a flush.
        if (flushing_ != 0u && port_.Outstanding() == 0) flush_done_event_.Set();
        if (complete_mode_ != 1) ready_event_.Set();
    }
    call.returns();
}

EventNotifier::Next EventNotifier::ProcessBatch(Life& life, Batch batch) {
    Origin origin;
    {
        const std::lock_guard guard(pool_lock_);
        if (flushing_ != 0u) return Next::go_on;
        origin = {pool_, dropping_ != 0 ? run_ - 1 : run_.load()};
    }
    for (const platform::Completion& entry : batch) {
        const Next next = Process(life, entry, origin);
        if (next != Next::go_on) return next;
    }
    return Next::go_on;
}

EventNotifier::Next EventNotifier::Process(Life& life, const platform::Completion& entry,
                                           const Origin& origin) {
    if (entry.bytes == end_of_thread_bytes) return Next::end_thread;
    if (!entry.request) return Next::go_on;  // posted only to wake the thread
    Report report;
    if (!Read(life, entry, origin.pool, report)) return Next::leave_batch;
    if (report.status == NOTIFICATION_STATUS_CANCELLED) {
        port_.Post(end_of_thread_bytes, key_);
        return Next::end_thread;
    }
    if (report.flags & NOTIFICATION_EOF) KeepLatest(report, origin.run);
    if (!DispatchAll(life, report, origin.run)) return Next::leave_batch;
    Resubmit(life, entry, origin.pool);
    if (complete_mode_ == 1 && (report.flags & NOTIFICATION_COMPLETE)) ready_event_.Set();
    return Next::go_on;
}

// False when the pool of the batch is gone.
bool EventNotifier::Read(Life& life, const platform::Completion& entry, uns64 pool,
                         Report& report) {
    const std::lock_guard guard(pool_lock_);
    if (life.abandoned || pool != pool_) return false;
    const auto found = requests_by_overlapped_.find(entry.request);
    if (found == requests_by_overlapped_.end()) return true;
    const dv_notification_report& out = entry.request->out;
    FRAME_INFO& info = *found->second->frame_info;
    info.FrameNr = static_cast<int32>(out.flags & NOTIFICATION_EOF ? out.frame_number_eof
                                                                   : out.frame_number_bof);
    info.TimeStampEOF = out.time_stamp_eof;
    info.TimeStampBOF = out.time_stamp_bof;
    info.ReadoutTime = static_cast<int32>(out.readout_time);
    info.hCam = static_cast<int16>(found->second->hcam);
    report = {out.status, out.flags, info};
    return true;
}

void EventNotifier::KeepLatest(const Report& report, uns32 run) {
    const std::lock_guard guard(frame_info_lock_);
    // A run that begins changes the number first and then clears the record.
    if (latest_frame_info_ && run == run_) *latest_frame_info_ = report.frame_info;
}

void EventNotifier::Resubmit(Life& life, const platform::Completion& entry, uns64 pool) {
    const std::lock_guard guard(pool_lock_);
    if (life.abandoned || pool != pool_ || flushing_ != 0u) return;
    const auto found = requests_by_overlapped_.find(entry.request);
    if (found != requests_by_overlapped_.end() && !Submit(*found->second))
        ApiGlobal::SetErrorCode(EXT_OPEN_EXCLUSIVE, C7_DRIVER_COM_ERROR);
}

// False when a callback has stopped the notifier.
bool EventNotifier::DispatchAll(Life& life, const Report& report, uns32 run) {
    Call call("bv::EventNotifier::DispatchAll",
              hex_enumerated("flags", report.flags, bv_text_notification),
              arg("FrameNr", report.frame_info.FrameNr));
    const uns64 address = FrameAddress(report);
    const auto dispatch = [&](uns32 event) {
        return Dispatch(life, event, address, report.frame_info);
    };
    if (report.flags & NOTIFICATION_DEVICE_REMOVAL) {
        dv_device_set_state(device_, DEVICE_REMOVED);
        // A dead driver gives every pending request back as a removal, thousands of them in a long
        // run, and it is one camera that went: the application hears of it once.
        if (!std::exchange(life.removal_told, true) && !dispatch(OX_CALLBACK_CAM_REMOVED))
            return false;
    }
    if (report.flags & NOTIFICATION_SYS_SUSPEND) dv_device_set_state(device_, DEVICE_SUSPENDED);
    if (report.flags & NOTIFICATION_BUS_RESET) {
        if (dv_device_state(device_) == DEVICE_SUSPENDED) {
            dv_device_set_state(device_, DEVICE_RESUMED);
            life.removal_told = false;
            if (!dispatch(OX_CALLBACK_CAM_RESUMED)) return false;
        }
        if (!dispatch(OX_CALLBACK_CHECK_CAMS)) return false;
    }
    for (const auto& [flag, event] :
         {std::pair{NOTIFICATION_BOF, OX_CALLBACK_BOF}, {NOTIFICATION_EOF, OX_CALLBACK_EOF}}) {
        const bool is_news = aborting_ == 0 && run == run_;
        if ((report.flags & flag) && is_news && !dispatch(event)) return false;
    }
    return true;
}

bool EventNotifier::Dispatch(Life& life, uns32 event, uns64 address, const FRAME_INFO& frame_info) {
    CallbackEvent queued{hcam_, event, address, frame_info};
    callbacks_.Deliver(queued);
    return !life.abandoned;
}

uns64 EventNotifier::FrameAddress(const Report& report) const {
    const uns32 frame_count = frame_count_;
    if (!(report.flags & NOTIFICATION_BOF_EOF) || frame_count == 0 || !pg_decode_info ||
        hcam_ >= total_cams)
        return 0;
    const decode_info_type& decode = pg_decode_info[hcam_];
    const uns32 index = (static_cast<uns32>(report.frame_info.FrameNr) - 1) % frame_count;
    return reinterpret_cast<uintptr_t>(decode.pixel_stream.get()) +
           uns64{index} * decode.frame_bytes;
}

}  // namespace bv
