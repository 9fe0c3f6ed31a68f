// Faults on demand, and the service console that brings them about.

#include "module_fixture.h"

namespace {

using client::Bytes;

constexpr rgn_type square{0, 7, 1, 0, 7, 1};  // 128 bytes

class FaultTest : public ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        ASSERT_TRUE(Configure(R"({"noise": false, "time_scale": 0,
                                  "cameras": [{"model": "cmos"}, {"model": "em"}]})"));
    }
    // Leaves a request at the driver and makes sure that it arrived.
    void Request(client::Connection& camera, uint64_t id) {
        ASSERT_TRUE(camera.Submit(id + 1000, NOTIFICATION_FLUSH));
        ASSERT_TRUE(camera.Submit(id, 0x8000003B));
        ASSERT_TRUE(camera.Control(DV_EVENT_NOTIFICATION_FLUSH, nullptr, 0, nullptr, 0));
        dv_file_completion completion{};
        ASSERT_TRUE(camera.Take(completion));
    }
};

TEST_F(FaultTest, AcknowledgesGetLostOnceAndThenNoMore) {
    client::Connection& camera = Camera();
    camera.Console("fault lost_write_ack 1");
    EXPECT_EQ(camera.AskNumber(PAR_SIZE, 2), 2048u);
    EXPECT_TRUE(camera.Ask(PAR_SIZE, 2).empty());
    EXPECT_EQ(camera.AskNumber(PAR_SIZE, 2), 2048u);
    camera.Console("fault lost_read_ack");
    EXPECT_TRUE(camera.Ask(PAR_SIZE, 2).empty());
}

TEST_F(FaultTest, RepliesAreCutGarbledAndRefused) {
    client::Connection& camera = Camera();
    camera.Console("fault short_reply 1");
    camera.Ask(PAR_SIZE, 2);
    EXPECT_EQ(camera.Ask(PAR_SIZE, 2), Bytes{8});
    camera.Console("fault garbled_reply");
    EXPECT_EQ(camera.Ask(PAR_SIZE, 2), (Bytes{8 ^ 0xA5, 0xA5}));
    camera.Console("fault refused_command");
    EXPECT_TRUE(camera.Ask(PAR_SIZE, 2).empty());
    client::Connection& with_status = Camera(1);
    with_status.Console("fault refused_command");
    EXPECT_EQ(with_status.Ask(PAR_SIZE, 3), Bytes{3});
}

TEST_F(FaultTest, SuspendAndBusResetAreReported) {
    client::Connection& camera = Camera();
    ASSERT_TRUE(camera.OpenFile());
    const std::pair<const char*, uint32_t> events[] = {{"suspend", NOTIFICATION_SYS_SUSPEND},
                                                       {"resume", NOTIFICATION_BUS_RESET}};
    for (const auto& [word, flag] : events) {
        Request(camera, 1);
        EXPECT_EQ(camera.Console(word), "ok");
        dv_file_completion completion{};
        ASSERT_TRUE(camera.Take(completion));
        EXPECT_EQ(completion.out.flags, flag);
    }
}

TEST_F(FaultTest, TheConsoleAnswersAndSets) {
    client::Connection& camera = Camera();
    EXPECT_EQ(camera.Console("model"), "cmos");
    EXPECT_EQ(camera.Console("scene"), "chart");
    EXPECT_EQ(camera.Console("scene flat 12"), "ok");
    EXPECT_EQ(camera.Console("scene"), "flat");
    EXPECT_EQ(camera.Console("noise"), "off");
    EXPECT_EQ(camera.Console("noise on"), "ok");
    EXPECT_EQ(camera.Console("noise"), "on");
    EXPECT_EQ(camera.Console("time_scale 0.25"), "ok");
    EXPECT_EQ(camera.Console("time_scale"), "0.25");
    EXPECT_EQ(camera.Console("fault rain"), "unknown");
    EXPECT_EQ(camera.Console("scene moon"), "unknown");
    EXPECT_EQ(camera.Console("frobnicate"), "unknown");
}

// A frame waits for its trigger, by hand.
TEST_F(FaultTest, AManualTriggerReleasesOneFrame) {
    ASSERT_TRUE(Configure(R"({"noise": false, "time_scale": 0, "trigger": {"manual": true},
                              "cameras": [{"model": "cmos"}]})"));
    client::Connection& camera = Camera();
    Bytes frame(128);
    const client::Run run{.regions = {square}, .exposure_mode = EXT_TRIG_EDGE_RISING};
    ASSERT_TRUE(camera.Send(CLASS_SIMPLIFIED_CCL, run.Program()));
    ASSERT_TRUE(camera.Receive(frame, 128, false));
    ASSERT_TRUE(camera.Execute());
    EXPECT_EQ(camera.Console("frames"), "0");
    EXPECT_TRUE(
        support::Eventually([&] { return camera.Status().status == DRIVER_STATUS_EXPOSING; }));
    EXPECT_EQ(camera.Console("trigger"), "ok");
    EXPECT_TRUE(camera.WaitComplete());
}

}  // namespace
