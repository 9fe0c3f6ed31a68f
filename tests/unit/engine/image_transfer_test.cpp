#include "engine/image_transfer.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

using engine::ImageTransfer;

using Pixels = std::vector<uint8_t>;

bool Store(ImageTransfer& transfer, const Pixels& pixels) {
    engine::Bytes bytes = pixels;
    return transfer.Store(pixels.size(), engine::CopyOf(bytes));
}

dv_image_parameters Parameters(uint32_t frame, uint32_t total, uint32_t circular) {
    return {.frame_bytes = frame, .total_bytes = total, .circular = circular, .reserved = 0};
}

TEST(ImageTransfer, AFrameOfTheWrongSizeFailsTheReadout) {
    ImageTransfer transfer;
    std::vector<uint8_t> buffer(4, 9);
    ASSERT_TRUE(transfer.Announce(Parameters(2, 4, 0)));
    ASSERT_TRUE(transfer.Begin(buffer.data(), 4, 4));
    EXPECT_FALSE(Store(transfer, {1, 2, 3}));
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
    EXPECT_FALSE(Store(transfer, {1, 2}));
    EXPECT_EQ(transfer.Status().status, DRIVER_STATUS_INACTIVE);
    EXPECT_EQ(buffer, std::vector<uint8_t>(2, 9));
}

// Notes where it is told to write, and writes its number.
struct Writer {
    std::vector<uint8_t*> places;
    uint8_t number = 0;

    bool StoreIn(ImageTransfer& transfer, size_t bytes) {
        return transfer.Store(bytes, {[](void* context, std::span<uint8_t> frame) {
                                          auto& self = *static_cast<Writer*>(context);
                                          self.places.push_back(frame.data());
                                          std::ranges::fill(frame, ++self.number);
                                      },
                                      this});
    }
};

TEST(ImageTransfer, AWriterGetsTheMemoryOfItsSlotUnlessThatLiesAcrossPieces) {
    ImageTransfer transfer;
    // In the middle of what it must not touch. The second of three frames lies across the pieces.
    Pixels first(7, 9);
    Pixels second(6, 9);
    ASSERT_TRUE(transfer.Announce(Parameters(3, 9, 1)));
    ASSERT_TRUE(transfer.Begin(&first[1], 5, 9));
    Writer writer;
    EXPECT_FALSE(writer.StoreIn(transfer, 3)) << "before the last piece came";
    EXPECT_EQ(writer.number, 0);
    ASSERT_TRUE(transfer.AddPiece(&second[1], 4));
    for (int frame = 0; frame < 4; ++frame) {
        ASSERT_TRUE(writer.StoreIn(transfer, 3));
        transfer.CountFrame();
    }
    EXPECT_EQ(first, (Pixels{9, 4, 4, 4, 2, 2, 9}));
    EXPECT_EQ(second, (Pixels{9, 2, 3, 3, 3, 9}));
    ASSERT_EQ(writer.places.size(), 4u);
    EXPECT_EQ(writer.places[0], &first[1]);
    EXPECT_EQ(writer.places[2], &second[2]);
    EXPECT_EQ(writer.places[3], &first[1]) << "a ring begins anew";
    EXPECT_FALSE(writer.StoreIn(transfer, 2)) << "of another size than the frames before";
    transfer.Release();
    EXPECT_FALSE(writer.StoreIn(transfer, 3));
    EXPECT_EQ(writer.number, 4);
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
