// Faults on demand, and the service console that brings them about.

#include "support/device_file_host.h"

#include "module_fixture.h"

namespace {

class FaultTest : public ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        ASSERT_TRUE(Configure(R"({"noise": false, "time_scale": 0,
                                  "cameras": [{"model": "cmos"}, {"model": "em"}]})"));
    }
};

TEST_F(FaultTest, SuspendAndBusResetAreReported) {
    client::Connection& camera = Camera();
    const auto file = support::DeviceFileHost::connect(camera.Device()->path, orvex_ddi_open_file);
    ASSERT_TRUE(file);
    const std::pair<const char*, uint32_t> events[] = {{"suspend", NOTIFICATION_SYS_SUSPEND},
                                                       {"resume", NOTIFICATION_BUS_RESET}};
    for (const auto& [word, flag] : events) {
        EXPECT_EQ(camera.Console(word), "ok");
        ASSERT_TRUE(file->send(DV_FILE_SUBMIT, 1, 0x8000003B));
        dv_file_completion completion{};
        ASSERT_TRUE(file->take(completion));
        EXPECT_EQ(completion.out.flags, flag);
    }
}

}  // namespace
