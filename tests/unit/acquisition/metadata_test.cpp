#include "acquisition/metadata.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <memory>

#include "orvex/orvex_errors.h"

#include "state/api_global.h"
#include "support/core/trace_capture.h"

#include "unit/acquisition/metadata_frame.h"

using bv::Call;
using metadata_test::Bytes;
using metadata_test::Frame;
using metadata_test::Region;
using testing::ElementsAre;

namespace {

class Metadata : public testing::Test {
  protected:
    void SetUp() override { Create(4); }
    void TearDown() override { Release(); }

    void Create(uns16 capacity) {
        Release();
        ASSERT_EQ(bv_md_create_frame_struct(&frame_, capacity), 1);
    }
    void Release() {
        if (!frame_) return;
        Call call("release");
        bv_md_release_frame_struct(call, frame_);
        frame_ = nullptr;
    }
    // In memory of exactly this size, so that a read past the end is noticed.
    boolean16 Decode(const Bytes& bytes) {
        buffer_ = std::make_unique<uint8_t[]>(std::max<size_t>(bytes.size(), 1));
        std::copy(bytes.begin(), bytes.end(), buffer_.get());
        Call call("decode");
        return bv_md_frame_decode(call, frame_, buffer_.get(), static_cast<uns32>(bytes.size()));
    }
    std::vector<uns16> Recompose(uns16 width, uns16 height, uns16 off_x = 0, uns16 off_y = 0) {
        const size_t size = size_t{width} * height;
        std::vector<uns16> image(size + 16, 9);
        Call call("recompose");
        if (!bv_md_frame_recompose(call, image.data(), off_x, off_y, width, height, frame_)) {
            return {};
        }
        EXPECT_EQ(std::vector<uns16>(image.end() - 16, image.end()), std::vector<uns16>(16, 9));
        image.resize(size);
        return image;
    }
    ptrdiff_t At(const void* pointer) const {
        return static_cast<const uint8_t*>(pointer) - buffer_.get();
    }

    support::TraceCapture trace_;
    md_frame* frame_ = nullptr;
    std::unique_ptr<uint8_t[]> buffer_;
};

std::vector<uns16> BoxOf(const md_frame& frame) {
    const rgn_type& r = frame.impliedRoi;
    return {r.s1, r.s2, r.sbin, r.p1, r.p2, r.pbin};
}

}  // namespace

TEST_F(Metadata, EmptyFrames) {
    const std::vector<uns16> empty_box{65535, 0, 1, 65535, 0, 1};
    ASSERT_EQ(Decode(Frame({}, {255, 0, 0})), 1);
    EXPECT_EQ(At(frame_->extMdData), 48);
    EXPECT_EQ(frame_->extMdDataSize, 3);
    EXPECT_EQ(frame_->roiCount, 0);
    EXPECT_EQ(BoxOf(*frame_), empty_box);
    // Bit 0 ends the list; what follows isn't looked at.
    ASSERT_EQ(Decode(Frame({{.roi = {1, 2, 0, 3, 4, 0}, .flags = 1}}, {}, 3)), 1);
    EXPECT_EQ(frame_->roiCount, 0);
    EXPECT_EQ(BoxOf(*frame_), empty_box);
}

struct BadFrame {
    Bytes bytes;
    int16 code;
    const char* words;
    bool untouched = false;  // the frame that was decoded before stays
};

Bytes Cut(Bytes bytes, size_t by) {
    bytes.resize(bytes.size() - by);
    return bytes;
}

const Region pixel{.roi = {0, 0, 1, 0, 0, 1}, .pixels = {1}};
const Region tagged{.roi = {0, 0, 1, 0, 0, 1}, .flags = 2, .extended = {255, 0}};
constexpr const char* header_cut = "Cannot read the ROI header, given buffer is too small";
constexpr const char* ext_cut = "Cannot read the extended metadata, the buffer is too small";
constexpr const char* data_cut = "Cannot read the ROI data, given buffer is too small";

TEST_F(Metadata, RefusedFrames) {
    const BadFrame refused[] = {
        {Bytes(47), C0_BUFFER_TOO_SMALL,
         "Cannot read the entire frame header, given buffer is too small", true},
        {Bytes(48), C0_INVALID_DATA, "Given buffer is not metadata-enabled", true},
        {Frame({}, {}, 5), C0_BUFFER_TOO_SMALL,
         "The md_frame structure has capacity of 4 ROIs but we need 5.", true},
        {Cut(Frame({}, {0, 0}), 1), C0_BUFFER_TOO_SMALL, ext_cut},
        {Frame({}, {}, 1), C0_BUFFER_TOO_SMALL, header_cut},
        {Frame({pixel}, {}, 2), C0_BUFFER_TOO_SMALL, header_cut},
        {Cut(Frame({{.roi = {0, 0, 1, 0, 0, 1}, .flags = 2}}), 1), C0_BUFFER_TOO_SMALL, header_cut},
        {Cut(Frame({tagged}), 1), C0_BUFFER_TOO_SMALL, ext_cut},
        {Cut(Frame({pixel}), 1), C0_BUFFER_TOO_SMALL, data_cut},
        // More bytes than 32 bits count.
        {Frame({{.roi = {1, 65535, 1, 1, 65535, 1}}}), C0_BUFFER_TOO_SMALL, data_cut},
        {Frame({{.roi = {0, 0, 0, 0, 0, 1}, .pixels = {1}}}), C0_INVALID_DATA,
         "Cannot read the ROI data, ROI binning is zero."}};
    for (const auto& [bytes, code, words, untouched] : refused) {
        ASSERT_EQ(Decode(Frame({pixel})), 1);
        EXPECT_TRUE(trace_.refused(Decode(bytes), code, words));
        EXPECT_EQ(frame_->roiCount, untouched ? 1 : 0) << words;
        EXPECT_EQ(frame_->header != nullptr, untouched) << words;
    }
}

TEST_F(Metadata, StructuresForABuffer) {
    md_frame* made = nullptr;
    Bytes bytes = Frame({}, {}, 3);
    Call call("create");
    ASSERT_EQ(bv_md_create_frame_struct_for(call, &made, bytes.data(), 48), 1);
    EXPECT_EQ(made->roiCapacity, 3);
    md_frame_roi* array = made->roiArray;
    made->roiArray = nullptr;
    EXPECT_EQ(bv_md_release_frame_struct(call, made), 0);
    EXPECT_TRUE(trace_.failed_with(C0_NULL_POINTER, "Null roiArray in given frame"));
    made->roiArray = array;
    EXPECT_EQ(bv_md_release_frame_struct(call, made), 1);

    Bytes none = Frame({});
    EXPECT_EQ(bv_md_create_frame_struct_for(call, &made, none.data(), 48), 0);
    EXPECT_TRUE(trace_.failed_with(C0_INVALID_DATA, "Zero ROIs not allowed"));
    EXPECT_EQ(bv_md_create_frame_struct_for(call, &made, none.data(), 47), 0);
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C0_BUFFER_TOO_SMALL);
}

// --- recompose

// The size test compares far edges alone; such a box runs on in the next row and stops at the end
// of the image.
TEST_F(Metadata, BoxPastTheEdgeStaysInTheImage) {
    ASSERT_EQ(Decode(Frame({{.roi = {0, 2, 1, 0, 1, 1}, .pixels = {1, 2, 3, 4, 5, 6}}})), 1);
    EXPECT_EQ(Recompose(3, 2, 2), (std::vector<uns16>{9, 9, 1, 2, 3, 4}));
    EXPECT_EQ(Recompose(3, 2, 0, 1), (std::vector<uns16>{9, 9, 9, 1, 2, 3}));
    EXPECT_EQ(Recompose(3, 2, 0, 2), std::vector<uns16>(6, 9));
    EXPECT_EQ(Recompose(2, 2), std::vector<uns16>());
    EXPECT_TRUE(trace_.failed_with(C0_BUFFER_TOO_SMALL,
                                   "The output buffer is too small for the implied ROI"));
}

TEST_F(Metadata, ZeroBinningIsRefused) {
    ASSERT_EQ(Decode(Frame({{.roi = {0, 9, 0, 0, 9, 0}, .flags = 2}})), 1);
    EXPECT_EQ(Recompose(10, 10), std::vector<uns16>());
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C0_INVALID_DATA);
    // A header that changed after the decode: nothing is painted, not even what comes before it.
    ASSERT_EQ(Decode(Frame({pixel, {.roi = {1, 1, 1, 0, 0, 1}, .pixels = {2}}})), 1);
    frame_->roiArray[1].header->roi.pbin = 0;
    std::vector<uns16> image(2, 9);
    Call call("recompose");
    EXPECT_EQ(bv_md_frame_recompose(call, image.data(), 0, 0, 2, 1, frame_), 0);
    EXPECT_THAT(image, ElementsAre(9, 9));
}

// --- tagged values

TEST(ExtendedMetadata, Ends) {
    support::TraceCapture trace;
    auto items = std::make_unique<md_ext_item_collection>();
    Call call("read");
    const auto read = [&](Bytes data) {
        return bv_md_read_extended(call, items.get(), data.data(), static_cast<uns32>(data.size()));
    };
    items->count = 9;
    Bytes unused(1);
    EXPECT_EQ(bv_md_read_extended(call, items.get(), unused.data(), 0), 1);
    EXPECT_EQ(items->count, 0);
    EXPECT_EQ(read({255, 0, 0}), 1);
    EXPECT_EQ(items->count, 0);
    EXPECT_EQ(read({0, 1, 2, 3, 4}), 1);
    EXPECT_EQ(items->count, 1);
    EXPECT_TRUE(
        trace.refused(read({0, 1, 2, 3}), C0_INVALID_DATA,
                      "Cannot read the value of tag ID 0: We'd read beyond the buffer boundary"));
    EXPECT_EQ(read({2}), 0);
    EXPECT_EQ(read({3, 0, 0, 0, 0}), 0);
    EXPECT_TRUE(trace.failed_with(C2_INDEX_OUT_OF_RANGE, "Ext. metadata index out of range"));
    EXPECT_EQ(read(Bytes(255 * 5)), 1);
    EXPECT_EQ(items->count, 255);
    EXPECT_EQ(support::ErrorOf(read(Bytes(256 * 5))), C0_INVALID_DATA);
}
