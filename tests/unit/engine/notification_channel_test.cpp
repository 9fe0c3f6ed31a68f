#include <filesystem>
#include <thread>
#include <vector>

#include "notifications.h"

namespace tests {

namespace {

TEST_F(Notifications, AReportGoesOnlyToWhoAskedForIt) {
    Host host = Connect();
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
    Host host = Connect();
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
    Host host = Connect();
    channel_.FlushOne();
    channel_.FlushOne();
    for (uint64_t id = 1; id <= 3; ++id) host.Submit(id);
    ExpectFlushed(host, 2);
    Settle(host);
}

// Requests that were completed when the flush came leave it without one.
TEST_F(Notifications, ACancellationEndsAFlushThatFoundNothing) {
    Host host = Connect();
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
    Host host = Connect();
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
    Host host = Connect();
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
        Host host = Connect();
        host.Submit(1);
        channel_.FlushOne();
        host.Take();
        channel_.Die();
        EXPECT_TRUE(host.Ended());
    }
    channel_.Close();
    ASSERT_TRUE(channel_.Listen(path_));
    Host again = Connect();
    again.Submit(2);
    channel_.FlushOne();
    EXPECT_EQ(again.Take().id, 2u);
    channel_.Close();
    EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(Notifications, MessagesOfTheWrongShapeAreIgnored) {
    Host host = Connect();
    host.Send(77, 1, everything);
    host.Submit(2);
    channel_.FlushOne();
    EXPECT_EQ(host.Take().id, 2u);
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

}  // namespace tests
