// A device file whose driver is called in place of being sent messages.
#include <array>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "platform/device_file.h"

namespace {

using platform::Completion;
using platform::operation_in_progress;
using platform::OverlappedRequest;

constexpr uint64_t key = 22080;
constexpr uint32_t wait_limit_ms = 10000;

// A driver that keeps what it is given and completes what a test says.
class Driver {
  public:
    static uint16_t Open(const char* path, const dv_file_host* host, dv_file_driver* driver) {
        if (std::string_view(path) != "camera") return 0;
        *driver = {&only, Submit, [](void*) { only.closed = true; }};
        only = {};
        only.host = *host;
        return 1;
    }
    static uint16_t Submit(void*, const dv_file_request* request) {
        only.requests.push_back(*request);
        if (only.completes_at_once) Complete(request->id, 1);
        return only.takes ? 1 : 0;
    }
    static void Complete(uint64_t id, uint32_t frame, uint32_t bytes = 48) {
        dv_file_completion completion{};
        completion.id = id;
        completion.bytes = bytes;
        completion.out.flags = NOTIFICATION_EOF;
        completion.out.frame_number_eof = frame;
        only.host.complete(only.host.context, &completion);
    }
    static void Die() {
        only.takes = false;
        only.host.gone(only.host.context);
    }

    static Driver only;
    dv_file_host host{};
    std::vector<dv_file_request> requests;
    bool takes = true;
    bool completes_at_once = false;
    bool closed = false;
};
Driver Driver::only;

class DirectFile : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(file_.Open("camera", Driver::Open));
        ASSERT_TRUE(port_.Open(file_, key));
    }
    std::vector<Completion> Take(uint32_t limit_ms = 0) {
        std::array<Completion, 32> entries;
        const size_t taken = port_.Take(entries, limit_ms);
        return {entries.begin(), entries.begin() + static_cast<std::ptrdiff_t>(taken)};
    }
    std::vector<dv_file_request>& Requests() { return Driver::only.requests; }

    std::array<OverlappedRequest, 3> requests_;
    platform::DeviceFile file_;
    platform::CompletionPort port_;
};

TEST_F(DirectFile, GivesBackWhatTheDriverCompletes) {
    requests_[0].in.mask = 0x8000003F;
    for (OverlappedRequest& request : requests_)
        ASSERT_EQ(file_.Submit(DV_EVENT_NOTIFICATION_REQUEST, request), operation_in_progress);
    EXPECT_EQ(Requests()[0].operation, uint32_t{DV_FILE_SUBMIT});
    EXPECT_EQ(Requests()[0].code, uint32_t{DV_EVENT_NOTIFICATION_REQUEST});
    EXPECT_EQ(Requests()[0].in.mask, 0x8000003Fu);
    EXPECT_EQ(Requests()[0].out_size, 48u);
    EXPECT_TRUE(port_.IsUntouched(3));

    // In the order of the completions; no record can pass for a post, and each id serves once.
    std::thread driver([this] {
        Driver::Complete(Requests()[2].id, 7, 420);
        Driver::Complete(Requests()[2].id, 8);
        Driver::Complete(Requests()[0].id ^ 5, 9);
        Driver::Complete(Requests()[0].id, 10);
    });
    std::vector<Completion> taken;
    while (taken.size() < 2)
        for (const Completion& entry : Take(wait_limit_ms)) taken.push_back(entry);
    driver.join();
    EXPECT_EQ(taken[0].request, &requests_[2]);
    EXPECT_EQ(taken[0].bytes, 48u);
    EXPECT_EQ(taken[0].key, key);
    EXPECT_EQ(taken[1].request, &requests_[0]);
    EXPECT_EQ(requests_[2].out.frame_number_eof, 7u);
    EXPECT_EQ(port_.Outstanding(), 1u);
    EXPECT_FALSE(port_.HasMore());
    EXPECT_TRUE(Take(1).empty());
}

TEST_F(DirectFile, MayCompleteWithinTheSubmission) {
    Driver::only.completes_at_once = true;
    ASSERT_EQ(file_.Submit(1, requests_[0]), operation_in_progress);
    EXPECT_TRUE(port_.HasMore());
    EXPECT_FALSE(port_.IsUntouched(1));
    EXPECT_EQ(Take().size(), 1u);
}

TEST_F(DirectFile, ForgetsAndCancels) {
    ASSERT_EQ(file_.Submit(1, requests_[0]), operation_in_progress);
    Driver::Complete(Requests()[0].id, 1);
    file_.Forget();
    ASSERT_EQ(file_.Submit(1, requests_[1]), operation_in_progress);
    Driver::Complete(Requests()[0].id, 2);
    EXPECT_TRUE(Take().empty());
    EXPECT_TRUE(file_.CancelAll());
    EXPECT_EQ(Requests().back().operation, uint32_t{DV_FILE_CANCEL_ALL});
    EXPECT_TRUE(port_.Post(420, 3));
    EXPECT_EQ(Take().at(0).bytes, 420u);
    file_.Close();
    EXPECT_TRUE(Driver::only.closed);
    EXPECT_NE(file_.Submit(1, requests_[0]), operation_in_progress);
}

TEST_F(DirectFile, ADeadDriverIsARemovedCamera) {
    for (OverlappedRequest& request : requests_)
        ASSERT_EQ(file_.Submit(1, request), operation_in_progress);
    Driver::Complete(Requests()[1].id, 5);
    Driver::Die();
    EXPECT_EQ(Take().size(), 3u);
    EXPECT_EQ(requests_[1].out.flags, NOTIFICATION_EOF);
    EXPECT_EQ(requests_[0].out.flags, NOTIFICATION_DEVICE_REMOVAL);
    EXPECT_EQ(requests_[2].out.flags, NOTIFICATION_DEVICE_REMOVAL);
    EXPECT_NE(file_.Submit(1, requests_[0]), operation_in_progress);
    EXPECT_FALSE(file_.CancelAll());
}

// One that dies while the library has all requests in hand is still told of, once.
TEST_F(DirectFile, DeathBetweenRequestsIsTold) {
    Driver::Die();
    EXPECT_EQ(file_.Submit(1, requests_[0]), operation_in_progress);
    EXPECT_NE(file_.Submit(1, requests_[1]), operation_in_progress);
    EXPECT_EQ(Take().size(), 1u);
    EXPECT_EQ(requests_[0].out.flags, NOTIFICATION_DEVICE_REMOVAL);
    EXPECT_NE(file_.Submit(1, requests_[0]), operation_in_progress);
}

TEST(DirectFileOpen, WhatTheModuleRefusesIsOpenedByItsPath) {
    platform::DeviceFile file;
    EXPECT_FALSE(file.Open("/nowhere", Driver::Open));
}

}  // namespace
