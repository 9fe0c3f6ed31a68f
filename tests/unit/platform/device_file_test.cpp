#include <algorithm>
#include <cerrno>
#include <memory>
#include <set>
#include <thread>

#include "device_file_fixture.h"

namespace tests {

namespace {

constexpr uint32_t code = DV_EVENT_NOTIFICATION_REQUEST;
constexpr uint32_t other_code = DV_GET_CURRENT_TIMESTAMP;

class CalledFile : public DeviceFileTest {
  protected:
    void SetUp() override { Open(driver_, "camera", CalledDriver::Open); }
    CalledDriver driver_;
};

// Alike whether the driver is behind a device file of the system or called in place.
class AnyFile : public DeviceFileTest, public testing::WithParamInterface<bool> {
  protected:
    void SetUp() override {
        if (IsCalled()) {
            driver_ = std::make_unique<CalledDriver>();
            Open(*driver_, "camera", CalledDriver::Open);
        } else {
            SystemDriver system = MakeSystemDriver(directory_.path());
            driver_ = std::move(system.driver);
            Open(*driver_, system.path, nullptr);
        }
    }
    static bool IsCalled() { return GetParam(); }

    std::unique_ptr<DriverEnd> driver_;
};
INSTANTIATE_TEST_SUITE_P(All, AnyFile, testing::Bool());

TEST_P(AnyFile, GivesBackWhatTheDriverCompletes) {
    std::vector<OverlappedRequest> requests(3);
    SubmitAll(requests);
    EXPECT_TRUE(port_.IsUntouched(3));
    EXPECT_FALSE(port_.HasMore());
    const std::vector<uint64_t> ids = driver_->ReceiveIds(3);
    // In the order of the completions, from another thread.
    std::thread driver([&] {
        driver_->Complete(ids[2], 7);
        driver_->Complete(ids[0], 8);
    });
    const std::vector<Completion> taken = Take(2);
    driver.join();
    ASSERT_EQ(taken.size(), 2u);
    EXPECT_EQ(taken[0].request, &requests[2]);
    EXPECT_EQ(taken[0].bytes, 48u);
    EXPECT_EQ(taken[0].key, key);
    EXPECT_EQ(taken[1].request, &requests[0]);
    EXPECT_EQ(requests[2].out.frame_number_eof, 7u);
    EXPECT_EQ(port_.Outstanding(), 1u);
    EXPECT_TRUE(port_.IsUntouched(1));
    driver_->Complete(ids[1], 9);
    EXPECT_TRUE(port_.HasMore());
    EXPECT_FALSE(port_.IsUntouched(1));
    EXPECT_EQ(TakeAll(1).size(), 1u);
    EXPECT_FALSE(port_.HasMore());
}

TEST_P(AnyFile, WhatFitsNoRequestIsIgnored) {
    OverlappedRequest request, second;
    file_.Submit(code, request);
    const uint64_t id = driver_->Receive().id;
    for (uint64_t stranger : {uint64_t{0}, id ^ 1, id + (uint64_t{1} << 32), ~uint64_t{0}})
        driver_->Complete(stranger, 1);
    driver_->Complete(id, 2);
    driver_->Complete(id, 3);  // the same once more
    EXPECT_EQ(TakeAll().size(), 1u);
    EXPECT_EQ(request.out.frame_number_eof, 2u);
    // The repeated completion must not hit the next use of the same place.
    file_.Submit(code, second);
    EXPECT_NE(driver_->Receive().id, id);
    driver_->Complete(id, 4);
    EXPECT_EQ(TakeAll().size(), 0u);
    EXPECT_EQ(second.out.frame_number_eof, 0u);
}

TEST_P(AnyFile, DriverCannotPassForAPost) {
    OverlappedRequest request;
    file_.Submit(code, request);
    driver_->Complete(driver_->Receive().id, 0, 420);
    ASSERT_TRUE(port_.Post(420, key));
    const std::vector<Completion> taken = Take(2);
    ASSERT_EQ(taken.size(), 2u);
    EXPECT_EQ(std::ranges::count(taken, 420u, &Completion::bytes), 1);
}

TEST_P(AnyFile, CloseWakesTheTaker) {
    std::array<Completion, 32> entries;
    std::thread closer([this] { port_.Close(); });
    EXPECT_EQ(port_.Take(entries, wait_limit_ms), 0u);
    closer.join();
    EXPECT_FALSE(port_.Post(1, 1));
    EXPECT_EQ(port_.Take(entries), 0u);
}

TEST_P(AnyFile, DeadDriverGivesEverythingBackOnceAsRemoved) {
    std::vector<OverlappedRequest> requests(1000);
    SubmitAll(requests);
    driver_->Complete(driver_->ReceiveIds(10)[3], 5);
    driver_->Die();
    const std::vector<Completion> back = TakeAll();
    ASSERT_EQ(back.size(), requests.size());
    std::set<OverlappedRequest*> distinct;
    for (const Completion& entry : back) distinct.insert(entry.request);
    EXPECT_EQ(distinct.size(), requests.size());
    // A report that was on its way is not lost.
    EXPECT_EQ(requests[3].out.flags, NOTIFICATION_EOF);
    requests.erase(requests.begin() + 3);
    for (const OverlappedRequest& request : requests) {
        EXPECT_EQ(request.out.flags, NOTIFICATION_DEVICE_REMOVAL);
        EXPECT_EQ(request.out.status, NOTIFICATION_STATUS_SUCCESS);
    }
    EXPECT_NE(file_.Submit(code, requests[0]), operation_in_progress);
    EXPECT_FALSE(file_.CancelAll());
    EXPECT_TRUE(port_.Post(420, key));
    EXPECT_EQ(TakeAll().size(), 1u);
}

// One that dies while the library has all requests in hand is still told of, once.
TEST_P(AnyFile, DeathBetweenRequestsIsTold) {
    std::vector<OverlappedRequest> requests(2);
    SubmitAll(requests);
    for (const uint64_t id : driver_->ReceiveIds(2)) driver_->Complete(id, 5);
    driver_->Die();
    ASSERT_EQ(TakeAll().size(), 2u);
    EXPECT_EQ(file_.Submit(code, requests[0]), operation_in_progress);
    EXPECT_NE(file_.Submit(code, requests[1]), operation_in_progress);
    ASSERT_EQ(TakeAll().size(), 1u);
    EXPECT_EQ(requests[0].out.flags, NOTIFICATION_DEVICE_REMOVAL);
    EXPECT_NE(file_.Submit(code, requests[0]), operation_in_progress);
}

// Tens of thousands of requests are far more than a socket holds.
TEST_P(AnyFile, FloodOfRequestsNeitherBlocksNorGetsLost) {
    const uint32_t count = driver_->Flood();
    std::vector<OverlappedRequest> requests(count);
    SubmitAll(requests);  // nobody reads yet
    std::thread driver([this, count] {
        for (uint32_t i = 0; i < count; ++i) {
            const dv_file_request message = driver_->Receive();
            EXPECT_EQ(message.in.mask, i);
            driver_->Complete(message.id, message.in.mask + 1);
        }
    });
    const std::vector<Completion> back = Take(count);
    driver.join();
    ASSERT_EQ(back.size(), count);
    for (uint32_t i = 0; i < count; ++i) ASSERT_EQ(requests[i].out.frame_number_eof, i + 1);
}

TEST_P(AnyFile, ForgottenRequestsDoNotComeBack) {
    std::vector<OverlappedRequest> requests(2000);
    SubmitAll(requests);
    const std::vector<uint64_t> ids = driver_->ReceiveIds(5);
    driver_->Complete(ids[0], 1);
    file_.Forget();
    OverlappedRequest fresh;
    ASSERT_EQ(file_.Submit(other_code, fresh), operation_in_progress);
    for (uint64_t id : ids) driver_->Complete(id, 1);
    EXPECT_EQ(TakeAll().size(), 0u);
    // The first came back before it was forgotten.
    EXPECT_EQ(requests[1].out.frame_number_eof, 0u);
    // Those that were in the socket arrive, those that were not sent don't.
    dv_file_request message{};
    size_t stale = 0;
    while ((message = driver_->Receive()).code != other_code && message.operation != 0) ++stale;
    EXPECT_EQ(stale < requests.size() - ids.size(),
              driver_->OfUnsent() == DriverEnd::Unsent::kept_back);
    driver_->Complete(message.id, 2);
    EXPECT_EQ(TakeAll().size(), 1u);
    EXPECT_EQ(fresh.out.frame_number_eof, 2u);
}

TEST_P(AnyFile, CancelReachesTheDriverAndGivesBackTheUnsent) {
    std::vector<OverlappedRequest> requests(2000);
    SubmitAll(requests);
    EXPECT_TRUE(file_.CancelAll());
    const std::vector<Completion> back = TakeAll();
    for (const Completion& entry : back)
        EXPECT_EQ(entry.request->out.status, NOTIFICATION_STATUS_CANCELLED);
    if (driver_->OfUnsent() == DriverEnd::Unsent::cancelled_by_system) {
        EXPECT_EQ(back.size(), requests.size());
        return;
    }
    EXPECT_EQ(back.size() > 0, !IsCalled());
    EXPECT_LT(back.size(), requests.size());
    std::thread taker([this] { TakeAll(200); });
    size_t sent = 0;
    dv_file_request message{};
    while ((message = driver_->Receive()).operation == DV_FILE_SUBMIT) ++sent;
    EXPECT_EQ(message.operation, 2u);
    EXPECT_EQ(sent + back.size(), requests.size());
    taker.join();
}

TEST_P(AnyFile, CloseEndsTheFileForTheDriver) {
    OverlappedRequest request;
    file_.Submit(code, request);
    driver_->Receive();
    file_.Close();
    EXPECT_TRUE(driver_->LibraryHasGone());
    EXPECT_EQ(file_.Submit(code, request), static_cast<uint32_t>(EBADF));
    EXPECT_EQ(TakeAll().size(), 0u);
}

TEST_F(CalledFile, MayCompleteWithinTheSubmission) {
    OverlappedRequest request;
    driver_.completes_at_once = true;
    ASSERT_EQ(file_.Submit(code, request), operation_in_progress);
    EXPECT_EQ(TakeAll(0).size(), 1u);
}

TEST(DeviceFileOpen, RefusesWhatIsNoDevice) {
    support::TempDir directory;
    platform::DeviceFile file;
    for (const std::string& path :
         {std::string(), std::string("/nowhere/x"), directory.path().string(),
          directory.write("plain", "text").string()})
        EXPECT_FALSE(file.Open(path.c_str())) << path;
    EXPECT_FALSE(file.Open(nullptr));
    platform::CompletionPort port;
    EXPECT_FALSE(port.Open(file, key));
    OverlappedRequest request;
    EXPECT_EQ(file.Submit(code, request), static_cast<uint32_t>(EBADF));
}

}  // namespace

}  // namespace tests
