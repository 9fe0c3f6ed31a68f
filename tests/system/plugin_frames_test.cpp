// Frames on their way through the sample plug-in for post-processing, in every kind of run.
#include <algorithm>
#include <atomic>
#include <gmock/gmock.h>

#include "support/eventually.h"

#include "plugin_camera.h"

namespace {

using testing::Each;
using testing::ElementsAre;

constexpr uns32 threshold = 1000;
constexpr uns32 no_threshold = 65535;  // above which no pixel can be

std::vector<uns16> Frame(const std::vector<uns16>& pixels, size_t index) {
    const auto start = pixels.begin() + static_cast<long>(index * PluginCamera::frame_pixels);
    return {start, start + static_cast<long>(PluginCamera::frame_pixels)};
}

// What is left of a frame without its hot pixels, as the plug-in's user reads the rule.
std::vector<uns16> WithoutHotPixels(const std::vector<uns16>& frame) {
    constexpr int columns = 64;
    constexpr int rows = 48;
    std::vector<uns16> result = frame;
    const auto at = [&](int x, int y) { return frame[static_cast<size_t>(y * columns + x)]; };
    for (int y = 0; y < rows; ++y) {
        for (int x = 0; x < columns; ++x) {
            std::vector<uns16> neighbours;
            for (int ny = std::max(y - 1, 0); ny <= std::min(y + 1, rows - 1); ++ny) {
                for (int nx = std::max(x - 1, 0); nx <= std::min(x + 1, columns - 1); ++nx) {
                    if (nx != x || ny != y) neighbours.push_back(at(nx, ny));
                }
            }
            std::sort(neighbours.begin(), neighbours.end());
            const uns16 median = neighbours[neighbours.size() / 2];
            if (at(x, y) > median + threshold)
                result[static_cast<size_t>(y * columns + x)] = median;
        }
    }
    return result;
}

TEST(PluginFrames, PolledSequenceIsProcessedOnceInPlace) {
    const PluginCamera camera;
    const std::vector<uns16> seen = camera.Seen();
    const std::vector<uns16> cleaned = WithoutHotPixels(seen);
    ASSERT_NE(cleaned, seen);

    camera.SwitchOn(threshold);
    const std::vector<uns16> with = camera.RunSequence(3);
    ASSERT_EQ(with.size(), 3 * seen.size());
    for (size_t i = 0; i < 3; ++i) EXPECT_EQ(Frame(with, i), cleaned) << i;

    camera.SetModule(0, 0, 0);
    const std::vector<uns16> without = camera.RunSequence(2);
    for (size_t i = 0; i < 2; ++i) EXPECT_EQ(Frame(without, i), seen) << i;
}

TEST(PluginFrames, SequenceWithCallbacksIsProcessedAtItsFinish) {
    const PluginCamera camera;
    camera.SwitchOn(threshold);
    std::atomic<int> frames_ended{0};
    auto* callback =
        +[](const FRAME_INFO*, void* count) { ++*static_cast<std::atomic<int>*>(count); };
    camera.Require(ox_cam_register_callback_ex3(camera.handle(), OX_CALLBACK_EOF,
                                                reinterpret_cast<void*>(callback), &frames_ended),
                   "register");
    std::vector<uns16> pixels = camera.StartSequence(3);
    camera.Await();
    EXPECT_TRUE(support::Eventually([&] { return frames_ended > 0; }));
    for (size_t i = 0; i < 3; ++i) EXPECT_EQ(Frame(pixels, i), camera.Seen()) << i;

    camera.Require(ox_exp_finish_seq(camera.handle(), pixels.data(), 0), "finish");
    for (size_t i = 0; i < 3; ++i)
        EXPECT_EQ(Frame(pixels, i), WithoutHotPixels(camera.Seen())) << i;
    camera.Require(ox_cam_deregister_callback(camera.handle(), OX_CALLBACK_EOF), "deregister");
}

// The camera fills a ring of the library's; the application's ring gets the frames that it asks
// for, one slot after the other from slot 1 on.
TEST(PluginFrames, ContinuousRunGoesThroughAPrivateRing) {
    const PluginCamera camera("1");
    camera.SwitchOn(threshold);
    constexpr size_t slots = 64;
    constexpr size_t taken = 5;
    const std::vector<uns16> ring = camera.StartContinuous(slots, PluginCamera::region, 5);
    uns32 number = 0;
    for (size_t i = 1; i <= taken; ++i) {
        uns16* frame = nullptr;
        number = camera.AwaitFrame(number, &frame);
        EXPECT_EQ(frame, ring.data() + i * PluginCamera::frame_pixels);
    }
    camera.Require(ox_exp_stop_cont(camera.handle(), CCS_HALT), "stop");
    const std::vector<uns16> cleaned = WithoutHotPixels(camera.Seen());
    for (size_t i = 0; i < slots; ++i) {
        if (i >= 1 && i <= taken) {
            EXPECT_EQ(Frame(ring, i), cleaned) << i;
        } else {
            EXPECT_THAT(Frame(ring, i), Each(PluginCamera::untouched)) << i;
        }
    }
}

TEST(PluginAverage, SequenceShowsTheMeanOfTheLastFrames) {
    const PluginCamera camera("0", true);
    camera.SwitchOn(no_threshold);
    camera.SetModule(1, 0, 1);
    camera.SetModule(1, 1, 3);
    const auto numbers = [](const std::vector<uns16>& pixels) {
        std::vector<uns16> first;
        for (size_t i = 0; i < pixels.size(); i += PluginCamera::frame_pixels) {
            first.push_back(pixels[i]);
        }
        return first;
    };
    // Halves are rounded up.
    const std::vector<uns16> averaged = camera.RunSequence(6);
    EXPECT_THAT(numbers(averaged), ElementsAre(1, 2, 2, 3, 4, 5));
    EXPECT_EQ(averaged[70], camera.Seen()[70]);

    // The stamps of two runs in a row: 5, 6, 1 and so on.
    EXPECT_THAT(numbers(camera.RunSequence(2)), ElementsAre(4, 3));
    // Switched on again it begins anew.
    camera.SetModule(1, 0, 1);
    EXPECT_THAT(numbers(camera.RunSequence(2)), ElementsAre(1, 2));
}

// Frames of 2 MB, whose memory goes back to the system at once.
constexpr rgn_type large_region{.s1 = 0, .s2 = 1023, .sbin = 1, .p1 = 0, .p2 = 1023, .pbin = 1};

// The camera must have let go of the private ring before its memory goes, or it writes where
// nothing is any more; so must a callback that is in the plug-in with a frame of it.
TEST(PluginRing, LibraryEndsInTheMiddleOfARun) {
    static std::atomic<int> begun;
    const auto take = +[](FRAME_INFO* info) {
        ++begun;
        void* frame = nullptr;
        ox_exp_get_latest_frame(info->hCam, &frame);
    };
    for (int round = 0; round < 3; ++round) {
        // Slow enough not to write where the plug-in still reads.
        const PluginCamera camera("60");
        camera.SwitchOn(no_threshold);
        begun = 0;
        camera.Require(ox_cam_register_callback_ex2(camera.handle(), OX_CALLBACK_EOF,
                                                    reinterpret_cast<void*>(take)),
                       "register");
        const std::vector<uns16> ring = camera.StartContinuous(4, large_region, 1);
        ASSERT_TRUE(support::Eventually([] { return begun > 0; }));
        EXPECT_EQ(ox_orvex_uninit(), 1);
    }
}

// Whatever the plug-in does meanwhile, a frame lies in the ring of the run.
TEST(PluginRing, IsTheApplicationsWhenThePluginIsSwitchedInTheRun) {
    const PluginCamera camera("1");
    camera.SwitchOn(threshold);
    for (const uns32 then_on : {0, 1}) {
        const std::vector<uns16> ring = camera.StartContinuous(64, PluginCamera::region, 5);
        camera.SetModule(0, 0, then_on);
        uns16* frame = nullptr;
        camera.AwaitFrame(0, &frame);
        ASSERT_NE(frame, nullptr);
        const auto offset = static_cast<size_t>(frame - ring.data());
        ASSERT_LT(offset, ring.size());
        EXPECT_EQ(Frame(ring, offset / PluginCamera::frame_pixels), camera.Seen()) << then_on;
        camera.Require(ox_exp_stop_cont(camera.handle(), CCS_HALT), "stop");
    }
}

// A start in the middle of a run takes the ring away from the camera before its memory goes.
TEST(PluginRing, RunIsStartedTwice) {
    const PluginCamera camera;
    camera.SwitchOn(no_threshold);
    std::vector<uns16> ring = camera.StartContinuous(4, large_region, 1);
    camera.AwaitFirstFrame();
    const auto bytes = static_cast<uns32>(ring.size() * sizeof(uns16));
    camera.Require(ox_exp_start_cont(camera.handle(), ring.data(), bytes), "start again");
    camera.AwaitFirstFrame();
    camera.Require(ox_exp_stop_cont(camera.handle(), CCS_HALT), "stop");
    camera.Require(ox_exp_start_cont(camera.handle(), ring.data(), bytes), "start after the stop");
    camera.AwaitFirstFrame();
    camera.Require(ox_exp_stop_cont(camera.handle(), CCS_HALT), "stop");
}

TEST(PluginRing, FramesGoWithIt) {
    const PluginCamera camera("1");
    camera.SwitchOn(threshold);
    std::vector<uns16> ring = camera.StartContinuous(64, PluginCamera::region, 5);
    uns16* frame = nullptr;
    camera.AwaitFrame(0, &frame);
    camera.Require(ox_exp_stop_cont(camera.handle(), CCS_HALT), "stop");
    camera.Require(ox_exp_finish_seq(camera.handle(), ring.data(), 0), "finish");
    camera.SetModule(0, 0, 0);
    void* newest = nullptr;
    EXPECT_EQ(ox_exp_get_latest_frame(camera.handle(), &newest), 0);
    EXPECT_EQ(ox_error_code(), C0_NO_IMG_DATA);
    EXPECT_EQ(newest, nullptr);
    EXPECT_EQ(Frame(camera.RunSequence(1), 0), camera.Seen());
}

}  // namespace
