// A GigE Vision camera through the whole library: a fake one, which looks at a known scene, on a
// network of this program's own.
#include <array>
#include <chrono>
#include <gmock/gmock.h>
#include <memory>
#include <string>

#include "orvex/orvex.hpp"

#include "support/command_line.h"
#include "support/environment.h"
#include "support/eventually.h"
#include "support/fake_gige/scene.h"

#include "own_network.h"

namespace {

using orvex::make_region;
using orvex::Milliseconds;
using support::Eventually;
using Clock = std::chrono::steady_clock;

// Of a format of so many bits.
std::vector<uns16> SceneIn(const rgn_type& r, int bits) {
    std::vector<uns16> pixels;
    for (uns32 y = r.p1; y + r.pbin <= r.p2 + 1u; y += r.pbin)
        for (uns32 x = r.s1; x + r.sbin <= r.s2 + 1u; x += r.sbin) {
            uns32 sum = 0;
            for (uns32 i = 0; i < uns32{r.pbin} * r.sbin; ++i)
                sum += fake_gige::Scene(x + i % r.sbin, y + i / r.sbin) >> (16 - bits);
            pixels.push_back(static_cast<uns16>(std::min(sum, 65535u)));
        }
    return pixels;
}

class GigeCamera : public testing::Test {
  protected:
    static void SetUpTestSuite() { without_ = EnterOwnNetwork(); }
    void SetUp() override {
        if (!without_.empty()) GTEST_SKIP() << without_;
        StartFake();
    }

    void StartFake(const std::string& lost = "0") {
        fake_.reset();
        fake_ = std::make_unique<support::RunningProgram>(
            support::ProgramCall{ORVEX_FAKE_GIGE, "127.0.0.1 SN42 " + lost});
        ASSERT_EQ(fake_->ReadLine(), "ready\n");
    }

    // In the middle of a run too, which oz_cam_send_debug() would end.
    static std::string Console(const orvex::Camera& camera, const std::string& line) {
        std::string answer(line.size() + 10, '\0');
        const auto length = [](size_t size) { return std::string{'\0', static_cast<char>(size)}; };
        const std::string commands =
            "\x26\x34" + length(line.size()) + line + "\x28" + length(answer.size());
        std::string frame = "\x3F" + length(commands.size()) + commands;
        EXPECT_EQ(ox_internal_cam_write_read_passthrough(
                      camera.handle(), static_cast<uns16>(frame.size()), frame.data(),
                      static_cast<uns16>(answer.size()), answer.data()),
                  1);
        return answer.c_str();
    }

    static void ExpectScene(const orvex::Camera& camera, const rgn_type& region, int bits) {
        const orvex::Image image = orvex::snap(camera, {Milliseconds(1), {region}});
        EXPECT_TRUE(image.pixels == SceneIn(region, bits))
            << bits << " bits, columns " << region.s1 << ".." << region.s2 << "/" << region.sbin
            << ", rows " << region.p1 << ".." << region.p2 << "/" << region.pbin;
    }

    static inline std::string without_;
    support::Environment cameras_{"ORVEX_GENICAM", "127.0.0.1"};
    support::Environment soft_{"ORVEX_SOFTCAM", "off"};
    support::Environment modules_{"ORVEX_MODULE_PATH", ORVEX_LIBRARY_DIR "/orvex"};
    std::unique_ptr<support::RunningProgram> fake_;
};

TEST_F(GigeCamera, ShowsAnyRegionInEveryFormat) {
    const orvex::Library library;
    EXPECT_THAT(library.cameras(), testing::ElementsAre("Fake-SN42"));
    const orvex::Camera camera(library, 0);
    EXPECT_EQ(camera.get<PARAM_CAM_INTERFACE_TYPE>(), OX_CAM_IFC_TYPE_ETHERNET);
    std::vector<int> depths;
    for (int16 speed = 0; speed < 4; ++speed) {
        camera.set<PARAM_SPDTAB_INDEX>(speed);
        const int bits = depths.emplace_back(camera.get<PARAM_BIT_DEPTH>());
        ExpectScene(camera, make_region(0, 0, fake_gige::columns, fake_gige::rows), bits);
        ExpectScene(camera, make_region(3, 5, 101, 77), bits);
        ExpectScene(camera, make_region(649, 491, 7, 9), bits);
        ExpectScene(camera, make_region(5, 7, 629, 461, 2, 2), bits);
        ExpectScene(camera, make_region(1, 1, 600, 480, 8, 8), bits);
    }
    EXPECT_THAT(depths, testing::ElementsAre(16, 12, 10, 8));
}

TEST_F(GigeCamera, TakesSettingsAndRefusesWhatItCannot) {
    const orvex::Library library;
    const orvex::Camera camera(library, 0);
    EXPECT_EQ(camera.get<PARAM_TEMP>(), -1234);
    EXPECT_EQ(camera.get<PARAM_TEMP_SETPOINT>(), -1000);
    camera.set<PARAM_TEMP_SETPOINT>(-1500);
    camera.set<PARAM_GAIN_INDEX>(4);
    camera.set<PARAM_ADC_OFFSET>(17);
    EXPECT_EQ(camera.get<PARAM_GAIN_NAME>(), "3");
    EXPECT_EQ(Console(camera, "AcquisitionFrameRate=50"), "ok");
    orvex::snap(camera, {Milliseconds(7.25)});
    EXPECT_EQ(Console(camera, "ExposureTimeAbs"), "7250");
    EXPECT_EQ(Console(camera, "GainRaw"), "3");
    EXPECT_EQ(Console(camera, "BlackLevelRaw"), "17");
    EXPECT_EQ(Console(camera, "DeviceTemperatureSetpoint"), "-15");
    EXPECT_EQ(Console(camera, "AcquisitionFrameRate"), "50");
    orvex::snap(camera, {Milliseconds(0)});
    EXPECT_EQ(Console(camera, "ExposureTimeAbs"), "10") << "the least that there is";

    EXPECT_EQ(Console(camera, "GainRaw=4711"), "refused");
    EXPECT_EQ(Console(camera, "GainRaw"), "3");
    EXPECT_EQ(Console(camera, "DeviceTemperature=20"), "refused");
    EXPECT_EQ(Console(camera, "NoSuchFeature"), "unknown");
    EXPECT_EQ(Console(camera, "NoSuchFeature=1"), "refused");
    EXPECT_THROW(orvex::snap(camera, {Milliseconds(10001)}), orvex::Error);
}

TEST_F(GigeCamera, WaitsForTriggers) {
    const orvex::Library library;
    const orvex::Camera camera(library, 0);
    EXPECT_EQ(Console(camera, "TriggerSource=Software"), "ok");
    orvex::Sequence sequence(
        camera, {Milliseconds(1), {make_region(0, 0, 64, 64)}, EXT_TRIG_EDGE_RISING}, 2);
    sequence.start();
    EXPECT_EQ(Console(camera, "Width=32"), "refused") << "in the middle of a run";
    EXPECT_FALSE(sequence.wait_for(Milliseconds(200)));
    for (uns32 frame = 1; frame <= 2; ++frame) {
        EXPECT_EQ(sequence.arrived(), frame - 1);
        EXPECT_EQ(Console(camera, "trigger"), "ok");
        EXPECT_TRUE(Eventually([&] {
            sequence.wait_for(Milliseconds(10));
            return sequence.arrived() == frame;
        }));
    }
    sequence.finish();
    ExpectScene(camera, make_region(0, 0, 64, 64), 16);
}

TEST_F(GigeCamera, TellsOfLostFramesAndDeliversWholeOnes) {
    StartFake("0.002");
    const orvex::Library library;
    const orvex::Camera camera(library, 0);
    const rgn_type region = make_region(0, 0, 512, 400);
    const std::vector<uns16> scene = SceneIn(region, 16);
    orvex::ContinuousRun run(camera, {Milliseconds(10), {region}}, {16, true});
    bool lost = false;
    uns32 seen = 0;
    uns32 looked_at = 0;
    uns32 whole = 0;
    for (const orvex::Frame& frame : run) {
        ++seen;
        const orvex::Pixels pixels = frame.pixels();
        // The scene becomes brighter from frame to frame; in one it is the same everywhere.
        const auto brighter = static_cast<uns16>(pixels[0] - scene[0]);
        const bool same =
            std::equal(scene.begin(), scene.end(), pixels.begin(), [&](uns16 dark, uns16 bright) {
                return static_cast<uns16>(dark + brighter) == bright;
            });
        // One that the camera writes over again meanwhile tells nothing.
        if (frame.intact()) {
            ++looked_at;
            whole += same;
        }
        lost = lost || Console(camera, "lost") != "0";
        if ((lost && seen >= 100) || seen == 2000) break;
    }
    EXPECT_EQ(whole, looked_at);
    EXPECT_GE(looked_at, seen / 2);
    EXPECT_TRUE(lost);
}

TEST_F(GigeCamera, IsRemovedWhenItDiesAndOpensAgain) {
    const orvex::Library library;
    Clock::time_point end_seen;
    {
        const orvex::Camera camera(library, 0);
        orvex::ContinuousRun run(camera, {Milliseconds(10), {make_region(0, 0, 64, 64)}});
        run.start();
        ASSERT_TRUE(Eventually([&] { return run.newest() > 3; }));
        const auto killed = Clock::now();
        fake_.reset();
        EXPECT_TRUE(Eventually([&] { return camera.removed(); }));
        EXPECT_LT(Clock::now() - killed, std::chrono::seconds(10));
        EXPECT_THROW(orvex::snap(camera), orvex::CameraGone);
        end_seen = Clock::now();
    }
    EXPECT_LT(Clock::now() - end_seen, std::chrono::seconds(2)) << "a close that nobody answers";
    StartFake();
    // After an open that failed, the next one only clears up.
    std::unique_ptr<orvex::Camera> camera;
    EXPECT_TRUE(Eventually([&] {
        try {
            camera = std::make_unique<orvex::Camera>(library, 0);
        } catch (const orvex::Error&) {
        }
        return camera != nullptr;
    }));
    ExpectScene(*camera, make_region(10, 10, 50, 50), 16);
}

TEST_F(GigeCamera, IsOfOneProgramAtATime) {
    const orvex::Library library;
    const orvex::Camera camera(library, 0);
    const support::ProgramOutput other =
        support::RunningProgram({ORVEX_BIN_DIR "/orvex", "get Fake-SN42 bit_depth"}).Finish();
    EXPECT_EQ(other.status, 1) << other.text;
    EXPECT_THAT(other.text, testing::HasSubstr("cannot open camera"));
    ExpectScene(camera, make_region(10, 10, 50, 50), 16);
}

TEST_F(GigeCamera, IsFoundAtEachInit) {
    for (int time = 0; time < 4; ++time) {
        const orvex::Library library;
        const orvex::Camera camera(library, "Fake-SN42");
        ExpectScene(camera, make_region(10, 10, 50, 50), 16);
    }
    testing::internal::CaptureStderr();
    {
        const support::Environment wrong("ORVEX_GENICAM", "nowhere");
        EXPECT_THAT(orvex::Library().cameras(), testing::IsEmpty());
    }
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr("'nowhere' of ORVEX_GENICAM is no network address"));
}

}  // namespace
