// The taking side of a socket channel.

#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include "platform/posix/socket_channel.h"
#include "platform/system.h"

namespace platform {

size_t SocketChannel::Take(std::span<Completion> entries, uint32_t limit_ms) {
    const int64_t deadline = PerformanceCounter() / 1'000'000 + limit_ms;
    for (;;) {
        size_t taken = 0;
        {
            const std::lock_guard guard(lock_);
            if (!port_open_) return 0;
            taken = TakeLocal(entries);
            if (unsent_.count > 0 || cancel_unsent_) SendUnsent();
            WatchForRoom(unsent_.count > 0 || cancel_unsent_);
        }
        if (readable_ && !at_end_) taken += TakeMessages(entries.subspan(taken));
        if (at_end_) {
            const std::lock_guard guard(lock_);
            Die();
            taken += TakeOrphans(entries.subspan(taken));
        }
        if (taken > 0 || entries.empty()) return taken;
        if (readable_ && !at_end_) continue;

        int wait_ms = -1;
        if (limit_ms != Event::no_limit) {
            const int64_t left = deadline - PerformanceCounter() / 1'000'000;
            if (left < 0) return 0;
            wait_ms = static_cast<int>(std::min<int64_t>(left, INT32_MAX));
        }
        std::array<epoll_event, 2> ready;
        const int count = epoll_wait(poll_.get(), ready.data(), ready.size(), wait_ms);
        for (int i = 0; i < count; ++i) {
            if (ready[static_cast<size_t>(i)].data.fd == wake_.get()) {
                eventfd_t value = 0;
                eventfd_read(wake_.get(), &value);
            } else if (ready[static_cast<size_t>(i)].events & ~uint32_t{EPOLLOUT}) {
                readable_ = true;
            }
        }
    }
}

// Posts come first, so that no flood of a driver can hold back the end of a thread.
size_t SocketChannel::TakeLocal(std::span<Completion> entries) {
    size_t taken = 0;
    while (taken < entries.size() && !posted_.empty()) {
        entries[taken++] = posted_.front();
        posted_.pop_front();
    }
    while (taken < entries.size() && cancelled_.count > 0)
        entries[taken++] = slots_.ReturnCancelled(slots_.RemoveFirst(cancelled_), key_);
    return taken;
}

size_t SocketChannel::TakeMessages(std::span<Completion> entries) {
    const size_t count = std::min(entries.size(), batch);
    if (count == 0) return 0;
    const std::lock_guard receive_guard(receive_lock_);
    const size_t received = is_socket_ ? ReceiveFromSocket(count) : ReceiveFromDevice(count);
    size_t taken = 0;
    const std::lock_guard guard(lock_);
    for (size_t i = 0; i < received; ++i) {
        if (messages_[i].size != sizeof(dv_file_completion)) continue;
        const uint32_t slot = slots_.Accept(messages_[i].completion);
        if (slot != RequestSlots::no_slot) entries[taken++] = slots_.Return(slot, key_);
    }
    return taken;
}

size_t SocketChannel::ReceiveFromSocket(size_t count) {
    std::array<iovec, batch> parts;
    std::array<mmsghdr, batch> headers{};
    for (size_t i = 0; i < count; ++i) {
        parts[i] = {&messages_[i].completion, sizeof(messages_[i].completion)};
        headers[i].msg_hdr.msg_iov = &parts[i];
        headers[i].msg_hdr.msg_iovlen = 1;
    }
    const int received =
        recvmmsg(file_.get(), headers.data(), static_cast<unsigned>(count), MSG_DONTWAIT, nullptr);
    if (received < 0) {
        // A reset only says that the driver left requests unread; its completions may still be
        // there.
        if (errno == EINTR || errno == ECONNRESET) return 0;
        readable_ = false;
        at_end_ = errno != EAGAIN || HungUp();
        return 0;
    }
    const auto messages = static_cast<size_t>(received);
    readable_ = messages == count;
    for (size_t i = 0; i < messages; ++i) {
        const bool cut = headers[i].msg_hdr.msg_flags & MSG_TRUNC;
        messages_[i].size = cut ? 0 : headers[i].msg_len;
        // An end of file reads as empty messages, but so does an empty message.
        if (!cut && headers[i].msg_len == 0 && HungUp()) at_end_ = true;
    }
    return messages;
}

size_t SocketChannel::ReceiveFromDevice(size_t count) {
    size_t received = 0;
    readable_ = false;
    while (received < count) {
        // The device was opened so that it never blocks.
        // NOLINTBEGIN(clang-analyzer-unix.BlockInCriticalSection)
        const ssize_t size =
            read(file_.get(), &messages_[received].completion, sizeof(dv_file_completion));
        // NOLINTEND(clang-analyzer-unix.BlockInCriticalSection)
        if (size < 0 && errno == EINTR) continue;
        if (size <= 0) {
            at_end_ = size == 0 || errno != EAGAIN || HungUp();
            return received;
        }
        messages_[received++].size = static_cast<size_t>(size);
    }
    readable_ = true;
    return received;
}

bool SocketChannel::Polls(short event) const {
    pollfd state{file_.get(), event, 0};
    return poll(&state, 1, 0) > 0 && (state.revents & (event | POLLHUP | POLLERR)) != 0;
}

bool SocketChannel::HungUp() const {
    return Polls(POLLRDHUP);
}

size_t SocketChannel::Outstanding() {
    const std::lock_guard guard(lock_);
    return slots_.InUse();
}

bool SocketChannel::HasMore() {
    const std::scoped_lock guard(receive_lock_, lock_);
    return !dead_ && Polls(POLLIN);
}

bool SocketChannel::IsUntouched(size_t count) {
    const std::scoped_lock guard(receive_lock_, lock_);
    const bool all = slots_.InUse() == count && cancelled_.count + orphaned_.count == 0;
    return all && !dead_ && !Polls(POLLIN);
}

void SocketChannel::Die() {
    if (dead_) return;
    dead_ = true;
    epoll_ctl(poll_.get(), EPOLL_CTL_DEL, file_.get(), nullptr);
    unsent_ = {};
}

size_t SocketChannel::TakeOrphans(std::span<Completion> entries) {
    size_t taken = 0;
    for (; taken < entries.size() && orphans_looked_at_ < slots_.Size(); ++orphans_looked_at_) {
        const Use use = slots_[orphans_looked_at_].use;
        if (use == Use::sent || use == Use::unsent)
            entries[taken++] = ReturnOrphan(orphans_looked_at_);
    }
    while (taken < entries.size() && orphaned_.count > 0)
        entries[taken++] = ReturnOrphan(slots_.RemoveFirst(orphaned_));
    return taken;
}

Completion SocketChannel::ReturnOrphan(uint32_t slot) {
    removal_returned_ = true;
    return slots_.ReturnRemoved(slot, key_);
}

}  // namespace platform
