#include "acquisition/metadata.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <span>

#include "orvex/orvex_errors.h"

#include "state/bytes.h"

// Headers are read field by field at their offsets; the records of the public header only name
// the places for applications.

namespace {

constexpr uns32 frame_header_bytes = sizeof(md_frame_header);
constexpr uns32 roi_header_bytes = sizeof(md_frame_roi_header);
static_assert(frame_header_bytes == 48 && roi_header_bytes == 32);

constexpr uns32 frame_signature = 0x005A4E4C;
constexpr uns8 roi_flag_invalid = 1;      // the list of regions ends here
constexpr uns8 roi_flag_header_only = 2;  // no pixels follow

constexpr size_t pixel_bytes = 2;

constexpr uns8 ext_end_tag = 255;
constexpr std::array<md_ext_item_info, 3> ext_items{{
    {.tag = 0, .type = TYPE_UNS32, .size = 4, .name = "Particle ID"},
    {.tag = 1, .type = TYPE_UNS32, .size = 4, .name = "Particle M0"},
    {.tag = 2, .type = TYPE_UNS32, .size = 4, .name = "Particle M2"},
}};

struct FrameHeader {
    explicit FrameHeader(const uns8* at)
        : signature(bv::LoadLittleEndian<uns32>(at + offsetof(md_frame_header, signature))),
          roi_count(bv::LoadLittleEndian<uns16>(at + offsetof(md_frame_header, roiCount))),
          ext_size(bv::LoadLittleEndian<uns16>(at + offsetof(md_frame_header, extMdSize))) {}

    uns32 signature;
    uns16 roi_count;
    uns16 ext_size;
};

struct RoiHeader {
    explicit RoiHeader(const uns8* at)
        : roi{.s1 = Coordinate(at, 0),
              .s2 = Coordinate(at, 1),
              .sbin = Coordinate(at, 2),
              .p1 = Coordinate(at, 3),
              .p2 = Coordinate(at, 4),
              .pbin = Coordinate(at, 5)},
          flags(at[offsetof(md_frame_roi_header, flags)]),
          ext_size(bv::LoadLittleEndian<uns16>(at + offsetof(md_frame_roi_header, extMdSize))) {}

    static uns16 Coordinate(const uns8* at, size_t index) {
        return bv::LoadLittleEndian<uns16>(at + offsetof(md_frame_roi_header, roi) + 2 * index);
    }

    rgn_type roi;
    uns8 flags;
    uns16 ext_size;
};

// Reduced to 16 bits, as cameras count.
uns16 BinnedSize(uns16 first, uns16 last, uns16 binning) {
    return static_cast<uns16>((last - first + 1) / binning);
}

uns16 Columns(const rgn_type& roi) {
    return BinnedSize(roi.s1, roi.s2, roi.sbin);
}

uns16 Rows(const rgn_type& roi) {
    return BinnedSize(roi.p1, roi.p2, roi.pbin);
}

bool HasZeroBinning(const rgn_type& roi) {
    return roi.sbin == 0 || roi.pbin == 0;
}

void Widen(rgn_type& box, const rgn_type& roi) {
    box.s1 = std::min(box.s1, roi.s1);
    box.s2 = std::max(box.s2, roi.s2);
    box.p1 = std::min(box.p1, roi.p1);
    box.p2 = std::max(box.p2, roi.p2);
}

// Steps over the blocks of a frame; never past the end of the buffer.
class Cursor {
  public:
    Cursor(uns8* buffer, size_t size, size_t position)
        : buffer_(buffer), size_(size), position_(position) {}

    bool Fits(uns64 bytes) const { return bytes <= size_ - position_; }
    uns8* Here() const { return buffer_ + position_; }
    // Only after Fits().
    uns8* Take(size_t bytes) {
        uns8* start = Here();
        position_ += bytes;
        return start;
    }

  private:
    uns8* buffer_;
    size_t size_;
    size_t position_;
};

constexpr const char* ext_metadata_cut =
    "Cannot read the extended metadata, the buffer is too small";

// Reads one region's block. False after a failure.
bool DecodeRoi(bv::Call& call, Cursor& cursor, const RoiHeader& header, md_frame_roi& roi) {
    // The pointers go to an application, whose records have no alignment to keep.
    roi.header = reinterpret_cast<md_frame_roi_header*>(cursor.Take(roi_header_bytes));
    if (header.ext_size != 0) {
        if (!cursor.Fits(header.ext_size)) {
            call.fail(C0_BUFFER_TOO_SMALL, ext_metadata_cut);
            return false;
        }
        roi.extMdDataSize = header.ext_size;
        roi.extMdData = cursor.Take(header.ext_size);
    }
    if (header.flags & roi_flag_header_only) return true;
    if (HasZeroBinning(header.roi)) {
        call.fail(C0_INVALID_DATA, "Cannot read the ROI data, ROI binning is zero.");
        return false;
    }
    const uns64 bytes = uns64{pixel_bytes} * Columns(header.roi) * Rows(header.roi);
    if (!cursor.Fits(bytes)) {
        call.fail(C0_BUFFER_TOO_SMALL, "Cannot read the ROI data, given buffer is too small");
        return false;
    }
    roi.dataSize = static_cast<uns32>(bytes);
    roi.data = cursor.Take(bytes);
    return true;
}

// Where a region lies in the image of the box, and how far it may be read and painted.
struct Painting {
    const uns8* source;
    size_t source_rows;  // that the decoded data really has
    size_t column;
    uns16 first_row;
    uns16 width;
    uns16 height;
};

struct Canvas {
    uns8* pixels;
    size_t width;
    size_t count;  // pixels in all
};

// A box that reaches past the right edge runs on in the next row, as applications with padded rows
// know it; past the last pixel nothing is written.
void Paint(const Canvas& canvas, const Painting& painting) {
    const size_t row_bytes = painting.width * pixel_bytes;
    const size_t rows = std::min<size_t>(painting.height, painting.source_rows);
    if (row_bytes == 0) return;
    const bool whole_rows = painting.column == 0 && painting.width == canvas.width &&
                            size_t{painting.first_row} + rows <= 65536 &&
                            (painting.first_row + rows) * canvas.width <= canvas.count;
    if (whole_rows) {
        std::memcpy(canvas.pixels + painting.first_row * row_bytes, painting.source,
                    rows * row_bytes);
        return;
    }
    for (size_t i = 0; i < rows; ++i) {
        const auto row = static_cast<uns16>(painting.first_row + i);
        const size_t start = row * canvas.width + painting.column;
        if (start >= canvas.count) continue;
        const size_t count = std::min<size_t>(painting.width, canvas.count - start);
        std::memcpy(canvas.pixels + start * pixel_bytes, painting.source + i * row_bytes,
                    count * pixel_bytes);
    }
}

// The decoded regions that have pixels to paint.
bool IsPainted(const md_frame_roi& roi) {
    if (!roi.header || !roi.data) return false;
    const auto* bytes = reinterpret_cast<const uns8*>(roi.header);
    return !(RoiHeader(bytes).flags & (roi_flag_invalid | roi_flag_header_only));
}

}  // namespace

boolean16 bv_md_validate_header(void* pSrcBuf, uns32 srcBufSize) {
    bv::Call call("bv_md_validate_header", bv::arg("pSrcBuf", pSrcBuf),
                  bv::arg("srcBufSize", srcBufSize));
    if (srcBufSize < frame_header_bytes) {
        return call.fail(C0_BUFFER_TOO_SMALL,
                         "Cannot read the entire frame header, given buffer is too small");
    }
    if (FrameHeader(static_cast<const uns8*>(pSrcBuf)).signature != frame_signature) {
        return call.fail(C0_INVALID_DATA, "Given buffer is not metadata-enabled");
    }
    return call.ok();
}

boolean16 bv_md_create_frame_struct(md_frame** pFrame, uns16 roiCount) {
    bv::Call call("bv_md_create_frame_struct", bv::arg("pFrame", pFrame),
                  bv::arg("roiCount", roiCount));
    auto* frame = new (std::nothrow) md_frame{};
    if (!frame) {
        return call.fail(C2_CANNOT_ALLOCATE_MEMORY, "Cannot allocate memory for md_frame");
    }
    frame->roiArray = new (std::nothrow) md_frame_roi[roiCount]{};
    if (!frame->roiArray) {
        delete frame;
        return call.fail(C2_CANNOT_ALLOCATE_MEMORY, "Cannot allocate memory for %u md_frame_roi(s)",
                         unsigned{roiCount});
    }
    frame->roiCapacity = roiCount;
    *pFrame = frame;
    return call.ok(bv::arg("*pFrame", *pFrame),
                   bv::arg("(*pFrame)->roiCapacity", frame->roiCapacity));
}

boolean16 bv_md_create_frame_struct_for(bv::Call& call, md_frame** pFrame, void* pSrcBuf,
                                        uns32 srcBufSize) {
    if (!bv_md_validate_header(pSrcBuf, srcBufSize)) return call.failed();
    const uns16 count = FrameHeader(static_cast<const uns8*>(pSrcBuf)).roi_count;
    if (count == 0) return call.fail(C0_INVALID_DATA, "Zero ROIs not allowed");
    return call.result(bv_md_create_frame_struct(pFrame, count));
}

boolean16 bv_md_release_frame_struct(bv::Call& call, md_frame* pFrame) {
    // A frame without its array is not freed: it can't be one that was created here.
    if (!pFrame->roiArray) return call.fail(C0_NULL_POINTER, "Null roiArray in given frame");
    delete[] pFrame->roiArray;
    delete pFrame;
    return call.ok();
}

boolean16 bv_md_frame_decode(bv::Call& call, md_frame* pDstFrame, void* pSrcBuf, uns32 srcBufSize) {
    if (!bv_md_validate_header(pSrcBuf, srcBufSize)) return call.failed();
    auto* buffer = static_cast<uns8*>(pSrcBuf);
    const FrameHeader header(buffer);
    if (header.roi_count > pDstFrame->roiCapacity) {
        return call.fail(C0_BUFFER_TOO_SMALL,
                         "The md_frame structure has capacity of %u ROIs but we need %u.",
                         unsigned{pDstFrame->roiCapacity}, unsigned{header.roi_count});
    }
    // A decode that fails further on leaves a frame that reads as empty.
    pDstFrame->header = nullptr;
    pDstFrame->extMdData = nullptr;
    pDstFrame->extMdDataSize = 0;
    pDstFrame->roiCount = 0;
    std::fill_n(pDstFrame->roiArray, pDstFrame->roiCapacity, md_frame_roi{});

    Cursor cursor(buffer, srcBufSize, frame_header_bytes);
    if (header.ext_size != 0) {
        if (!cursor.Fits(header.ext_size)) return call.fail(C0_BUFFER_TOO_SMALL, ext_metadata_cut);
        pDstFrame->extMdDataSize = header.ext_size;
        pDstFrame->extMdData = cursor.Take(header.ext_size);
    }

    rgn_type box{.s1 = 65535, .s2 = 0, .sbin = 1, .p1 = 65535, .p2 = 0, .pbin = 1};
    uns16 count = 0;
    for (; count < header.roi_count; ++count) {
        if (!cursor.Fits(roi_header_bytes)) {
            return call.fail(C0_BUFFER_TOO_SMALL,
                             "Cannot read the ROI header, given buffer is too small");
        }
        const RoiHeader roi(cursor.Here());
        if (roi.flags & roi_flag_invalid) break;
        if (!DecodeRoi(call, cursor, roi, pDstFrame->roiArray[count])) return bv::OZ_FAIL;
        Widen(box, roi.roi);
        // The regions of a frame share their binning.
        if (count == 0) {
            box.sbin = roi.roi.sbin;
            box.pbin = roi.roi.pbin;
        }
    }
    pDstFrame->header = reinterpret_cast<md_frame_header*>(buffer);
    pDstFrame->roiCount = count;
    pDstFrame->impliedRoi = box;
    return call.ok(bv::arg("pDstFrame->roiCount", count));
}

boolean16 bv_md_frame_recompose(bv::Call& call, void* pDstBuf, uns16 offX, uns16 offY,
                                uns16 dstWidth, uns16 dstHeight, md_frame* pSrcFrame) {
    const rgn_type& box = pSrcFrame->impliedRoi;
    const std::span<const md_frame_roi> rois(pSrcFrame->roiArray, pSrcFrame->roiCount);
    bool zero_binning = HasZeroBinning(box);
    for (const md_frame_roi& roi : rois) {
        if (IsPainted(roi)) {
            zero_binning |=
                HasZeroBinning(RoiHeader(reinterpret_cast<const uns8*>(roi.header)).roi);
        }
    }
    if (zero_binning) return call.fail(C0_INVALID_DATA, "Zero binning in the implied ROI or a ROI");

    // Compares the far edge of the destination with the size of the box, no more: a box that fits
    // only without its offset is let through.
    if (offX + dstWidth < Columns(box) || offY + dstHeight < Rows(box)) {
        return call.fail(C0_BUFFER_TOO_SMALL, "The output buffer is too small for the implied ROI");
    }
    const Canvas canvas{.pixels = static_cast<uns8*>(pDstBuf),
                        .width = dstWidth,
                        .count = size_t{dstWidth} * dstHeight};
    const auto x0 = static_cast<uns16>(box.s1 / box.sbin);
    const auto y0 = static_cast<uns16>(box.p1 / box.pbin);
    for (const md_frame_roi& entry : rois) {
        if (!IsPainted(entry)) continue;
        const rgn_type roi = RoiHeader(reinterpret_cast<const uns8*>(entry.header)).roi;
        const uns16 width = Columns(roi);
        const auto x = static_cast<uns16>(roi.s1 / roi.sbin - x0);
        const auto y = static_cast<uns16>(roi.p1 / roi.pbin - y0);
        Paint(canvas, {.source = static_cast<const uns8*>(entry.data),
                       .source_rows = width == 0 ? 0 : entry.dataSize / (width * pixel_bytes),
                       .column = size_t{offX} + x,
                       .first_row = static_cast<uns16>(y + offY),
                       .width = width,
                       .height = Rows(roi)});
    }
    return call.ok();
}

boolean16 bv_md_read_extended(bv::Call& call, md_ext_item_collection* pOutput, void* pExtMdData,
                              uns32 extMdDataSize) {
    *pOutput = {};
    auto* data = static_cast<uns8*>(pExtMdData);
    for (size_t i = 0; i < extMdDataSize;) {
        const uns8 tag = data[i];
        if (tag == ext_end_tag) break;
        if (tag >= ext_items.size()) {
            return call.fail(C2_INDEX_OUT_OF_RANGE, "Ext. metadata index out of range");
        }
        const md_ext_item_info& info = ext_items[tag];
        const size_t value_at = i + 1;
        if (info.size > extMdDataSize - value_at) {
            return call.fail(
                C0_INVALID_DATA,
                "Cannot read the value of tag ID %u: We'd read beyond the buffer boundary",
                unsigned{tag});
        }
        if (pOutput->count == MD_EXT_ITEMS_MAX) {
            return call.fail(C0_INVALID_DATA, "More than %u extended metadata items",
                             unsigned{MD_EXT_ITEMS_MAX});
        }
        md_ext_item& item = pOutput->list[pOutput->count++];
        item = {.tagInfo = &info, .value = data + value_at};
        pOutput->map[tag] = &item;
        i = value_at + info.size;
    }
    return call.ok(bv::arg("pOutput->count", pOutput->count));
}
