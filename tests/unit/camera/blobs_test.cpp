#include "camera/blobs.h"

#include <gmock/gmock.h>

#include "support/core/camera_test.h"

using support::Bytes;
using support::hex;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class BlobsTest : public support::CameraTest<> {
  protected:
    // A camera that holds this blob and sends the part that a request names.
    void Hold(const Bytes& blob) {
        stored_ = blob;
        camera_.firmware().reply(GET_BINARY_BLOB_SIZE, 4, blob.size());
        camera_.firmware().on_command(GET_BINARY_BLOB, [this](std::span<const uint8_t> request) {
            const size_t offset = Number(request.subspan(2, 4));
            const size_t length = Number(request.subspan(6, 2));
            const auto from = stored_.begin() + static_cast<std::ptrdiff_t>(offset);
            return Bytes(from, from + static_cast<std::ptrdiff_t>(length));
        });
    }

    static size_t Number(std::span<const uint8_t> bytes) {
        size_t number = 0;
        for (const uint8_t byte : bytes) number = number << 8 | byte;
        return number;
    }

    static Bytes Counting(size_t size) {
        Bytes bytes(size);
        for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(i * 7 + i / 256);
        return bytes;
    }

    Bytes stored_;
    const Bytes args_ = Bytes(2000, 0xA5);
};

TEST_F(BlobsTest, SizeRequest) {
    camera_.firmware().reply(GET_BINARY_BLOB_SIZE, 4, 0x00012345);
    uns32 size = 0;
    EXPECT_EQ(bv_cam_get_binary_blob_size(hcam, 0x50102, args_.data(), 3, &size), 1);
    EXPECT_EQ(size, 0x12345u);
    EXPECT_THAT(camera_.writes(), ElementsAre(hex("3F 000C 26 99 0102 0003 A5A5A5 28 0004")));
}

TEST_F(BlobsTest, TravelsInChunks) {
    for (const auto& [size, chunks] :
         {std::pair{0u, 0u}, {1u, 1u}, {1024u, 1u}, {1025u, 2u}, {2500u, 3u}}) {
        Hold(Counting(size));
        camera_.firmware().forget_commands();
        Bytes blob(2500);
        uns32 received = 99;
        EXPECT_EQ(bv_cam_get_binary_blob(hcam, 0, nullptr, 0, blob.data(), 2500, &received), 1);
        EXPECT_EQ(received, size);
        EXPECT_EQ(camera_.firmware().count(GET_BINARY_BLOB), chunks);
        blob.resize(size);
        EXPECT_EQ(blob, stored_);
    }
    EXPECT_EQ(camera_.writes().back(), hex("3F 000F 26 9A 0000 00000800 01C4 0000 28 01C4"));
}

TEST_F(BlobsTest, SetRequests) {
    camera_.firmware().reply(GET_BINARY_BLOB_SIZE, 4, 8);
    const Bytes blob = hex("0102030405060708");
    EXPECT_EQ(bv_cam_set_binary_blob(hcam, 3, args_.data(), 1, blob.data(), 8), 1);
    EXPECT_EQ(camera_.writes().back(),
              hex("3F 001C 26 9B 0003 00000008 00000000 0008 0102030405060708 0001 A5 28 0002"));
    // The room for arguments leaves one byte a chunk.
    camera_.camera().forget();
    EXPECT_EQ(bv_cam_set_binary_blob(hcam, 3, args_.data(), 1004, blob.data(), 3), 1);
    ASSERT_THAT(camera_.writes(), SizeIs(4));
    const Bytes second = camera_.writes()[2];
    EXPECT_EQ(Bytes(second.begin() + 5, second.begin() + 18),
              hex("0003 00000003 00000001 0001 02"));
}

TEST_F(BlobsTest, Refusals) {
    Bytes blob(8);
    const auto get = [&](const void* args, uns16 args_size, void* into, uns32 size) {
        return bv_cam_get_binary_blob(hcam, 0, args, args_size, into, size);
    };
    const auto set = [&](const void* args, uns16 args_size, const void* from, uns32 size) {
        return bv_cam_set_binary_blob(hcam, 0, args, args_size, from, size);
    };
    const auto null_args = "Got null args but non-zero args_size";
    EXPECT_TRUE(trace_.refused(get(nullptr, 1, blob.data(), 8), C0_NULL_POINTER, null_args));
    EXPECT_TRUE(trace_.refused(set(nullptr, 1, blob.data(), 8), C0_NULL_POINTER, null_args));
    EXPECT_TRUE(trace_.refused(get(nullptr, 0, nullptr, 8), C0_NULL_POINTER, "Null blob given"));
    EXPECT_TRUE(trace_.refused(set(nullptr, 0, nullptr, 8), C0_NULL_POINTER, "Null blob given"));
    EXPECT_THAT(camera_.writes(), IsEmpty());

    Hold(Counting(8));
    const Bytes larger(9);
    const auto small_chunk = [](const std::string& needed) {
        return "Max. blob chunk size is smaller than communication buffer (1024 < " + needed + ")";
    };
    EXPECT_TRUE(trace_.refused(get(nullptr, 0, blob.data(), 7), C7_GEN_COM_ERROR,
                               "This blob is bigger than buffer (8 > 7)"));
    EXPECT_TRUE(trace_.refused(set(nullptr, 0, larger.data(), 9), C2_CANNOT_ALLOCATE_MEMORY,
                               "This blob is smaller than buffer (8 < 9)"));
    EXPECT_TRUE(trace_.refused(get(args_.data(), 1010, blob.data(), 8), C7_GEN_COM_ERROR,
                               small_chunk("1025")));
    EXPECT_TRUE(trace_.refused(set(args_.data(), 1005, blob.data(), 8), C7_GEN_COM_ERROR,
                               small_chunk("1024")));
    EXPECT_EQ(camera_.firmware().count(GET_BINARY_BLOB), 0u);
    EXPECT_EQ(camera_.firmware().count(SET_BINARY_BLOB), 0u);
    EXPECT_EQ(get(args_.data(), 1009, blob.data(), 8), 1);
    camera_.firmware().reply(SET_BINARY_BLOB, 2, 5);
    EXPECT_EQ(support::ErrorOf(set(nullptr, 0, blob.data(), 8)), C7_GEN_COM_ERROR);
}

class PiavTest : public BlobsTest {
  protected:
    boolean16 Read(const Bytes& blob) {
        camera_.reads().cap_extended = 1;
        camera_.reads().ext_caps_flags = EXT_CAPS_BLOB;
        camera_.reads().blob_caps = 1;
        Hold(blob);
        return bv_cam_get_binary_blob_piav(hcam);
    }

    static Bytes Records(uns16 promised, uns16 present) {
        Bytes blob(2 + size_t{14} * present);
        blob[0] = static_cast<uint8_t>(promised);
        blob[1] = static_cast<uint8_t>(promised >> 8);
        return blob;
    }
};

TEST_F(PiavTest, Records) {
    EXPECT_EQ(Read(hex("0300 01020304 0500 0807060504030201"
                       "01020304 0600 0100000000000000"
                       "01020304 0500 FFFFFFFFFFFFFFFF")),
              1);
    ASSERT_THAT(camera_.reads().blob_piav, SizeIs(3));
    EXPECT_EQ(camera_.reads().blob_piav[0].param_id, 0x04030201u);
    EXPECT_EQ(camera_.reads().blob_piav[0].attribute, 5);
    EXPECT_EQ(camera_.reads().blob_piav[0].value, 0x0102030405060708u);
    const auto& map = *camera_.reads().blob_piav_map;
    ASSERT_THAT(map, SizeIs(1));
    EXPECT_EQ(map.at(0x04030201).at(5), 0xFFFFFFFFFFFFFFFFu) << "the later record counts";
    EXPECT_EQ(map.at(0x04030201).at(6), 1u);

    camera_.reads().blob_caps = 0;
    EXPECT_EQ(bv_cam_get_binary_blob_piav(hcam), 1);
    EXPECT_THAT(camera_.reads().blob_piav, IsEmpty());
    EXPECT_THAT(*camera_.reads().blob_piav_map, IsEmpty());
}

TEST_F(PiavTest, Limits) {
    EXPECT_EQ(Read({}), 1);
    EXPECT_EQ(Read(Records(320, 320)), 1);
    EXPECT_THAT(camera_.reads().blob_piav, SizeIs(320));
    EXPECT_TRUE(trace_.refused(Read(Records(321, 320)), C3_INVALID_CAPABILITIES,
                               "Supported up to 320 PIAV items only"));
    EXPECT_TRUE(trace_.refused(Read(Records(321, 321)), C7_GEN_COM_ERROR,
                               "This blob is bigger than buffer (4496 > 4482)"));
    for (const Bytes& blob : {Records(2, 1), hex("01")}) {
        EXPECT_TRUE(trace_.refused(Read(blob), C0_INVALID_DATA, "PIAV blob is incomplete"));
    }
}

}  // namespace
