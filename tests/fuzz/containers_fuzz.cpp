#include <cstdlib>
#include <cstring>

#include "camera/containers.h"

// Any list of (name, value) pairs that a camera may send.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    bv::Call call("fuzz");
    nvp_container container;
    bv::AppendNvpItems(call, {data, size}, &container);
    if (container.count > nvp_items_max) std::abort();
    for (uns16 i = 0; i < container.count; ++i) {
        const nvp_item& item = container.items[i];
        if (std::strlen(item.name) + 1 != item.name_length) std::abort();
    }
    return 0;
}
