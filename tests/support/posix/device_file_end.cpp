#include "support/device_file_end.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace support {

namespace {

// A socket on which the library connects.
class SocketEnd : public DeviceFileEnd {
  public:
    explicit SocketEnd(const std::filesystem::path& path) : path_(path) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        if (path_.size() >= sizeof address.sun_path)
            throw std::runtime_error("path too long for a socket: " + path_);
        std::strcpy(address.sun_path, path_.c_str());
        if (bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
            listen(listener_, 4) != 0)
            throw std::runtime_error("no socket at " + path_);
    }
    ~SocketEnd() override {
        Disconnect();
        close(listener_);
        close(wake_);
    }

    std::string path() const override { return path_; }
    bool connected() const override { return connection_ >= 0; }
    bool receive(dv_file_request& request) override {
        if (connection_ < 0) {
            connection_ = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
            if (connection_ < 0) return false;
            wake();  // who waits may be about to wait for a connection still
        }
        const ssize_t size = recv(connection_, &request, sizeof request, MSG_DONTWAIT);
        if (size == sizeof request) return true;
        if (size >= 0 || (errno != EAGAIN && errno != EINTR)) Disconnect();
        return false;
    }
    void send(const dv_file_completion& completion) override {
        ::send(connection_, &completion, sizeof completion, MSG_NOSIGNAL);
    }
    void wait() override {
        const int connection = connection_;
        pollfd descriptors[2] = {{wake_, POLLIN, 0},
                                 {connection >= 0 ? connection : listener_, POLLIN, 0}};
        poll(descriptors, 2, -1);
        eventfd_t wakes = 0;
        eventfd_read(wake_, &wakes);
    }
    void wake() override { eventfd_write(wake_, 1); }

  private:
    void Disconnect() {
        if (const int connection = connection_.exchange(-1); connection >= 0) close(connection);
    }

    std::string path_;
    int listener_ = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    std::atomic<int> connection_{-1};
    int wake_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
};

}  // namespace

std::unique_ptr<DeviceFileEnd> DeviceFileEnd::make(const std::filesystem::path& directory) {
    return std::make_unique<SocketEnd>(directory / "device");
}

}  // namespace support
