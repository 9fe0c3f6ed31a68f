#include <cstring>

#include "../device_file_fixture.h"
#include "socket_driver.h"

namespace tests {

SystemDriver MakeSystemDriver(const std::filesystem::path& directory) {
    const std::filesystem::path path = directory / "device";
    return {std::make_unique<SocketDriver>(path), path};
}

namespace {

class SocketFile : public DeviceFileTest {
  protected:
    void SetUp() override { Open(driver_, directory_ / "device", nullptr); }
    SocketDriver driver_{directory_ / "device"};
};

TEST_F(SocketFile, RequestAndReportCrossTheWire) {
    OverlappedRequest request;
    request.in.mask = 0x8000003F;
    ASSERT_EQ(file_.Submit(DV_EVENT_NOTIFICATION_REQUEST, request), operation_in_progress);
    const dv_file_request message = driver_.Receive();
    EXPECT_EQ(message.operation, 1u);
    EXPECT_EQ(message.code, 0x223f00u);
    EXPECT_EQ(message.in_size, 48u);
    EXPECT_EQ(message.out_size, 48u);
    EXPECT_EQ(message.in.mask, 0x8000003Fu);

    // By hand, as another system's driver would lay it out.
    uint8_t raw[64] = {};
    std::memcpy(raw, &message.id, 8);
    raw[12] = 48;
    raw[16 + 8] = NOTIFICATION_EOF;
    raw[16 + 16] = 7;
    raw[16 + 41] = 1;
    driver_.SendRaw(raw, sizeof raw);
    ASSERT_EQ(Take(1).size(), 1u);
    EXPECT_EQ(request.out.flags, NOTIFICATION_EOF);
    EXPECT_EQ(request.out.frame_number_eof, 7u);
    EXPECT_EQ(request.out.time_stamp_bof, 256);

    // Messages of other sizes are none.
    file_.Submit(1, request);
    std::array<uint8_t, 200> noise{};
    const uint64_t id = driver_.Receive().id;
    std::memcpy(noise.data(), &id, sizeof id);
    for (size_t size : {1u, 63u, 65u, 200u, 0u}) driver_.SendRaw(noise.data(), size);
    driver_.Complete(id, 2);
    EXPECT_EQ(TakeAll().size(), 1u);
    EXPECT_EQ(request.out.frame_number_eof, 2u);
}

TEST(DeviceFileOpen, PathsLongerThanASocketAddress) {
    support::TempDir directory;
    const std::filesystem::path deep = directory / std::string(150, 'd');
    std::filesystem::create_directory(deep);
    SocketDriver driver(deep / "device");
    platform::DeviceFile file;
    // What the module does not open itself is opened by its path.
    EXPECT_TRUE(file.Open((deep / "device").c_str(), CalledDriver::Open));
}

TEST(DeviceFileOpen, RefusesADeadSocket) {
    support::TempDir directory;
    const std::filesystem::path dead = directory / "dead";
    {
        SocketDriver driver(dead);
    }
    platform::DeviceFile file;
    EXPECT_FALSE(file.Open(dead.c_str()));
}

}  // namespace

}  // namespace tests
