#include "support/windows/relay.h"

#include "../device_file_fixture.h"
#include "kernel_driver.h"

namespace tests {

SystemDriver MakeSystemDriver(const std::filesystem::path&) {
    return {std::make_unique<KernelDriver>(), RELAY_CAMERA};
}

namespace {

class KernelFile : public DeviceFileTest {
  protected:
    void SetUp() override { Open(driver_, RELAY_CAMERA, nullptr); }
    KernelDriver driver_;
};

// A request that completes at once comes back by the port all the same, and counts until then; one
// that is refused does not.
TEST_F(KernelFile, AnswersAtOnceAreCounted) {
    OverlappedRequest request;
    driver_.relay.answer(RELAY_AT_ONCE);
    ASSERT_EQ(file_.Submit(DV_EVENT_NOTIFICATION_REQUEST, request), operation_in_progress);
    EXPECT_EQ(port_.Outstanding(), 1u);
    EXPECT_EQ(Take(1).size(), 1u);
    EXPECT_EQ(port_.Outstanding(), 0u);
    driver_.relay.answer(RELAY_REFUSE);
    EXPECT_EQ(file_.Submit(DV_EVENT_NOTIFICATION_REQUEST, request),
              static_cast<uint32_t>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(port_.Outstanding(), 0u);
    EXPECT_EQ(TakeAll().size(), 0u);
}

// The driver writes into memory of the channel alone: the caller's may be gone.
TEST_F(KernelFile, RequestsMayEndBeforeTheirCompletions) {
    auto requests = std::make_unique<std::vector<OverlappedRequest>>(100);
    SubmitAll(*requests);
    const std::vector<uint64_t> ids = driver_.ReceiveIds(100);
    file_.Forget();
    requests.reset();
    for (const uint64_t id : ids) driver_.Complete(id, 1);
    EXPECT_EQ(TakeAll().size(), 0u);
    EXPECT_EQ(port_.Outstanding(), 0u);
}

}  // namespace

}  // namespace tests
