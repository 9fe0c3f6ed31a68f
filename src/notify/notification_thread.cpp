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
        pending_.add(-static_cast<uns32>(taken));
        if (flushing_ != 0u) {
            FinishDrain();
            continue;
        }
        const Next next = ProcessBatch(life, Batch(entries).first(taken));
        if (life.abandoned) break;
        // A flush that began within the batch has kept requests from going back.
        if (flushing_ != 0u) FinishDrain();
        if (complete_mode_ != 1) ready_event_.Set();
        if (next == Next::end_thread) life.ended = true;
    }
    call.returns();
}

void EventNotifier::FinishDrain() {
    if (pending_ != 0u) return;
    flush_done_event_.Set();
    ready_event_.Set();
}

EventNotifier::Next EventNotifier::ProcessBatch(Life& life, Batch batch) {
    uns64 pool = 0;
    {
        const std::lock_guard guard(pool_lock_);
        pool = pool_;
    }
    for (const platform::Completion& entry : batch) {
        const Next next = Process(life, entry, pool);
        if (next != Next::go_on) return next;
    }
    return Next::go_on;
}

EventNotifier::Next EventNotifier::Process(Life& life, const platform::Completion& entry,
                                           uns64 pool) {
    if (entry.bytes == end_of_thread_bytes) return Next::end_thread;
    Report report;
    if (!Read(life, entry, pool, report)) return Next::leave_batch;
    if (report.status == NOTIFICATION_STATUS_CANCELLED) {
        port_.Post(end_of_thread_bytes, key_);
        return Next::end_thread;
    }
    if (report.flags & NOTIFICATION_EOF) {
        const std::lock_guard guard(frame_info_lock_);
        if (latest_frame_info_) *latest_frame_info_ = report.frame_info;
    }
    if (!DispatchAll(life, report)) return Next::leave_batch;
    Resubmit(life, entry, pool);
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

void EventNotifier::Resubmit(Life& life, const platform::Completion& entry, uns64 pool) {
    const std::lock_guard guard(pool_lock_);
    if (life.abandoned || pool != pool_ || flushing_ != 0u) return;
    const auto found = requests_by_overlapped_.find(entry.request);
    if (found != requests_by_overlapped_.end() && !Submit(*found->second))
        ApiGlobal::SetErrorCode(EXT_OPEN_EXCLUSIVE, C7_DRIVER_COM_ERROR);
}

// False when a callback has stopped the notifier.
bool EventNotifier::DispatchAll(Life& life, const Report& report) {
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
    if (aborting_ != 0) return true;
    if ((report.flags & NOTIFICATION_BOF) && !dispatch(OX_CALLBACK_BOF)) return false;
    return !(report.flags & NOTIFICATION_EOF) || dispatch(OX_CALLBACK_EOF);
}

bool EventNotifier::Dispatch(Life& life, uns32 event, uns64 address, const FRAME_INFO& frame_info) {
    CallbackEvent queued{hcam_, event, address, frame_info, Slot(event)};
    queued.Deliver();
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
