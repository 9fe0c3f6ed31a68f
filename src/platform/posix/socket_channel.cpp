#include "platform/posix/socket_channel.h"

#include <bit>
#include <cerrno>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include "platform/posix/device_path.h"

// The messages are the records of orvex_ddi.h as they lie in memory.
static_assert(std::endian::native == std::endian::little);

namespace platform {

std::shared_ptr<DeviceChannel> OpenDeviceChannel(const char* path) {
    auto channel = std::make_shared<SocketChannel>();
    return channel->Open(path) ? channel : nullptr;
}

bool SocketChannel::Open(const char* path) {
    file_ = OpenDevicePath(path, is_socket_);
    file_open_ = static_cast<bool>(file_);
    return file_open_;
}

void SocketChannel::CloseFile() {
    const std::lock_guard guard(lock_);
    ForgetLocked();
    file_open_ = false;
    // The descriptor itself stays until the port is through with it.
    if (is_socket_) shutdown(file_.get(), SHUT_RDWR);
}

bool SocketChannel::OpenPort(uint64_t key) {
    const std::lock_guard guard(lock_);
    if (!file_open_ || poll_) return false;
    poll_ = Descriptor(epoll_create1(EPOLL_CLOEXEC));
    wake_ = Descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    epoll_event of_file{EPOLLIN, {.fd = file_.get()}};
    epoll_event of_wake{EPOLLIN, {.fd = wake_.get()}};
    if (!poll_ || !wake_ || epoll_ctl(poll_.get(), EPOLL_CTL_ADD, file_.get(), &of_file) != 0 ||
        epoll_ctl(poll_.get(), EPOLL_CTL_ADD, wake_.get(), &of_wake) != 0)
        return false;
    key_ = key;
    port_open_ = true;
    WatchForRoom(unsent_.count > 0);
    return true;
}

void SocketChannel::ClosePort() {
    const std::lock_guard guard(lock_);
    port_open_ = false;
    eventfd_write(wake_.get(), 1);
}

// 0 or the system's error.
int SocketChannel::Send(const dv_file_request& message) {
    const ssize_t sent =
        is_socket_ ? send(file_.get(), &message, sizeof(message), MSG_DONTWAIT | MSG_NOSIGNAL)
                   : write(file_.get(), &message, sizeof(message));
    return sent >= 0 ? 0 : errno;
}

namespace {

// The driver's queue is full; there will be room when it has read.
bool IsFull(int error) {
    return error == EAGAIN || error == ENOBUFS || error == EINTR;
}

bool IsGone(int error) {
    return error == EPIPE || error == ECONNRESET || error == ENOTCONN;
}

}  // namespace

uint32_t SocketChannel::Submit(uint32_t code, OverlappedRequest& request) {
    const std::lock_guard guard(lock_);
    if (!file_open_) return EBADF;
    const uint32_t slot = slots_.Take(request, code);
    if (slot == RequestSlots::no_slot) return ENOMEM;
    const bool waits_in_line = unsent_.count > 0 || cancel_unsent_;
    const int error = dead_ ? EPIPE : waits_in_line ? EAGAIN : Send(slots_.Message(slot));
    if (error == 0) {
        slots_[slot].use = Use::sent;
    } else if (IsGone(error) && !removal_returned_ && slots_.InUse() == 1) {
        // The taking thread had all requests in hand when the driver went: this one tells it of
        // the removal, as those would that the driver had.
        slots_.Append(orphaned_, slot, Use::orphaned);
        if (port_open_) eventfd_write(wake_.get(), 1);
    } else if (IsFull(error)) {
        slots_.Append(unsent_, slot, Use::unsent);
        // The taking thread may be busy in a callback; trying at every submission would cost more
        // than the submission.
        if (unsent_.count % batch == 0) SendUnsent();
        WatchForRoom(unsent_.count > 0);
    } else {
        slots_.Release(slot);
        return static_cast<uint32_t>(error);
    }
    return operation_in_progress;
}

void SocketChannel::SendUnsent() {
    if (dead_ || !file_open_) return;
    if (cancel_unsent_) {
        dv_file_request message{};
        message.operation = DV_FILE_CANCEL_ALL;
        if (IsFull(Send(message))) return;
        cancel_unsent_ = false;
    }
    // Any error but a full queue is the end of the driver, which the taking thread finds out.
    while (unsent_.count > 0 && Send(slots_.Message(unsent_.first)) == 0)
        slots_[slots_.RemoveFirst(unsent_)].use = Use::sent;
}

void SocketChannel::WatchForRoom(bool watch) {
    if (watch == watching_for_room_ || !port_open_ || dead_) return;
    epoll_event of_file{EPOLLIN, {.fd = file_.get()}};
    if (watch) of_file.events |= EPOLLOUT;
    epoll_ctl(poll_.get(), EPOLL_CTL_MOD, file_.get(), &of_file);
    watching_for_room_ = watch;
}

bool SocketChannel::CancelAll() {
    const std::lock_guard guard(lock_);
    if (!file_open_ || dead_) return false;
    while (unsent_.count > 0)
        slots_.Append(cancelled_, slots_.RemoveFirst(unsent_), Use::cancelled);
    cancel_unsent_ = true;
    SendUnsent();
    WatchForRoom(cancel_unsent_);
    if (port_open_ && cancelled_.count > 0) eventfd_write(wake_.get(), 1);
    return true;
}

void SocketChannel::Forget() {
    const std::lock_guard guard(lock_);
    ForgetLocked();
}

void SocketChannel::ForgetLocked() {
    unsent_ = {};
    cancelled_ = {};
    orphaned_ = {};
    slots_.ReleaseAll();
    WatchForRoom(cancel_unsent_);
}

bool SocketChannel::Post(uint32_t bytes, uint64_t key) {
    const std::lock_guard guard(lock_);
    if (!port_open_) return false;
    posted_.push_back({key, nullptr, bytes});
    return eventfd_write(wake_.get(), 1) == 0;
}

}  // namespace platform
