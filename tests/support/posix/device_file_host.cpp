#include "support/device_file_host.h"

#include <cstring>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace support {

namespace {

class SocketHost : public DeviceFileHost {
  public:
    SocketHost() {
        const timeval limit{.tv_sec = 10, .tv_usec = 0};
        setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    }
    ~SocketHost() override { close(socket_); }

    bool Connect(const std::string& path) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
        return ::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }

    bool send(const dv_file_request& request) override {
        return ::send(socket_, &request, sizeof request, MSG_NOSIGNAL) == sizeof request;
    }
    bool take(dv_file_completion& completion) override {
        return recv(socket_, &completion, sizeof completion, 0) == sizeof completion;
    }
    bool ended() override {
        dv_file_completion completion{};
        return recv(socket_, &completion, sizeof completion, 0) == 0;
    }

  private:
    int socket_ = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
};

}  // namespace

std::unique_ptr<DeviceFileHost> DeviceFileHost::connect(const std::string& path, dv_file_opener) {
    auto host = std::make_unique<SocketHost>();
    return host->Connect(path) ? std::move(host) : nullptr;
}

}  // namespace support
