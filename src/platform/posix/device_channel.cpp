#include "platform/posix/device_channel.h"

#include <bit>
#include <cerrno>
#include <new>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include "platform/posix/device_path.h"

// The messages are the records of orvex_ddi.h as they lie in memory.
static_assert(std::endian::native == std::endian::little);

namespace platform {

bool DeviceChannel::Open(const char* path) {
    file_ = OpenDevicePath(path, is_socket_);
    file_open_ = static_cast<bool>(file_);
    return file_open_;
}

void DeviceChannel::CloseFile() {
    const std::lock_guard guard(lock_);
    ForgetLocked();
    file_open_ = false;
    // The descriptor itself stays until the port is through with it.
    if (is_socket_) shutdown(file_.get(), SHUT_RDWR);
}

bool DeviceChannel::OpenPort(uint64_t key) {
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

void DeviceChannel::ClosePort() {
    const std::lock_guard guard(lock_);
    port_open_ = false;
    eventfd_write(wake_.get(), 1);
}

void DeviceChannel::Append(Chain& chain, uint32_t slot) {
    slots_[slot].next = no_slot;
    (chain.count == 0 ? chain.first : slots_[chain.last].next) = slot;
    chain.last = slot;
    ++chain.count;
}

uint32_t DeviceChannel::RemoveFirst(Chain& chain) {
    const uint32_t slot = chain.first;
    chain.first = slots_[slot].next;
    --chain.count;
    return slot;
}

uint32_t DeviceChannel::TakeFreeSlot() {
    if (free_.count > 0) return RemoveFirst(free_);
    if (slots_.size() >= no_slot) return no_slot;
    try {
        slots_.emplace_back();
    } catch (const std::bad_alloc&) {
        return no_slot;
    }
    return static_cast<uint32_t>(slots_.size() - 1);
}

void DeviceChannel::ReleaseSlot(uint32_t slot) {
    Slot& home = slots_[slot];
    home.request = nullptr;
    home.use = SlotUse::free;
    if (++home.serial == 0) home.serial = 1;  // no identity is ever zero
    Append(free_, slot);
}

// 0 or the system's error.
int DeviceChannel::Send(const dv_file_request& message) {
    const ssize_t sent =
        is_socket_ ? send(file_.get(), &message, sizeof(message), MSG_DONTWAIT | MSG_NOSIGNAL)
                   : write(file_.get(), &message, sizeof(message));
    return sent >= 0 ? 0 : errno;
}

int DeviceChannel::SendSlot(uint32_t slot) {
    const Slot& home = slots_[slot];
    dv_file_request message{};
    message.operation = DV_FILE_SUBMIT;
    message.code = home.code;
    message.id = uint64_t{home.serial} << 32 | slot;
    message.in_size = sizeof(home.request->in);
    message.out_size = sizeof(home.request->out);
    message.in = home.request->in;
    return Send(message);
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

uint32_t DeviceChannel::Submit(uint32_t code, OverlappedRequest& request) {
    const std::lock_guard guard(lock_);
    if (!file_open_) return EBADF;
    const uint32_t slot = TakeFreeSlot();
    if (slot == no_slot) return ENOMEM;
    slots_[slot].request = &request;
    slots_[slot].code = code;
    const bool waits_in_line = unsent_.count > 0 || cancel_unsent_;
    const int error = dead_ ? EPIPE : waits_in_line ? EAGAIN : SendSlot(slot);
    if (error == 0) {
        slots_[slot].use = SlotUse::sent;
    } else if (IsGone(error) && !removal_returned_ && slots_.size() - free_.count == 1) {
        // The taking thread had all requests in hand when the driver went: this one tells it of
        // the removal, as those would that the driver had.
        slots_[slot].use = SlotUse::orphaned;
        Append(orphaned_, slot);
        if (port_open_) eventfd_write(wake_.get(), 1);
    } else if (IsFull(error)) {
        slots_[slot].use = SlotUse::unsent;
        Append(unsent_, slot);
        // The taking thread may be busy in a callback; trying at every submission would cost more
        // than the submission.
        if (unsent_.count % batch == 0) SendUnsent();
        WatchForRoom(unsent_.count > 0);
    } else {
        ReleaseSlot(slot);
        return static_cast<uint32_t>(error);
    }
    return operation_in_progress;
}

void DeviceChannel::SendUnsent() {
    if (dead_ || !file_open_) return;
    if (cancel_unsent_) {
        dv_file_request message{};
        message.operation = DV_FILE_CANCEL_ALL;
        if (IsFull(Send(message))) return;
        cancel_unsent_ = false;
    }
    // Any error but a full queue is the end of the driver, which the taking thread finds out.
    while (unsent_.count > 0 && SendSlot(unsent_.first) == 0)
        slots_[RemoveFirst(unsent_)].use = SlotUse::sent;
}

void DeviceChannel::WatchForRoom(bool watch) {
    if (watch == watching_for_room_ || !port_open_ || dead_) return;
    epoll_event of_file{EPOLLIN, {.fd = file_.get()}};
    if (watch) of_file.events |= EPOLLOUT;
    epoll_ctl(poll_.get(), EPOLL_CTL_MOD, file_.get(), &of_file);
    watching_for_room_ = watch;
}

bool DeviceChannel::CancelAll() {
    const std::lock_guard guard(lock_);
    if (!file_open_ || dead_) return false;
    while (unsent_.count > 0) {
        const uint32_t slot = RemoveFirst(unsent_);
        slots_[slot].use = SlotUse::cancelled;
        Append(cancelled_, slot);
    }
    cancel_unsent_ = true;
    SendUnsent();
    WatchForRoom(cancel_unsent_);
    if (port_open_ && cancelled_.count > 0) eventfd_write(wake_.get(), 1);
    return true;
}

void DeviceChannel::Forget() {
    const std::lock_guard guard(lock_);
    ForgetLocked();
}

void DeviceChannel::ForgetLocked() {
    unsent_ = {};
    cancelled_ = {};
    orphaned_ = {};
    for (uint32_t slot = 0; slot < slots_.size(); ++slot)
        if (slots_[slot].use != SlotUse::free) ReleaseSlot(slot);
    WatchForRoom(cancel_unsent_);
}

bool DeviceChannel::Post(uint32_t bytes, uint64_t key) {
    const std::lock_guard guard(lock_);
    if (!port_open_) return false;
    posted_.push_back({key, nullptr, bytes});
    return eventfd_write(wake_.get(), 1) == 0;
}

}  // namespace platform
