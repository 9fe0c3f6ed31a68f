#include <cstdlib>
#include <memory>

#include "camera/blobs.h"

// Any content of the blob with a camera's own parameter values.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    bv::Call call("fuzz");
    cam_reads_type reads;
    reads.blob_piav_map = std::make_unique<std::map<uns32, std::map<uns16, uns64>>>();
    const boolean16 stored = bv::StorePiav(call, {data, size}, reads);
    if (!stored && !reads.blob_piav.empty()) std::abort();
    if (reads.blob_piav.size() > piav_items_max) std::abort();
    return 0;
}
