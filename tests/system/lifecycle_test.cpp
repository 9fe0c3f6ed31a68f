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

}  // namespace
