#include "engine/image_transfer.h"

#include <gtest/gtest.h>

namespace {

using engine::ImageTransfer;

dv_image_parameters Parameters(uint32_t frame, uint32_t total, uint32_t circular) {
    return {.frame_bytes = frame, .total_bytes = total, .circular = circular, .reserved = 0};
}

TEST(ImageTransfer, AFrameOfTheWrongSizeFailsTheReadout) {
    ImageTransfer transfer;
    std::vector<uint8_t> buffer(4, 9);
    ASSERT_TRUE(transfer.Announce(Parameters(2, 4, 0)));
    ASSERT_TRUE(transfer.Begin(buffer.data(), 4, 4));
    EXPECT_FALSE(transfer.Store(std::vector<uint8_t>{1, 2, 3}));
    EXPECT_GT(transfer.Status().status, 0u);
    EXPECT_LT(transfer.Status().status, 100u);
    EXPECT_EQ(buffer, std::vector<uint8_t>(4, 9));
}

TEST(ImageTransfer, NothingIsWrittenAfterRelease) {
    ImageTransfer transfer;
    std::vector<uint8_t> buffer(2, 9);
    ASSERT_TRUE(transfer.Announce(Parameters(2, 2, 1)));
    ASSERT_TRUE(transfer.Begin(buffer.data(), 2, 2));
    transfer.Release();
    EXPECT_FALSE(transfer.Store(std::vector<uint8_t>{1, 2}));
    EXPECT_EQ(transfer.Status().status, DRIVER_STATUS_INACTIVE);
    EXPECT_EQ(buffer, std::vector<uint8_t>(2, 9));
}

TEST(ImageTransfer, SenselessRecordsAreRefused) {
    ImageTransfer transfer;
    std::vector<uint8_t> buffer(4);
    EXPECT_FALSE(transfer.Announce(Parameters(0, 4, 0)));
    EXPECT_FALSE(transfer.Announce(Parameters(8, 4, 0)));
    EXPECT_FALSE(transfer.FixTable(Parameters(2, 4, 0)));
    EXPECT_FALSE(transfer.Begin(nullptr, 4, 4));
    EXPECT_FALSE(transfer.Begin(buffer.data(), 4, 3));
    EXPECT_FALSE(transfer.AddPiece(buffer.data(), 4));
    // A new announcement while the last run's buffer is still there is for the next one.
    ASSERT_TRUE(transfer.Begin(buffer.data(), 4, 4));
    EXPECT_FALSE(transfer.FixTable(Parameters(2, 6, 0)));
    EXPECT_TRUE(transfer.Announce(Parameters(2, 6, 0)));
}

}  // namespace
