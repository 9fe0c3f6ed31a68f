#include <cstddef>
#include <cstdint>
#include <vector>

#include "acquisition/metadata.h"

// Decodes any bytes as a metadata frame and paints what came out.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr uns16 side = 64;
    std::vector<uint8_t> buffer(data, data + size);
    if (buffer.empty()) return 0;
    bv::Call call("metadata_decode_fuzz");
    md_frame* frame = nullptr;
    const auto bytes = static_cast<uns32>(buffer.size());
    if (!bv_md_create_frame_struct_for(call, &frame, buffer.data(), bytes)) return 0;
    if (bv_md_frame_decode(call, frame, buffer.data(), bytes)) {
        std::vector<uns16> image(side * side);
        const auto off = static_cast<uns16>(buffer.back());
        bv_md_frame_recompose(call, image.data(), off, off, side, side, frame);
    }
    bv_md_release_frame_struct(call, frame);
    return 0;
}
