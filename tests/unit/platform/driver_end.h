#pragma once

#include <deque>
#include <filesystem>
#include <gtest/gtest.h>
#include <poll.h>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

#include "orvex/orvex_ddi.h"

namespace tests {

// A driver's end of a device file that does only what a test says, on the test's own thread.
class DriverEnd {
  public:
    virtual ~DriverEnd() = default;

    virtual void Accept() {}
    virtual void Die() = 0;
    // The next message; all zero when none comes or the library has gone.
    virtual dv_file_request Receive() = 0;
    virtual bool LibraryHasGone() = 0;
    virtual void Send(const dv_file_completion& completion) = 0;

    std::vector<uint64_t> ReceiveIds(size_t count) {
        std::vector<uint64_t> ids;
        for (size_t i = 0; i < count; ++i) ids.push_back(Receive().id);
        return ids;
    }
    void Complete(uint64_t id, uint32_t frame = 0, uint32_t bytes = 48) {
        dv_file_completion completion{};
        completion.id = id;
        completion.bytes = bytes;
        completion.out.flags = NOTIFICATION_EOF;
        completion.out.frame_number_eof = frame;
        Send(completion);
    }
};

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
    void SendRaw(const void* data, size_t size) {
        EXPECT_EQ(send(connection_, data, size, MSG_NOSIGNAL), static_cast<ssize_t>(size));
    }

  private:
    int listener_ = -1;
    int connection_ = -1;
    bool gone_ = false;
};

// In the library's own process, called in place of being sent messages. One at a time.
class CalledDriver : public DriverEnd {
  public:
    CalledDriver() { only_ = this; }

    static uint16_t Open(const char* path, const dv_file_host* host, dv_file_driver* driver) {
        if (std::string_view(path) != "camera") return 0;
        only_->host_ = *host;
        *driver = {only_, Submit, [](void*) { only_->closed_ = true; }};
        return 1;
    }

    void Die() override {
        takes_ = false;
        host_.gone(host_.context);
    }
    dv_file_request Receive() override {
        if (requests_.empty()) return {};
        const dv_file_request first = requests_.front();
        requests_.pop_front();
        return first;
    }
    bool LibraryHasGone() override { return closed_; }
    void Send(const dv_file_completion& completion) override {
        host_.complete(host_.context, &completion);
    }

    bool completes_at_once = false;

  private:
    static uint16_t Submit(void*, const dv_file_request* request) {
        only_->requests_.push_back(*request);
        if (only_->completes_at_once) only_->Complete(request->id, 1);
        return only_->takes_ ? 1 : 0;
    }

    static inline CalledDriver* only_ = nullptr;
    dv_file_host host_{};
    std::deque<dv_file_request> requests_;
    bool takes_ = true;
    bool closed_ = false;
};

}  // namespace tests
