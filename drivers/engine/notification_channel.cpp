#include "engine/notification_channel.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace engine {
namespace {

// Host and driver move data past each other only while neither end is wedged.
constexpr std::chrono::milliseconds drain_limit{200};

}  // namespace

bool NotificationChannel::Listen(const std::string& path) {
    if (Listening()) return true;
    if (!socket_->Listen(path)) return false;
    const std::lock_guard hold(lock_);
    listening_ = true;
    dead_ = false;
    return true;
}

void NotificationChannel::Close() {
    if (!Listening()) return;
    Die();
    socket_->Close();
    const std::lock_guard hold(lock_);
    listening_ = false;
    kept_ = {};
    owed_flushes_ = 0;
}

void NotificationChannel::Die() {
    const std::lock_guard hold(lock_);
    dead_ = true;
    HostGone();
    socket_->Stop();
}

bool NotificationChannel::Connect(const dv_file_host& host) {
    const std::lock_guard hold(lock_);
    if (!Listening() || dead_ || host.complete == nullptr || host.gone == nullptr) return false;
    ForgetHost();
    host_ = host;
    return true;
}

bool NotificationChannel::Submit(const dv_file_request& message) {
    const std::lock_guard hold(lock_);
    if (!host_) return false;
    Take(message);
    SettleFlushes();
    return true;
}

void NotificationChannel::Disconnect() {
    const std::lock_guard hold(lock_);
    if (!host_) return;
    host_.reset();
    ForgetHost();
}

void NotificationChannel::Take(const dv_file_request& message) {
    if (message.operation == DV_FILE_CANCEL_ALL) {
        // What comes behind it is none of the requests that a flush was meant for.
        owed_flushes_ = 0;
        return CancelAll();
    }
    if (message.operation != DV_FILE_SUBMIT) return;
    if (message.code != DV_EVENT_NOTIFICATION_REQUEST) {
        return Give({.id = message.id, .result = 1, .bytes = 0, .out = {}});
    }
    if (pending_.Empty()) one_mask_ = true;
    if (!pending_.Empty() && pending_.Front().mask != message.in.mask) one_mask_ = false;
    pending_.Push({.id = message.id, .mask = message.in.mask});
    wanted_ = one_mask_ ? message.in.mask : wanted_ | message.in.mask;
    if (kept_.flags != 0) CompleteKept();
}

void NotificationChannel::Give(const dv_file_completion& completion) {
    if (host_) return host_->complete(host_->context, &completion);
    socket_->Send(completion);
}

void NotificationChannel::Complete(size_t index, const dv_notification_report& report) {
    const uint64_t id = pending_.At(index).id;
    pending_.Erase(index);
    Give({.id = id, .result = 0, .bytes = sizeof(dv_notification_report), .out = report});
}

bool NotificationChannel::CompleteMatching(const dv_notification_report& report) {
    const size_t searched = one_mask_ ? std::min<size_t>(pending_.Size(), 1) : pending_.Size();
    for (size_t i = 0; i < searched; ++i) {
        if ((pending_.At(i).mask & report.flags) == 0) continue;
        Complete(i, report);
        return true;
    }
    return false;
}

void NotificationChannel::CompleteKept() {
    if (CompleteMatching(kept_)) kept_ = {};
}

// The begin of the next frame must not hide the end of the one before.
dv_notification_report NotificationChannel::Merged(const dv_notification_report& report) const {
    dv_notification_report merged = kept_;
    if ((report.flags & NOTIFICATION_EOF) != 0) {
        merged = report;
    } else if ((report.flags & NOTIFICATION_BOF) != 0) {
        merged.frame_number_bof = report.frame_number_bof;
        merged.time_stamp_bof = report.time_stamp_bof;
    }
    merged.flags = kept_.flags | report.flags;
    return merged;
}

void NotificationChannel::Report(const dv_notification_report& report) {
    const std::lock_guard hold(lock_);
    // A request that the host submitted before this is pending, although nobody may have come to
    // read it.
    if (pending_.Empty()) socket_->Receive();
    const dv_notification_report merged = Merged(report);
    if (CompleteMatching(merged)) {
        kept_ = {};
    } else if (pending_.Empty()) {
        // With requests pending, nobody asked for this.
        kept_ = merged;
    }
    if (!host_) socket_->SendAtOnce();
}

void NotificationChannel::FlushOne() {
    const std::lock_guard hold(lock_);
    // What was sent before this call lies in the socket at least, a cancellation too, which does
    // not concern this flush.
    if (!socket_->Connected()) socket_->Accept();
    const bool alive = socket_->Receive();
    ++owed_flushes_;
    // Only the socket's thread may change from a dead connection to the next.
    if (alive) SettleFlushes();
    if (!host_) socket_->Wake();
}

// Each flush gives one request back. Requests may still be on their way when it comes, more of them
// than a socket holds; it then takes the next that arrives.
void NotificationChannel::SettleFlushes() {
    for (; owed_flushes_ > 0 && !pending_.Empty(); --owed_flushes_) {
        dv_notification_report report{};
        report.flags = NOTIFICATION_FLUSH;
        Complete(0, report);
    }
}

void NotificationChannel::CancelPending() {
    const std::lock_guard hold(lock_);
    CancelAll();
    socket_->Wake();
}

void NotificationChannel::CancelAll() {
    dv_notification_report report{};
    report.status = NOTIFICATION_STATUS_CANCELLED;
    while (!pending_.Empty()) Complete(0, report);
}

void NotificationChannel::ForgetFrames() {
    const std::lock_guard hold(lock_);
    kept_.flags &= ~uint32_t{NOTIFICATION_BOF_EOF};
}

void NotificationChannel::DropFrames() {
    ForgetFrames();
    socket_->Drain(drain_limit);
}

void NotificationChannel::ForgetHost() {
    socket_->Disconnect();
    HostGone();
}

void NotificationChannel::HostGone() {
    if (const auto host = std::exchange(host_, std::nullopt)) host->gone(host->context);
    pending_.Clear();
    wanted_ = 0;
}

}  // namespace engine
