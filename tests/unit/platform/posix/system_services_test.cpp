#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/prctl.h>
#include <thread>
#include <unistd.h>
#include <utility>

#include "platform/system.h"

namespace {

TEST(System, ProcessHasTheIdThatOthersSee) {
    EXPECT_EQ(platform::ProcessId(), static_cast<uint32_t>(getpid()));
}

TEST(System, TimerPeriodLeavesOtherThreadsAlone) {
    ASSERT_EQ(platform::BeginTimerPeriod(1), 0);
    std::thread([] {
        prctl(PR_SET_TIMERSLACK, 12345ul);
        EXPECT_EQ(platform::EndTimerPeriod(1), 0);
        EXPECT_EQ(prctl(PR_GET_TIMERSLACK), 12345);
    }).join();
    EXPECT_EQ(platform::EndTimerPeriod(1), 0);
}

class StandardErrorTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(pipe2(ends_, O_CLOEXEC), 0);
        former_ = dup(STDERR_FILENO);
        dup2(ends_[1], STDERR_FILENO);
    }
    void TearDown() override {
        dup2(former_, STDERR_FILENO);
        for (int descriptor : {former_, ends_[0], ends_[1]}) close(descriptor);
    }

    int ends_[2] = {-1, -1};
    int former_ = -1;
};

TEST_F(StandardErrorTest, NoticeNeedsNoReader) {
    // More than a pipe takes; hanging is the failure.
    platform::ShowNotice("t", std::string(200'000, 'x').c_str());
    platform::DebugOutput("done");

    close(std::exchange(ends_[0], -1));
    platform::ShowNotice("ORVEX Notification", "Update available");
}

}  // namespace
