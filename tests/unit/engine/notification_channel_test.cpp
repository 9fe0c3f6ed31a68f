#include "engine/notification_channel.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

#include "support/eventually.h"
#include "support/temp_dir.h"

namespace {

// Connections that were refused; none is while it is negative.
std::atomic<int> accepts_refused = -1;

}  // namespace

// Takes the place of the system's.
extern "C" __attribute__((visibility("default"))) int accept4(int listener, sockaddr* address,
                                                              socklen_t* size, int flags) {
    if (accepts_refused < 0)
        return static_cast<int>(syscall(SYS_accept4, listener, address, size, flags));
    ++accepts_refused;
    errno = EMFILE;
    return -1;
}

namespace {

constexpr uint32_t everything = 0x8000003F;
constexpr uint32_t without_begin = 0x8000003B;

// The host's end of the device file.
class Host {
  public:
    explicit Host(const std::string& path) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
        socket_ = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
        EXPECT_EQ(connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)),
                  0);
        const timeval limit{.tv_sec = 10, .tv_usec = 0};
        setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
    }
    ~Host() { close(socket_); }

    void Send(uint32_t operation, uint64_t id, uint32_t mask) {
        dv_file_request request{};
        request.operation = operation;
        request.code = DV_EVENT_NOTIFICATION_REQUEST;
        request.id = id;
        request.in.mask = mask;
        EXPECT_EQ(send(socket_, &request, sizeof(request), MSG_NOSIGNAL),
                  static_cast<ssize_t>(sizeof(request)));
    }
    void Submit(uint64_t id, uint32_t mask = everything) { Send(DV_FILE_SUBMIT, id, mask); }
    dv_file_completion Take() {
        dv_file_completion completion{};
        EXPECT_EQ(recv(socket_, &completion, sizeof(completion), 0),
                  static_cast<ssize_t>(sizeof(completion)));
        return completion;
    }
    bool Ended() {
        dv_file_completion completion{};
        return recv(socket_, &completion, sizeof(completion), 0) == 0;
    }
    bool Quiet() {
        dv_file_completion completion{};
        return recv(socket_, &completion, sizeof(completion), MSG_DONTWAIT) < 0;
    }

  private:
    int socket_;
};

dv_notification_report EndOfFrame(uint32_t number) {
    dv_notification_report report{};
    report.flags = NOTIFICATION_EOF;
    report.frame_number_eof = number;
    return report;
}
dv_notification_report Event(uint32_t flags) {
    dv_notification_report report{};
    report.flags = flags;
    return report;
}

class Notifications : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(channel_.Listen(path_)); }

    // A flush sees everything that was submitted before it: the way to know that requests arrived.
    void Settle(Host& host) {
        host.Submit(settled, NOTIFICATION_FLUSH);
        while (true) {
            channel_.FlushOne();
            if (host.Take().id == settled) return;
        }
    }

    // Requests 1 to `count` come back unused.
    void ExpectFlushed(Host& host, uint64_t count) {
        for (uint64_t id = 1; id <= count; ++id) {
            const auto completion = host.Take();
            EXPECT_EQ(completion.id, id);
            EXPECT_EQ(completion.out.flags, NOTIFICATION_FLUSH);
        }
    }

    static constexpr uint64_t settled = 1u << 30;
    support::TempDir directory_;
    const std::string path_ = directory_ / "channel";
    engine::NotificationChannel channel_;
};

TEST_F(Notifications, AReportGoesOnlyToWhoAskedForIt) {
    Host host(path_);
    host.Submit(1, without_begin);
    host.Submit(2, everything);
    host.Submit(3, without_begin);
    channel_.FlushOne();
    EXPECT_EQ(host.Take().id, 1u);
    channel_.Report(Event(NOTIFICATION_BOF));
    EXPECT_EQ(host.Take().id, 2u);
    channel_.Report(Event(NOTIFICATION_BOF));
    channel_.Report(EndOfFrame(1));
    const auto last = host.Take();
    EXPECT_EQ(last.id, 3u);
    EXPECT_EQ(last.out.flags, NOTIFICATION_EOF);
}

TEST_F(Notifications, TheNewestFrameIsKeptWhenNobodyWaits) {
    Host host(path_);
    Settle(host);
    for (uint32_t number = 1; number <= 9; ++number) channel_.Report(EndOfFrame(number));
    channel_.Report(Event(NOTIFICATION_SYS_SUSPEND));
    host.Submit(1);
    const auto completion = host.Take();
    EXPECT_EQ(completion.out.frame_number_eof, 9u);
    EXPECT_EQ(completion.out.flags, NOTIFICATION_EOF | NOTIFICATION_SYS_SUSPEND);
    host.Submit(2);
    channel_.FlushOne();
    EXPECT_EQ(host.Take().out.flags, NOTIFICATION_FLUSH);
}

// More requests can be on their way than the socket holds when the flushes come.
TEST_F(Notifications, AFlushWaitsForItsRequest) {
    Host host(path_);
    channel_.FlushOne();
    channel_.FlushOne();
    for (uint64_t id = 1; id <= 3; ++id) host.Submit(id);
    ExpectFlushed(host, 2);
    Settle(host);
}

// Requests that were completed when the flush came leave it without one.
TEST_F(Notifications, ACancellationEndsAFlushThatFoundNothing) {
    Host host(path_);
    channel_.FlushOne();
    host.Send(DV_FILE_CANCEL_ALL, 0, 0);
    host.Submit(1);
    host.Submit(2);
    channel_.FlushOne();
    EXPECT_EQ(host.Take().out.flags, NOTIFICATION_FLUSH);
    channel_.Report(EndOfFrame(7));
    EXPECT_EQ(host.Take().out.flags, NOTIFICATION_EOF);
}

TEST_F(Notifications, CancellingGivesEverythingBack) {
    Host host(path_);
    host.Submit(1);
    host.Submit(2);
    host.Send(DV_FILE_CANCEL_ALL, 0, 0);
    for (uint64_t id = 1; id <= 2; ++id) {
        const auto completion = host.Take();
        EXPECT_EQ(completion.id, id);
        EXPECT_EQ(completion.out.status, NOTIFICATION_STATUS_CANCELLED);
    }
}

// More requests than a socket buffer holds: every one comes back once and in order.
TEST_F(Notifications, TensOfThousandsOfReportsArriveInOrder) {
    constexpr uint32_t count = 40000;
    Host host(path_);
    for (uint32_t id = 1; id <= count + 1; ++id) host.Submit(id);
    channel_.FlushOne();
    EXPECT_EQ(host.Take().id, 1u);
    std::thread reporting([&] {
        for (uint32_t number = 1; number <= count; ++number) channel_.Report(EndOfFrame(number));
    });
    for (uint32_t number = 1; number <= count; ++number) {
        const auto completion = host.Take();
        ASSERT_EQ(completion.id, number + 1);
        ASSERT_EQ(completion.bytes, 48u);
        ASSERT_EQ(completion.out.frame_number_eof, number);
    }
    reporting.join();
}

TEST_F(Notifications, DeathClosesTheFileAndItCanBeOpenedAgain) {
    {
        Host host(path_);
        host.Submit(1);
        channel_.FlushOne();
        host.Take();
        channel_.Die();
        EXPECT_TRUE(host.Ended());
    }
    channel_.Close();
    ASSERT_TRUE(channel_.Listen(path_));
    Host again(path_);
    again.Submit(2);
    channel_.FlushOne();
    EXPECT_EQ(again.Take().id, 2u);
    channel_.Close();
    EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(Notifications, MessagesOfTheWrongShapeAreIgnored) {
    Host host(path_);
    host.Send(77, 1, everything);
    host.Submit(2);
    channel_.FlushOne();
    EXPECT_EQ(host.Take().id, 2u);
}

// A connection that can't be taken for want of a descriptor waits without keeping the thread busy.
TEST_F(Notifications, WaitsForADescriptorInPeace) {
    accepts_refused = 0;
    const auto start = std::chrono::steady_clock::now();
    Host host(path_);
    ASSERT_TRUE(support::Eventually([] { return accepts_refused >= 4; }));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
    accepts_refused = -1;
    Settle(host);
}

// A host in the module's own process takes the place of one on the socket.
TEST_F(Notifications, CallsTakeThePlaceOfTheSocket) {
    struct Called {
        std::vector<dv_file_completion> completions;
        int gone = 0;
    } called;
    const dv_file_host calls = {
        &called,
        [](void* context, const dv_file_completion* completion) {
            static_cast<Called*>(context)->completions.push_back(*completion);
        },
        [](void* context) { ++static_cast<Called*>(context)->gone; }};
    const auto submit = [this](uint64_t id, uint32_t mask) {
        dv_file_request request{};
        request.operation = DV_FILE_SUBMIT;
        request.code = DV_EVENT_NOTIFICATION_REQUEST;
        request.id = id;
        request.in.mask = mask;
        return channel_.Submit(request);
    };
    EXPECT_FALSE(submit(1, everything));
    ASSERT_TRUE(channel_.Connect(calls));
    EXPECT_TRUE(submit(2, without_begin) && submit(3, everything));
    channel_.Report(EndOfFrame(4));
    ASSERT_EQ(called.completions.size(), 1u);
    EXPECT_EQ(called.completions[0].id, 2u);
    EXPECT_EQ(called.completions[0].out.frame_number_eof, 4u);
    channel_.FlushOne();
    channel_.Report(EndOfFrame(5));  // kept for the next request
    EXPECT_TRUE(submit(6, everything));
    ASSERT_EQ(called.completions.size(), 3u);
    EXPECT_EQ(called.completions[1].out.flags, NOTIFICATION_FLUSH);
    EXPECT_EQ(called.completions[2].out.frame_number_eof, 5u);
    ASSERT_TRUE(channel_.Connect(calls));
    EXPECT_EQ(called.gone, 1);
    channel_.Disconnect();
    EXPECT_FALSE(submit(7, everything));
    channel_.Die();
    EXPECT_EQ(called.gone, 1);
}

}  // namespace
