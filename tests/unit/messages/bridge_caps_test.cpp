#include "state/bridge_caps.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/core/test_camera.h"
#include "support/core/trace_capture.h"

using bv::FirmwareBootStatus;
using support::hex;

namespace {

class BridgeCapsTest : public testing::Test {
  protected:
    boolean16 Read() { return caps_.Read(support::TestCamera::hcam); }

    support::TestCamera camera_;
    support::TraceCapture trace_;
    bv::BridgeCaps caps_;
};

struct Block {
    const char* name;
    const char* bytes;
    bool reply_status;
    bool has_boot_status;
    FirmwareBootStatus boot_status;
};
void PrintTo(const Block& block, std::ostream* out) {
    *out << block.name;
}

class BridgeCapsBlock : public BridgeCapsTest, public testing::WithParamInterface<Block> {};

TEST_P(BridgeCapsBlock, Means) {
    camera_.camera().bridge_caps(hex(GetParam().bytes));
    ASSERT_EQ(Read(), 1);
    EXPECT_EQ(caps_.HasReplyStatusByte(), GetParam().reply_status);
    EXPECT_EQ(caps_.HasBootStatus(), GetParam().has_boot_status);
    EXPECT_EQ(caps_.BootStatus(), GetParam().boot_status);
}

INSTANTIATE_TEST_SUITE_P(
    All, BridgeCapsBlock,
    testing::Values(
        Block{"SignatureAlone", "BAADBAFE", false, false, FirmwareBootStatus::Unknown},
        Block{"StatusByte", "BAADBAFE 01", true, false, FirmwareBootStatus::Unknown},
        Block{"BootStatusPromisedOnly", "BAADBAFE 02", false, true, FirmwareBootStatus::Unknown},
        Block{"Idle", "BAADBAFE 03 03", true, true, FirmwareBootStatus::Idle},
        Block{"Loading", "BAADBAFE 02 02 FF", false, true, FirmwareBootStatus::Loading},
        Block{"Booting", "BAADBAFE 02 01", false, true, FirmwareBootStatus::Booting},
        Block{"UnknownBootStatus", "BAADBAFE 02 04", false, true, FirmwareBootStatus::Unknown},
        Block{"BootStatusNotPromised", "BAADBAFE 01 03", true, false, FirmwareBootStatus::Unknown},
        Block{"OtherSignature", "BAADBAFF 03 03", false, false, FirmwareBootStatus::Unknown},
        Block{"Short", "BA", false, false, FirmwareBootStatus::Unknown}),
    [](const auto& test) { return test.param.name; });

TEST_F(BridgeCapsTest, DriverWithoutCaps) {
    camera_.camera().refuse(DV_GET_BRIDGE_CAPS_SIZE);
    EXPECT_EQ(Read(), 1);
    EXPECT_FALSE(bv::ApiGlobal::IsErrorCodeSet());
    EXPECT_THAT(trace_.messages(bv::log_warning),
                testing::Contains("bv::BridgeCaps::Read: Unable to get the bridge caps size. This "
                                  "device driver probably does not support bridge capability "
                                  "reporting."));
}

TEST_F(BridgeCapsTest, NoBytes) {
    camera_.camera().answer(DV_GET_BRIDGE_CAPS_SIZE, {0, 0, 0, 0});
    EXPECT_EQ(Read(), 1);
    EXPECT_TRUE(
        trace_.contains("bv::BridgeCaps::Read: Driver reported 0B of bridge caps. Assuming "
                        "the bridge has no caps."));
}

TEST_F(BridgeCapsTest, OnlyNonZeroBytesAreLogged) {
    camera_.camera().bridge_caps(hex("BAADBAFE 00 0C"));
    EXPECT_EQ(Read(), 1);
    EXPECT_TRUE(trace_.contains("bv::BridgeCaps::Read: Driver reported 6B of bridge caps."));
    EXPECT_TRUE(
        trace_.contains("bv::BridgeCaps::Read: Bridge capabilies (only non-zero bytes printed):"));
    EXPECT_TRUE(trace_.contains("bv::BridgeCaps::Read:  Byte  0: 0xBA"));
    EXPECT_TRUE(trace_.contains("bv::BridgeCaps::Read:  Byte  5: 0x0C"));
    EXPECT_FALSE(trace_.contains("bv::BridgeCaps::Read:  Byte  4: 0x00"));
}

TEST_F(BridgeCapsTest, FailedReadForgetsTheBlockBefore) {
    camera_.camera().bridge_caps(hex("BAADBAFE 01"));
    ASSERT_EQ(Read(), 1);
    camera_.camera().refuse(DV_GET_BRIDGE_CAPS);
    EXPECT_EQ(Read(), 0);
    EXPECT_TRUE(trace_.failed_with(C7_DRIVER_COM_ERROR,
                                   "Failed to read bridge capabilities from the device driver."));
    EXPECT_FALSE(caps_.HasReplyStatusByte());
}

}  // namespace
