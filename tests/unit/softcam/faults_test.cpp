// Faults on demand, and the service console that brings them about.

#include "module_fixture.h"

namespace {

using client::Bytes;

class FaultTest : public ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        ASSERT_TRUE(Configure(R"({"noise": false, "time_scale": 0,
                                  "cameras": [{"model": "cmos"}, {"model": "em"}]})"));
    }
};

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
        EXPECT_EQ(camera.Console(word), "ok");
        ASSERT_TRUE(camera.Submit(1, 0x8000003B));
        dv_file_completion completion{};
        ASSERT_TRUE(camera.Take(completion));
        EXPECT_EQ(completion.out.flags, flag);
    }
}

}  // namespace
