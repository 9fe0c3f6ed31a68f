// Cameras that are used at the same time from a thread each: what goes wrong on one is no result
// of another.
#include <array>
#include <atomic>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

#include "orvex/orvex.h"

#include "support/soft_cameras.h"

namespace {

constexpr rgn_type place{.s1 = 0, .s2 = 15, .sbin = 1, .p1 = 0, .p2 = 15, .pbin = 1};

// Three software cameras that are as fast as they can.
class SideBySide : public testing::Test {
  protected:
    SideBySide() { EXPECT_EQ(ox_orvex_init(), 1); }
    ~SideBySide() override { EXPECT_EQ(ox_orvex_uninit(), 1); }

    static int16 Open(std::string name, int16 mode = EXT_OPEN_EXCLUSIVE) {
        int16 hcam = -1;
        name.resize(CAM_NAME_LEN);
        return ox_cam_open(name.data(), &hcam, mode) ? hcam : int16{-1};
    }

  private:
    support::SoftCameras cameras_{R"({"noise": false, "time_scale": 0, "scene": {"kind": "ramp"},
        "cameras": [{"name": "Full", "model": "ccd"}, {"name": "Simplified", "model": "cmos"},
                    {"name": "Old", "model": "plain"}]})"};
};

// The work of one thread on one camera, counted.
class Work {
  public:
    explicit Work(int16 hcam) : hcam_(hcam) {}

    void SetUpRunAndAbort(int set_ups) {
        uns32 bytes = 0;
        for (int i = 0; i < set_ups; ++i) {
            Check(ox_exp_setup_seq(hcam_, 1, 1, &place, TIMED_MODE, 1, &bytes));
        }
        pixels_.resize(bytes);
        Check(ox_exp_start_seq(hcam_, pixels_.data()));
        Check(ox_exp_abort(hcam_, CCS_HALT));
    }
    // A message ends the run that is on.
    void ReadDuringARing() {
        uns32 bytes = 0;
        Check(ox_exp_setup_cont(hcam_, 1, &place, TIMED_MODE, 1, &bytes, CIRC_OVERWRITE));
        pixels_.resize(size_t{4} * bytes);
        Check(ox_exp_start_cont(hcam_, pixels_.data(), 4 * bytes));
        int16 temperature = 0;
        Check(ox_get_param(hcam_, PARAM_TEMP, ATTR_CURRENT, &temperature));
    }
    // What this camera lacks, and a frame that is not there: both fail with a code.
    void AskInVain() {
        uns32 value = 0;
        void* frame = nullptr;
        Check(!ox_get_param(hcam_, PARAM_TRIGTAB_SIGNAL, ATTR_CURRENT, &value));
        Check(!ox_exp_get_latest_frame(hcam_, &frame));
    }

    int calls() const { return calls_; }
    int wrong() const { return wrong_; }

  private:
    void Check(bool right) {
        ++calls_;
        if (!right) ++wrong_;
    }

    int16 hcam_;
    int calls_ = 0;
    int wrong_ = 0;
    std::vector<uns8> pixels_;
};

TEST_F(SideBySide, EveryResultIsOfItsOwnCamera) {
    Work full(Open("Full"));
    Work simplified(Open("Simplified"));
    Work old(Open("Old"));
    std::atomic<int> busy = 2;
    std::thread first([&] {
        for (int round = 0; round < 40; ++round) full.SetUpRunAndAbort(20);
        --busy;
    });
    std::thread second([&] {
        for (int round = 0; round < 150; ++round) {
            simplified.SetUpRunAndAbort(4);
            simplified.ReadDuringARing();
        }
        --busy;
    });
    while (busy != 0) old.AskInVain();
    first.join();
    second.join();
    for (const Work* work : {&full, &simplified, &old}) {
        EXPECT_EQ(work->wrong(), 0) << "of " << work->calls() << " calls";
    }
}

// A handle is always the same for a camera, so a thread may come with that of the last open while
// the camera is opened again.
TEST_F(SideBySide, AnOpenIsKeptApartFromCallsWithTheOldHandle) {
    const int16 hcam = Open("Old");
    std::array<char, 32> chip{};
    ASSERT_EQ(ox_get_param(hcam, PARAM_CHIP_NAME, ATTR_CURRENT, chip.data()), 1);
    const std::jthread reader([&](const std::stop_token& done) {
        int16 temperature = 0;
        while (!done.stop_requested()) ox_get_param(hcam, PARAM_TEMP, ATTR_CURRENT, &temperature);
    });
    for (int round = 0; round < 500; ++round) {
        EXPECT_EQ(ox_cam_close(hcam), 1);
        ASSERT_EQ(Open("Old"), hcam) << ox_error_code();
        std::array<char, 32> again{};
        EXPECT_EQ(ox_get_param(hcam, PARAM_CHIP_NAME, ATTR_CURRENT, again.data()), 1);
        EXPECT_STREQ(again.data(), chip.data());
    }
}

}  // namespace
