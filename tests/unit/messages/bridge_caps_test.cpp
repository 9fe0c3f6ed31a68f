#include "state/bridge_caps.h"

#include <gtest/gtest.h>

#include "support/core/camera_test.h"

using bv::FirmwareBootStatus;
using support::hex;

namespace {

class BridgeCapsTest : public support::CameraTest<> {
  protected:
    boolean16 Read() { return caps_.Read(hcam); }

    bv::BridgeCaps caps_;
};

TEST_F(BridgeCapsTest, Blocks) {
    struct Block {
        const char* bytes;
        bool reply_status;
        bool has_boot_status;
        FirmwareBootStatus boot_status;
    };
    const Block blocks[] = {
        {"BA", false, false, FirmwareBootStatus::Unknown},
        {"BAADBAFE", false, false, FirmwareBootStatus::Unknown},
        {"BAADBAFF 03 03", false, false, FirmwareBootStatus::Unknown},
        {"BAADBAFE 01", true, false, FirmwareBootStatus::Unknown},
        {"BAADBAFE 01 03", true, false, FirmwareBootStatus::Unknown},
        {"BAADBAFE 02", false, true, FirmwareBootStatus::Unknown},
        {"BAADBAFE 02 01", false, true, FirmwareBootStatus::Booting},
        {"BAADBAFE 02 02 FF", false, true, FirmwareBootStatus::Loading},
        {"BAADBAFE 03 03", true, true, FirmwareBootStatus::Idle},
        {"BAADBAFE 02 04", false, true, FirmwareBootStatus::Unknown},
    };
    for (const Block& block : blocks) {
        SCOPED_TRACE(block.bytes);
        camera_.camera().bridge_caps(hex(block.bytes));
        ASSERT_EQ(Read(), 1);
        EXPECT_EQ(caps_.HasReplyStatusByte(), block.reply_status);
        EXPECT_EQ(caps_.HasBootStatus(), block.has_boot_status);
        EXPECT_EQ(caps_.BootStatus(), block.boot_status);
    }
}

TEST_F(BridgeCapsTest, FailedReadForgetsTheBlockBefore) {
    camera_.camera().bridge_caps(hex("BAADBAFE 01"));
    ASSERT_EQ(Read(), 1);
    camera_.camera().refuse(DV_GET_BRIDGE_CAPS);
    EXPECT_TRUE(trace_.refused(Read(), C7_DRIVER_COM_ERROR,
                               "Failed to read bridge capabilities from the device driver."));
    EXPECT_FALSE(caps_.HasReplyStatusByte());
}

}  // namespace
