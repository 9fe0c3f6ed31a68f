#include "engine/notification_channel.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace engine {
namespace {

// Messages moved by one system call.
constexpr size_t batch = 64;
constexpr int retry_accept_ms = 100;
// Host and driver move data past each other only while neither end is wedged.
constexpr std::chrono::milliseconds drain_limit{200};

void CloseDescriptor(int& descriptor) {
    if (descriptor >= 0) close(descriptor);
    descriptor = -1;
}

template <typename Message>
void FillHeaders(std::array<mmsghdr, batch>& headers, std::array<iovec, batch>& vectors,
                 std::array<Message, batch>& messages) {
    for (size_t i = 0; i < batch; ++i) {
        vectors[i] = {.iov_base = &messages[i], .iov_len = sizeof(Message)};
        headers[i] = {};
        headers[i].msg_hdr.msg_iov = &vectors[i];
        headers[i].msg_hdr.msg_iovlen = 1;
    }
}

}  // namespace

bool NotificationChannel::Listen(const std::string& path) {
    if (Listening()) return true;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) return false;
    std::memcpy(address.sun_path, path.c_str(), path.size());
    unlink(path.c_str());
    listener_ = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    wake_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (listener_ < 0 || wake_ < 0 ||
        bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        listen(listener_, 4) != 0) {
        CloseDescriptor(listener_);
        CloseDescriptor(wake_);
        return false;
    }
    path_ = path;
    stop_ = false;
    wake_sent_ = false;
    thread_ = std::thread([this] { Run(); });
    return true;
}

void NotificationChannel::Close() {
    if (!Listening()) return;
    Die();
    thread_.join();
    thread_ = {};
    CloseDescriptor(wake_);
    const std::lock_guard hold(lock_);
    kept_ = {};
    owed_flushes_ = 0;
}

void NotificationChannel::Die() {
    const std::lock_guard hold(lock_);
    stop_ = true;
    Wake();
}

// Called with the lock held. One wake-up is enough until the thread has looked.
void NotificationChannel::Wake() {
    if (wake_sent_ || wake_ < 0) return;
    wake_sent_ = true;
    const uint64_t one = 1;
    // The counter of an eventfd cannot be full here, so the only outcome is success.
    if (write(wake_, &one, sizeof(one)) < 0) wake_sent_ = false;
}

bool NotificationChannel::Connect(const dv_file_host& host) {
    const std::lock_guard hold(lock_);
    if (!Listening() || stop_ || host.complete == nullptr || host.gone == nullptr) return false;
    ForgetPeer();
    host_ = host;
    return true;
}

bool NotificationChannel::Submit(const dv_file_request& message) {
    const std::lock_guard hold(lock_);
    if (!host_) return false;
    TakeRequest(message);
    SettleFlushes();
    return true;
}

void NotificationChannel::Disconnect() {
    const std::lock_guard hold(lock_);
    if (!host_) return;
    host_.reset();
    ForgetPeer();
}

void NotificationChannel::Run() {
    for (;;) {
        {
            std::unique_lock hold(lock_);
            if (stop_) {
                CloseDescriptor(listener_);
                ForgetPeer();
                unlink(path_.c_str());
                return;
            }
        }
        const bool blocked = !Send();
        // Without a descriptor for it, a connection goes on asking to be taken.
        const int listener = accept_refused_ ? -1 : listener_;
        const int limit = accept_refused_ ? retry_accept_ms : -1;
        std::array<pollfd, 3> waits = {{{.fd = wake_, .events = POLLIN, .revents = 0},
                                        {.fd = listener, .events = POLLIN, .revents = 0},
                                        {.fd = Peer(), .events = POLLIN, .revents = 0}}};
        if (blocked) waits[2].events |= POLLOUT;
        poll(waits.data(), waits.size(), limit);
        const std::lock_guard hold(lock_);
        if (waits[0].revents != 0) {
            uint64_t count = 0;
            // The counter of an event descriptor that never blocks.
            // NOLINTNEXTLINE(clang-analyzer-unix.BlockInCriticalSection)
            if (read(wake_, &count, sizeof(count)) > 0) wake_sent_ = false;
        }
        Accept();
        if (!Receive()) ForgetPeer();
        SettleFlushes();
    }
}

int NotificationChannel::Peer() {
    const std::lock_guard hold(lock_);
    return peer_;
}

// Called with the lock held. A new connection takes the place of the one before.
void NotificationChannel::Accept() {
    const int descriptor = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    accept_refused_ = descriptor < 0 && errno != EAGAIN && errno != EWOULDBLOCK;
    if (descriptor < 0) return;
    ForgetPeer();
    peer_ = descriptor;
}

bool NotificationChannel::Receive() {
    std::array<dv_file_request, batch> messages;
    std::array<mmsghdr, batch> headers;
    std::array<iovec, batch> vectors;
    while (peer_ >= 0) {
        FillHeaders(headers, vectors, messages);
        const int count = recvmmsg(peer_, headers.data(), batch, MSG_DONTWAIT, nullptr);
        if (count < 0) return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
        for (size_t i = 0; i < static_cast<size_t>(count); ++i) {
            // An empty message on such a socket is its end.
            if (headers[i].msg_len == 0) return false;
            if (headers[i].msg_len == sizeof(dv_file_request)) TakeRequest(messages[i]);
        }
        if (static_cast<size_t>(count) < batch) return true;
    }
    return true;
}

void NotificationChannel::TakeRequest(const dv_file_request& message) {
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
    outgoing_.Push(completion);
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
    // A request that the host submitted before this is pending, although the thread may not have
    // come to read it.
    if (pending_.Empty()) Receive();
    const dv_notification_report merged = Merged(report);
    if (CompleteMatching(merged)) {
        kept_ = {};
    } else if (pending_.Empty()) {
        // With requests pending, nobody asked for this.
        kept_ = merged;
    }
    if (!outgoing_.Empty() && !SendAtOnce()) Wake();
}

// Called with the lock held. A report that nothing is in front of goes out from here, which saves
// the application the time in which the thread would wake up. False when it stays for the thread.
bool NotificationChannel::SendAtOnce() {
    if (peer_ < 0 || sending_ > 0 || outgoing_.Size() != 1) return false;
    const ssize_t sent =
        send(peer_, &outgoing_.Front(), sizeof(dv_file_completion), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent != sizeof(dv_file_completion)) return false;
    outgoing_.Pop();
    return true;
}

void NotificationChannel::FlushOne() {
    const std::lock_guard hold(lock_);
    // What was sent before this call lies in the socket at least, a cancellation too, which does
    // not concern this flush.
    if (peer_ < 0) Accept();
    const bool alive = Receive();
    ++owed_flushes_;
    // Only the thread may change from a dead connection to the next.
    if (alive) SettleFlushes();
    if (owed_flushes_ > 0 || !outgoing_.Empty()) Wake();
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
    Wake();
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
    std::unique_lock hold(lock_);
    sent_.wait_for(hold, drain_limit,
                   [this] { return (outgoing_.Empty() && sending_ == 0) || peer_ < 0; });
}

// False when the socket takes no more for now.
bool NotificationChannel::Send() {
    std::array<dv_file_completion, batch> messages;
    std::array<mmsghdr, batch> headers;
    std::array<iovec, batch> vectors;
    for (;;) {
        int peer = -1;
        {
            const std::lock_guard hold(lock_);
            if (peer_ < 0) outgoing_.Clear();
            peer = peer_;
            sending_ = std::min(outgoing_.Size(), batch);
            for (size_t i = 0; i < sending_; ++i) messages[i] = outgoing_.At(i);
            if (sending_ == 0) {
                sent_.notify_all();
                return true;
            }
        }
        FillHeaders(headers, vectors, messages);
        const int count = sendmmsg(peer, headers.data(), static_cast<unsigned>(sending_),
                                   MSG_DONTWAIT | MSG_NOSIGNAL);
        const bool full = count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
        const std::lock_guard hold(lock_);
        sending_ = 0;
        if (full) return false;
        if (count < 0) {
            ForgetPeer();
            continue;
        }
        for (int i = 0; i < count; ++i) outgoing_.Pop();
    }
}

void NotificationChannel::ForgetPeer() {
    CloseDescriptor(peer_);
    if (const auto host = std::exchange(host_, std::nullopt)) host->gone(host->context);
    pending_.Clear();
    outgoing_.Clear();
    wanted_ = 0;
    sent_.notify_all();
}

}  // namespace engine
