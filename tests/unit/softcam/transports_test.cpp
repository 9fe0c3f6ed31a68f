// The ways in which a buffer is handed over and events come back, each through a whole run.

#include "module_fixture.h"

namespace {

using client::Bytes;

constexpr uint32_t frame_bytes = 64 * 64 * 2;

std::string One(const std::string& settings) {
    return R"({"noise": false, "time_scale": 0, "stamp": true, "cameras": [{"model": "cmos", )" +
           settings + "}]}";
}

// Frame `number` carries its number at both ends; a torn frame carries two.
uint64_t NumberOf(std::span<const uint8_t> frame) {
    const uint64_t front = client::Little(frame.data(), 4);
    const uint64_t back = client::Little(frame.data() + frame.size() - 4, 4);
    return front == back ? front : 0;
}

using Transports = ModuleTest;

TEST_F(Transports, PciPiecesAreOneBuffer) {
    ASSERT_TRUE(Configure(One(R"("driver": "pci")")));
    client::Connection& camera = Camera();
    constexpr uint32_t total = 4 * frame_bytes;
    Bytes buffer(total);
    const uint32_t first = frame_bytes + 100;
    const client::Run run{.frames = 4, .regions = {{0, 63, 1, 0, 63, 1}}, .exposure = 1};
    ASSERT_TRUE(camera.Send(CLASS_SIMPLIFIED_CCL, run.Program()));
    ASSERT_TRUE(camera.Control(DV_SET_IMAGE_DATA_ACTIVE, &total, 4, buffer.data(), first));
    ASSERT_TRUE(camera.Control(DV_ADD_TO_TABLE, nullptr, 0, &buffer[first], total - first));
    const dv_image_parameters parameters{
        .frame_bytes = frame_bytes, .total_bytes = total, .circular = 0, .reserved = 3};
    ASSERT_TRUE(camera.Control(DV_FIX_TABLE, &parameters, sizeof(parameters), nullptr, 0));
    ASSERT_TRUE(camera.Execute());
    ASSERT_TRUE(camera.WaitComplete());
    for (uint32_t i = 0; i < 4; ++i)
        EXPECT_EQ(NumberOf(std::span(buffer).subspan(i * frame_bytes, frame_bytes)), i + 1);
    dv_irq_counts counts{};
    ASSERT_TRUE(camera.Control(DV_GET_IRQCOUNT, nullptr, 0, &counts, sizeof(counts)));
    EXPECT_EQ(counts.eof, 4u);
    ASSERT_TRUE(camera.Control(DV_CLEAR_IRQS, nullptr, 0, nullptr, 0));
    ASSERT_TRUE(camera.Control(DV_GET_IRQCOUNT, nullptr, 0, &counts, sizeof(counts)));
    EXPECT_EQ(counts.eof, 0u);
}

TEST_F(Transports, AnUnpluggedCameraWithoutADeviceFileSaysSoInItsRecord) {
    ASSERT_TRUE(Configure(One(R"("delivery": "callbacks")")));
    client::Connection& camera = Camera();
    EXPECT_EQ(camera.Console("unplug"), "ok");
    EXPECT_EQ(camera.Device()->state, uint32_t{DEVICE_REMOVED});
}

TEST_F(Transports, InitAndUninitComeInAnyOrder) {
    EXPECT_EQ(orvex_ddi_uninit(&ddi_), 1u);
    ASSERT_TRUE(Configure(One(R"("name": "A")")));
    const std::string path = ddi_.devices[0]->path;
    EXPECT_LT(path.size(), 107u);
    EXPECT_TRUE(std::filesystem::is_directory(std::filesystem::path(path).parent_path()));
    ASSERT_TRUE(Configure(One(R"("name": "B")")));
    EXPECT_STREQ(ddi_.devices[0]->name, "B");
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(path).parent_path()));
    const std::string second = ddi_.devices[0]->path;
    EXPECT_EQ(orvex_ddi_uninit(nullptr), 1u);
    EXPECT_EQ(orvex_ddi_uninit(nullptr), 1u);
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(second).parent_path()));
}

TEST_F(Transports, NullBuffersAreRefused) {
    ASSERT_TRUE(Configure(One(R"("name": "A")")));
    orvex_device* device = Camera().Device();
    uint16_t count = 0;
    EXPECT_EQ(device->write(device, nullptr, 5, &count), 0);
    EXPECT_EQ(device->read(device, nullptr, 5, &count), 0);
}

}  // namespace
