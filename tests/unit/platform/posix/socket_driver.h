#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "../driver_end.h"

namespace tests {

// Behind a socket.
class SocketDriver : public DriverEnd {
  public:
    explicit SocketDriver(const std::filesystem::path& path) {
        // A long path is bound by way of its directory.
        const std::filesystem::path former = std::filesystem::current_path();
        std::filesystem::current_path(path.parent_path());
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.filename().string().copy(address.sun_path, sizeof address.sun_path - 1);
        listener_ = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
        EXPECT_EQ(bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(listen(listener_, 4), 0);
        std::filesystem::current_path(former);
    }
    ~SocketDriver() override { SocketDriver::Die(); }

    void Accept() override { connection_ = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC); }
    void Die() override {
        for (int* descriptor : {&connection_, &listener_}) {
            if (*descriptor >= 0) close(*descriptor);
            *descriptor = -1;
        }
    }
    dv_file_request Receive() override {
        dv_file_request request{};
        pollfd ready{connection_, POLLIN, 0};
        if (poll(&ready, 1, 10000) != 1) return {};
        const ssize_t size = recv(connection_, &request, sizeof request, 0);
        if (size == 0) gone_ = true;
        EXPECT_TRUE(size <= 0 || size == 72);
        return size == 72 ? request : dv_file_request{};
    }
    bool LibraryHasGone() override {
        Receive();
        return gone_;
    }
    void Send(const dv_file_completion& completion) override {
        SendRaw(&completion, sizeof completion);
    }
    Unsent OfUnsent() const override { return Unsent::kept_back; }
    void SendRaw(const void* data, size_t size) {
        EXPECT_EQ(send(connection_, data, size, MSG_NOSIGNAL), static_cast<ssize_t>(size));
    }

  private:
    int listener_ = -1;
    int connection_ = -1;
    bool gone_ = false;
};

}  // namespace tests
