#pragma once

#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

#include "orvex/orvex_ddi.h"

namespace tests {

// A driver's end of a device file that does only what a test says, on the test's own thread.
class DriverEnd {
  public:
    explicit DriverEnd(const std::filesystem::path& path) {
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
    ~DriverEnd() { Die(); }

    void Accept() { connection_ = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC); }
    void Die() {
        for (int* descriptor : {&connection_, &listener_}) {
            if (*descriptor >= 0) close(*descriptor);
            *descriptor = -1;
        }
    }

    // The next message; all zero when none comes or the library has gone.
    dv_file_request Receive() {
        dv_file_request request{};
        pollfd ready{connection_, POLLIN, 0};
        if (poll(&ready, 1, 10000) != 1) return {};
        const ssize_t size = recv(connection_, &request, sizeof request, 0);
        if (size == 0) gone_ = true;
        EXPECT_TRUE(size <= 0 || size == 72);
        return size == 72 ? request : dv_file_request{};
    }
    std::vector<uint64_t> ReceiveIds(size_t count) {
        std::vector<uint64_t> ids;
        for (size_t i = 0; i < count; ++i) ids.push_back(Receive().id);
        return ids;
    }
    bool LibraryHasGone() {
        Receive();
        return gone_;
    }

    void Complete(uint64_t id, uint32_t frame = 0, uint32_t bytes = 48, uint32_t result = 0) {
        dv_file_completion completion{};
        completion.id = id;
        completion.result = result;
        completion.bytes = bytes;
        completion.out.flags = NOTIFICATION_EOF;
        completion.out.frame_number_eof = frame;
        SendRaw(&completion, sizeof completion);
    }
    void SendRaw(const void* data, size_t size) {
        EXPECT_EQ(send(connection_, data, size, MSG_NOSIGNAL), static_cast<ssize_t>(size));
    }

  private:
    int listener_ = -1;
    int connection_ = -1;
    bool gone_ = false;
};

}  // namespace tests
