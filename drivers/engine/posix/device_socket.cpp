#include "engine/device_socket.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <utility>

#include "engine/ring.h"

namespace engine {
namespace {

// Messages moved by one system call.
constexpr size_t batch = 64;
constexpr int retry_accept_ms = 100;

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

// Served by a thread, whose calls of the socket the lock does not cover.
class UnixSocket : public DeviceSocket {
  public:
    UnixSocket(std::mutex& lock, MessageTaker& taker) : lock_(lock), taker_(taker) {}

    bool Listen(const std::string& path) override;
    void Close() override;
    void Stop() override;
    bool Connected() const override { return peer_ >= 0; }
    void Disconnect() override;
    void Accept() override;
    bool Receive() override;
    void Send(const dv_file_completion& message) override { outgoing_.Push(message); }
    void SendAtOnce() override;
    void Wake() override;
    void Drain(std::chrono::milliseconds limit) override;

  private:
    void Run();
    bool SendAll();
    int Peer();
    void ForgetPeer();

    std::mutex& lock_;
    MessageTaker& taker_;
    std::condition_variable sent_;
    Ring<dv_file_completion> outgoing_;
    size_t sending_ = 0;
    std::string path_;
    int listener_ = -1;
    int peer_ = -1;
    int wake_ = -1;
    bool wake_sent_ = false;
    bool stop_ = false;
    std::atomic<bool> accept_refused_ = false;
    std::thread thread_;
};

bool UnixSocket::Listen(const std::string& path) {
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

void UnixSocket::Close() {
    thread_.join();
    CloseDescriptor(wake_);
}

void UnixSocket::Stop() {
    stop_ = true;
    Wake();
}

// One wake-up is enough until the thread has looked.
void UnixSocket::Wake() {
    if (wake_sent_ || wake_ < 0) return;
    wake_sent_ = true;
    const uint64_t one = 1;
    // The counter of an eventfd cannot be full here, so the only outcome is success.
    if (write(wake_, &one, sizeof(one)) < 0) wake_sent_ = false;
}

void UnixSocket::Run() {
    for (;;) {
        {
            const std::lock_guard hold(lock_);
            if (stop_) {
                CloseDescriptor(listener_);
                ForgetPeer();
                unlink(path_.c_str());
                return;
            }
        }
        const bool blocked = !SendAll();
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
        taker_.Taken();
    }
}

int UnixSocket::Peer() {
    const std::lock_guard hold(lock_);
    return peer_;
}

void UnixSocket::Accept() {
    const int descriptor = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    accept_refused_ = descriptor < 0 && errno != EAGAIN && errno != EWOULDBLOCK;
    if (descriptor < 0) return;
    ForgetPeer();
    peer_ = descriptor;
}

bool UnixSocket::Receive() {
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
            if (headers[i].msg_len == sizeof(dv_file_request)) taker_.Take(messages[i]);
        }
        if (static_cast<size_t>(count) < batch) return true;
    }
    return true;
}

void UnixSocket::SendAtOnce() {
    if (outgoing_.Empty()) return;
    if (peer_ < 0 || sending_ > 0 || outgoing_.Size() != 1) return Wake();
    const ssize_t sent =
        send(peer_, &outgoing_.Front(), sizeof(dv_file_completion), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent != sizeof(dv_file_completion)) return Wake();
    outgoing_.Pop();
}

void UnixSocket::Drain(std::chrono::milliseconds limit) {
    std::unique_lock hold(lock_);
    sent_.wait_for(hold, limit,
                   [this] { return (outgoing_.Empty() && sending_ == 0) || peer_ < 0; });
}

// False when the socket takes no more for now.
bool UnixSocket::SendAll() {
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
        // Nothing is left of them when the connection was given up meanwhile.
        const bool given_up = std::exchange(sending_, 0) == 0;
        if (full) return false;
        if (given_up) continue;
        if (count < 0) {
            ForgetPeer();
            continue;
        }
        for (int i = 0; i < count; ++i) outgoing_.Pop();
    }
}

void UnixSocket::Disconnect() {
    CloseDescriptor(peer_);
    outgoing_.Clear();
    sending_ = 0;
    sent_.notify_all();
}

void UnixSocket::ForgetPeer() {
    Disconnect();
    taker_.HostGone();
}

}  // namespace

std::unique_ptr<DeviceSocket> MakeDeviceSocket(std::mutex& lock, MessageTaker& taker) {
    return std::make_unique<UnixSocket>(lock, taker);
}

}  // namespace engine
