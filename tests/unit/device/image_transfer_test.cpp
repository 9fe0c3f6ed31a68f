#include "device/image_transfer.h"

#include <atomic>
#include <gmock/gmock.h>
#include <string>
#include <thread>
#include <vector>

#include "device/command_io.h"
#include "device/device_table.h"
#include "support/core/camera_test.h"

namespace {

using support::Bytes;
using support::hex;
using support::ScriptedCamera;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class ImageTransfer : public support::CameraTest<> {
  protected:
    ScriptedCamera& camera() { return camera_.camera(); }

    // Only its address reaches the driver; nothing is written.
    void* const pixels_ = reinterpret_cast<void*>(0x100000000);
};

// One image operation as "code +offset size", and the parameter record as hexadecimal words.
std::string Told(const support::Ioctl& ioctl, const void* pixels) {
    std::string text = bv_text_dv_ioctl(ioctl.code);
    if (ioctl.out && ioctl.code != DV_GET_VER) {
        const auto offset = static_cast<const char*>(ioctl.out) - static_cast<const char*>(pixels);
        text +=
            bv::FormatText(" +%llx %x", static_cast<unsigned long long>(offset), ioctl.out_size);
    }
    for (size_t at = 0; at + 4 <= ioctl.in.size(); at += 4)
        text += bv::FormatText(" %x", static_cast<unsigned>(ioctl.in[at] | ioctl.in[at + 1] << 8 |
                                                            ioctl.in[at + 2] << 16) |
                                          static_cast<unsigned>(ioctl.in[at + 3]) << 24);
    return text;
}

constexpr const char* plain = "01 00 00 00 00 00";
// Bit 0 of the second word asks for the table of frames.
constexpr const char* wants_table = "01 00 01 00 00 00";

TEST_F(ImageTransfer, TellsTheDriverWhereThePixelsGo) {
    auto told = [this](uint32_t transport, const char* version, uns32 bytes, uns32 frame_bytes,
                       uns16 buf_mode) {
        camera().transport(transport).answer(DV_GET_VER, hex(version));
        camera().forget();
        camera_.decode_info().frame_bytes = frame_bytes;
        camera_.cam_info().buf_mode = buf_mode;
        EXPECT_EQ(dv_driver_set_image_data_active(hcam, bytes, pixels_), 1);
        std::vector<std::string> operations;
        for (const auto& ioctl : camera().ioctls()) operations.push_back(Told(ioctl, pixels_));
        return operations;
    };
    // A triggered frame has no bound.
    camera_.cache().exp_mode = STROBED_MODE;
    camera_.decode_info().frame_count = 2;

    EXPECT_THAT(told(DRIVER_TYPE_PCI, wants_table, 0x4000000, 0x1000, CIRC_NONE),
                ElementsAre("DV_SET_IMAGE_DATA_ACTIVE +0 4000000 4000000"));
    EXPECT_THAT(told(DRIVER_TYPE_PCI, plain, 0x4000001, 0x1000, CIRC_NONE),
                ElementsAre("DV_SET_IMAGE_DATA_ACTIVE +0 3000000 4000001",
                            "DV_ADD_TO_TABLE +3000000 1000001", "DV_GET_VER"));
    EXPECT_THAT(told(DRIVER_TYPE_PCI, wants_table, 0x9000000, 0x1000, CIRC_OVERWRITE),
                ElementsAre("DV_SET_IMAGE_DATA_ACTIVE +0 3000000 9000000",
                            "DV_ADD_TO_TABLE +3000000 2000000", "DV_GET_VER",
                            "DV_FIX_TABLE 1000 9000000 1 3", "DV_ADD_TO_TABLE +5000000 4000000",
                            "DV_GET_VER", "DV_FIX_TABLE 1000 9000000 1 3"));
    // A frame above the buffer.
    EXPECT_THAT(told(DRIVER_TYPE_PCI, wants_table, 0x4000001, 0x4000002, CIRC_NONE),
                ElementsAre("DV_SET_IMAGE_DATA_ACTIVE +0 3000000 4000001",
                            "DV_ADD_TO_TABLE +3000000 1000001", "DV_GET_VER"));
    EXPECT_THAT(told(DRIVER_TYPE_1394, wants_table, 0x9000000, 0x1000, CIRC_NONE),
                ElementsAre("DV_SEND_IMAGE_PARMS 1000 9000000 0 0",
                            "DV_SET_IMAGE_DATA_ACTIVE_LARGE_BUF +0 9000000 9000000",
                            "DV_FIX_TABLE 1000 9000000 0 0"));
    EXPECT_THAT(told(DRIVER_TYPE_USB, plain, 0x2000, 0x1000, CIRC_NONE),
                ElementsAre("DV_RECEIVE_IMAGE_DATA +0 2000 1000 2000 0 0 ffffffff"));
    const auto ring = ElementsAre("DV_RECEIVE_IMAGE_DATA +0 2000 1000 2000 1 0 ffffffff");
    EXPECT_THAT(told(DRIVER_TYPE_PCIE, plain, 0x2000, 0x1000, CIRC_NO_OVERWRITE), ring);
    EXPECT_THAT(told(DRIVER_TYPE_SOFTWARE, plain, 0x2000, 0x1000, CIRC_OVERWRITE), ring);
}

TEST_F(ImageTransfer, PutsNoLimitWhereTheTimeIsUnknown) {
    camera_.cache().exp_mode = TIMED_MODE;
    camera_.cfg().exp_res_index = 9;
    EXPECT_EQ(dv_driver_set_image_data_active_usb_pcie_sw(hcam, 0x2000, pixels_), 1);
    const Bytes record = camera().ioctls().back().in;
    ASSERT_THAT(record, SizeIs(20));
    EXPECT_EQ(Bytes(record.begin() + 16, record.end()), hex("00 00 00 00"));
}

TEST_F(ImageTransfer, RefusesAnUnknownDriverType) {
    camera().transport(5);
    EXPECT_TRUE(trace_.refused(dv_driver_set_image_data_active(hcam, 0x2000, pixels_),
                               C7_DRIVER_COM_ERROR, "Unknown driver type 5"));
    EXPECT_THAT(camera().ioctls(), IsEmpty());
    EXPECT_EQ(dv_driver_set_image_data_active(-1, 0x2000, pixels_), 0);
}

// A hand-over that fails anywhere fails as a whole and tells no more.
TEST_F(ImageTransfer, StopsAtTheFirstStepThatFails) {
    struct FaultCase {
        uint32_t transport;
        uint32_t refused;
        std::vector<uint32_t> codes;
    };
    const FaultCase cases[] = {
        {DRIVER_TYPE_PCI, DV_ADD_TO_TABLE, {DV_SET_IMAGE_DATA_ACTIVE, DV_ADD_TO_TABLE}},
        {DRIVER_TYPE_PCI,
         DV_FIX_TABLE,
         {DV_SET_IMAGE_DATA_ACTIVE, DV_ADD_TO_TABLE, DV_GET_VER, DV_FIX_TABLE}},
        {DRIVER_TYPE_1394,
         DV_SET_IMAGE_DATA_ACTIVE_LARGE_BUF,
         {DV_SEND_IMAGE_PARMS, DV_SET_IMAGE_DATA_ACTIVE_LARGE_BUF}},
        {DRIVER_TYPE_1394,
         DV_FIX_TABLE,
         {DV_SEND_IMAGE_PARMS, DV_SET_IMAGE_DATA_ACTIVE_LARGE_BUF, DV_FIX_TABLE}},
    };
    camera().answer(DV_GET_VER, hex(wants_table));
    camera_.decode_info().frame_bytes = 0x1000;
    for (const FaultCase& c : cases) {
        SCOPED_TRACE(bv_text_dv_ioctl(c.refused));
        camera().transport(c.transport).refuse(c.refused);
        camera().forget();
        EXPECT_EQ(dv_driver_set_image_data_active(hcam, 0x4000001, pixels_), 0);
        EXPECT_EQ(camera().ioctl_codes(), c.codes);
        camera().refuse(c.refused, false);
    }
}

TEST_F(ImageTransfer, HandsOverWithoutAKnownCapabilityWord) {
    camera().transport(DRIVER_TYPE_PCI).refuse(DV_GET_VER);
    EXPECT_EQ(dv_driver_set_image_data_active(hcam, 0x4000001, pixels_), 1);
    EXPECT_THAT(camera().ioctl_codes(),
                ElementsAre(DV_SET_IMAGE_DATA_ACTIVE, DV_ADD_TO_TABLE, DV_GET_VER));
}

TEST_F(ImageTransfer, TranslatesTheDriversStatus) {
    struct StatusCase {
        uint32_t driver;
        int16 library;
        bool active;
    };
    const StatusCase cases[] = {
        {0, EXPOSURE_IN_PROGRESS, true},  {100, EXPOSURE_IN_PROGRESS, true},
        {101, READOUT_NOT_ACTIVE, false}, {102, READOUT_IN_PROGRESS, true},
        {103, READOUT_COMPLETE, false},   {99, READOUT_FAILED, false},
        {104, READOUT_FAILED, false},     {0xFFFFFFFF, READOUT_FAILED, false},
    };
    for (const StatusCase& c : cases) {
        SCOPED_TRACE(c.driver);
        camera().driver_status(c.driver, 0x87654321);
        uns32 bytes = 0;
        EXPECT_EQ(driver_get_status(hcam, &bytes), c.library);
        EXPECT_EQ(bytes, 0x87654321u);
        EXPECT_EQ(dv_driver_is_image_data_active(hcam), c.active);

        FRAME_INFO info{};
        int16 status = -5;
        const bool failed = c.library == READOUT_FAILED;
        EXPECT_EQ(dv_driver_get_image_data_status(hcam, &bytes, &info, &status), failed ? 0 : 1);
        EXPECT_EQ(status, failed ? -5 : c.library);
        if (failed) {
            EXPECT_TRUE(
                trace_.failed_with(C7_DRIVER_COM_ERROR, "Image data status is READOUT_FAILED"));
        }
    }
    EXPECT_THAT(camera_.writes(), IsEmpty()) << "the camera itself is never asked";
}

TEST_F(ImageTransfer, AStatusThatCannotBeReadIsNoError) {
    camera().driver_status(103, 7).refuse(DV_GET_IMAGE_DATA_STATUS);
    uns32 bytes = 99;
    int16 status = -5;
    FRAME_INFO info{};
    EXPECT_EQ(dv_driver_get_image_data_status(hcam, &bytes, &info, &status), 1);
    EXPECT_EQ(status, READOUT_NOT_ACTIVE);
    EXPECT_EQ(bytes, 0u);
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), 0);
}

TEST_F(ImageTransfer, GoesIdleInAllSteps) {
    EXPECT_EQ(dv_driver_set_image_data_idle(hcam), 1);
    EXPECT_THAT(camera().ioctl_codes(),
                ElementsAre(DV_SET_IMAGE_DATA_IDLE, DV_CLEANUP_IMAGE_DATA_IDLE));
    for (const support::Ioctl& ioctl : camera().ioctls()) {
        EXPECT_THAT(ioctl.in, IsEmpty());
        EXPECT_EQ(ioctl.out_size, 2u);
    }
    EXPECT_THAT(trace_.messages(bv::log_warning), IsEmpty());

    camera().refuse(DV_SET_IMAGE_DATA_IDLE).refuse(DV_CLEANUP_IMAGE_DATA_IDLE);
    EXPECT_EQ(dv_driver_set_image_data_idle(hcam), 0);
    EXPECT_THAT(
        trace_.messages(bv::log_warning),
        ElementsAre("dv_driver_set_image_data_idle: IOCTL DV_SET_IMAGE_DATA_IDLE failed, error "
                    "ignored",
                    "dv_driver_set_image_data_idle: Abort ack event not signalled within 500 ms",
                    "dv_driver_set_image_data_idle: IOCTL DV_CLEANUP_IMAGE_DATA_IDLE failed, "
                    "error ignored"));
}

TEST_F(ImageTransfer, StopsInAllSteps) {
    EXPECT_EQ(dv_driver_stop_data_transfer(hcam, -2), 1);
    ASSERT_THAT(camera().ioctl_codes(), ElementsAre(DV_STOP_DATA_TRANSFER));
    EXPECT_EQ(camera().ioctls().back().in, hex("FE FF FF FF"));
    EXPECT_EQ(camera().ioctls().back().out_size, 2u);
    EXPECT_THAT(trace_.messages(bv::log_warning), IsEmpty());

    camera().refuse(DV_STOP_DATA_TRANSFER);
    EXPECT_EQ(dv_driver_stop_data_transfer(hcam, 0), 0);
    EXPECT_THAT(
        trace_.messages(bv::log_warning),
        ElementsAre(
            "dv_driver_stop_data_transfer: IOCTL DV_STOP_DATA_TRANSFER failed, error ignored",
            "dv_driver_stop_data_transfer: Abort ack event not signalled within 500 ms"));
}

TEST_F(ImageTransfer, WaitsForTheNextFrameEventOnly) {
    struct Wait {
        std::string name;
        ScriptedCamera::Ack ack;
        dv_event* orvex_device::* event;
        boolean16 (*wait)(int16 hcam, uns32 limit);
    };
    const Wait waits[] = {
        {"BOF", ScriptedCamera::Ack::bof, &orvex_device::bof, dv_exp_wait_start_xfer},
        {"EOF", ScriptedCamera::Ack::eof, &orvex_device::eof, dv_exp_wait_end_xfer},
    };
    for (const Wait& c : waits) {
        ASSERT_TRUE(camera().signal(c.ack));
        EXPECT_EQ(c.wait(hcam, 20), 0) << "the event is past";
        EXPECT_TRUE(
            trace_.failed_with(C7_DRIVER_COM_ERROR, c.name + " event not signalled within 20 ms"));

        std::atomic<bool> done{false};
        std::thread driver([&] {
            while (!done) {
                camera().signal(c.ack);
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
        EXPECT_EQ(c.wait(hcam, 30000), 1);
        done = true;
        driver.join();

        dv_event_close(&(camera_.device()->*c.event));
        EXPECT_TRUE(trace_.refused(c.wait(hcam, 20), C7_DRIVER_COM_ERROR,
                                   "Failed to reset " + c.name + " event"));
        EXPECT_EQ(c.wait(-1, 20), 0);
    }
}

TEST_F(ImageTransfer, CountsTheInterruptsThatTheModeAsksFor) {
    camera().answer(DV_GET_IRQCOUNT, hex("FF FF FF FF 03 00 00 00"));
    const uns32 counts[] = {0, 0xFFFFFFFF, 3, 2, 0};
    for (int16 mode = NO_FRAME_IRQS; mode <= 4; ++mode) {
        camera_.cam_info().irq_mask = mode;
        uns32 count = 99;
        EXPECT_EQ(dv_exp_get_ints(hcam, &count), 1);
        EXPECT_EQ(count, counts[mode]);
    }
}

}  // namespace
