#include <cstddef>
#include <cstdint>
#include <vector>

#include "acquisition/metadata.h"

// Walks any bytes as tagged values and reads every value that is reported.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::vector<uint8_t> buffer(data, data + size);
    if (buffer.empty()) return 0;
    static md_ext_item_collection items;
    bv::Call call("metadata_extended_fuzz");
    bv_md_read_extended(call, &items, buffer.data(), static_cast<uns32>(buffer.size()));
    volatile uint8_t sink = 0;
    for (uns16 i = 0; i < items.count; ++i) {
        const auto* value = static_cast<const uint8_t*>(items.list[i].value);
        for (uns16 byte = 0; byte < items.list[i].tagInfo->size; ++byte) sink = value[byte];
    }
    (void)sink;
    return 0;
}
