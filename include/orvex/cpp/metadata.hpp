/**
 * @file metadata.hpp
 * Frames with metadata. Pure work on memory: no camera, no Library.
 */
#ifndef ORVEX_CPP_METADATA_HPP
#define ORVEX_CPP_METADATA_HPP

#include <memory>
#include <string>
#include <vector>

#include "frame_events.hpp"

namespace orvex {

/** A tagged value of extended metadata. */
struct Tag {
    std::string name;
    uns64 value;
};

/** A region of a decoded frame. */
class MetadataRegion {
  public:
    explicit MetadataRegion(const md_frame_roi& record) : record_(&record) {}

    /** In sensor coordinates. */
    rgn_type region() const { return record_->header->roi; }
    /** In the frame's memory, row after row; empty where the camera sent the header alone. */
    Pixels pixels() const {
        return {static_cast<const uns16*>(record_->data), record_->dataSize / 2};
    }
    /** @throws Error for an unknown tag */
    std::vector<Tag> tags() const;
    const md_frame_roi& record() const { return *record_; }

  private:
    const md_frame_roi* record_;
};

/** Finds regions, pixels and tags in one frame after the other; nothing is copied. */
class Metadata {
  public:
    /** Has room for so many regions a frame. @throws Error */
    explicit Metadata(uns16 regions) {
        md_frame* record = nullptr;
        require(ox_md_create_frame_struct_cont(&record, regions), "no room for metadata");
        record_.reset(record);
    }
    /** Decodes one frame. The memory must outlive the object. @throws Error when it is none */
    explicit Metadata(Bytes frame) {
        md_frame* record = nullptr;
        require(ox_md_create_frame_struct(&record, memory(frame), size(frame)),
                "the frame can't be decoded");
        record_.reset(record);
        decode(frame);
    }

    /** Takes a frame in place of the one before. @throws Error */
    void decode(Bytes frame) {
        require(ox_md_frame_decode(record_.get(), memory(frame), size(frame)),
                "the frame can't be decoded");
    }

    /** In the order of the frame; they belong to this object. */
    std::vector<MetadataRegion> regions() const& {
        const md_frame_roi* first = record_->roiArray;
        return {first, first + record_->roiCount};
    }
    std::vector<MetadataRegion> regions() const&& = delete;
    /** Around all regions, with the binning of the first. */
    rgn_type box() const { return record_->impliedRoi; }
    /** Of the frame as a whole. @throws Error for an unknown tag */
    std::vector<Tag> tags() const { return read_tags(record_->extMdData, record_->extMdDataSize); }

    /**
     * Paints the regions into an image of 16-bit pixels; the rest of it stays.
     * @param x,y place of box() in the image, in binned pixels
     * @throws Error when a region sticks out
     */
    void recompose(uns16* image, uns16 width, uns16 height, uns16 x = 0, uns16 y = 0) const {
        require(ox_md_frame_recompose(image, x, y, width, height, record_.get()),
                "the frame can't be recomposed");
    }

    const md_frame& record() const { return *record_; }

    static std::vector<Tag> read_tags(void* data, uns16 bytes) {
        std::vector<Tag> tags;
        if (!data) return tags;
        const auto found = std::make_unique<md_ext_item_collection>();
        require(ox_md_read_extended(found.get(), data, bytes), "the metadata can't be read");
        for (uns16 i = 0; i < found->count; ++i) {
            const md_ext_item& item = found->list[i];
            uns64 value = 0;
            for (uns16 b = item.tagInfo->size; b-- > 0;) {
                value = value << 8 | static_cast<const uns8*>(item.value)[b];
            }
            tags.push_back({item.tagInfo->name, value});
        }
        return tags;
    }

  private:
    struct Release {
        void operator()(md_frame* record) const { ox_md_release_frame_struct(record); }
    };

    // The library takes memory that it could write to, and doesn't.
    static void* memory(Bytes frame) { return const_cast<uns8*>(frame.data()); }
    static uns32 size(Bytes frame) { return static_cast<uns32>(frame.size()); }

    std::unique_ptr<md_frame, Release> record_;
};

inline std::vector<Tag> MetadataRegion::tags() const {
    return Metadata::read_tags(record_->extMdData, record_->extMdDataSize);
}

}  // namespace orvex

#endif
