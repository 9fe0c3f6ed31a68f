#include <atomic>
#include <gtest/gtest.h>
#include <string>
#include <thread>

#include "orvex/orvex.h"

#include "support/scripted_driver.h"

#include "run_camera.h"

// Runs of the library, and threads in them.
namespace {

int16 Open(std::string name) {
    int16 hcam = -1;
    EXPECT_EQ(ox_cam_open(name.data(), &hcam, EXT_OPEN_FW_UPDATE), 1) << ox_error_code();
    return hcam;
}

class Run : public testing::Test {
  protected:
    Run() {
        for (const char* name : {"A", "B", "C"}) driver_.add_camera(name);
        driver_.publish();
    }
    ~Run() override { ox_orvex_uninit(); }

    support::ScriptedDriver driver_;
};

TEST_F(Run, HandlesEndWithTheRun) {
    for (int round = 0; round < 5; ++round) {
        ASSERT_EQ(ox_orvex_init(), 1);
        const int16 first = Open("B");
        const int16 second = Open("A");
        EXPECT_EQ(first, 1);
        EXPECT_EQ(second, 0);
        EXPECT_EQ(ox_cam_check(first), 1);
        EXPECT_EQ(ox_cam_close(second), 1);
        EXPECT_EQ(ox_cam_check(second), 0);
        EXPECT_EQ(ox_error_code(), C0_INVALID_HANDLE);
        EXPECT_EQ(ox_orvex_uninit(), 1);
        EXPECT_EQ(ox_cam_check(first), 0);
        EXPECT_EQ(ox_error_code(), C2_ORVEX_NOT_INITED);
    }
}

TEST_F(Run, CamerasDoNotWaitForEachOther) {
    ASSERT_EQ(ox_orvex_init(), 1);
    const int16 held = Open("A");
    const int16 other = Open("B");
    Gate gate;
    driver_.camera(0).on_ioctl(DV_GET_TIMEOUT, [&](const support::Ioctl&, support::Bytes& out) {
        gate.Pass();
        out = {5, 0};
        return true;
    });
    std::atomic<bool> first_done{false};
    uns16 timeout = 0;
    uns16 timeout_again = 0;
    std::thread first([&] {
        EXPECT_EQ(ox_dd_get_timeout(held, &timeout), 1);
        first_done = true;
    });
    ASSERT_TRUE(gate.AwaitReached());

    // Another camera, and what belongs to no camera, go on.
    uns16 retries = 0;
    EXPECT_EQ(ox_dd_get_retries(other, &retries), 1);
    const int16 third = Open("C");
    EXPECT_EQ(ox_cam_close(third), 1);
    // The camera itself takes one call after the other.
    std::thread second([&] { EXPECT_EQ(ox_dd_get_timeout(held, &timeout_again), 1); });
    EXPECT_FALSE(first_done);
    gate.Open();
    first.join();
    second.join();
    EXPECT_EQ(timeout, 5);
    EXPECT_EQ(timeout_again, 5);
}

TEST_F(Run, ManyThreadsShareTheInterface) {
    ASSERT_EQ(ox_orvex_init(), 1);
    const int16 cameras[] = {Open("A"), Open("B")};
    std::vector<std::thread> threads;
    std::atomic<int> failures{0};
    for (size_t i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            for (int n = 0; n < 200; ++n) {
                uns16 timeout = 0;
                int16 total = 0;
                if (!ox_dd_get_timeout(cameras[i % 2], &timeout)) ++failures;
                if (!ox_cam_get_total(&total) || total != 3) ++failures;
                ox_error_code();
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(failures, 0);
}

}  // namespace
