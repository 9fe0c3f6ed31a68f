#include <cstdlib>

#include "messages/version_block.h"

// Any version block of a bridge node.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const bv::VersionBlock versions = bv::ParseVersionBlock({data, size});
    for (const std::string& text : versions.texts) {
        for (const char c : text) {
            if (c < 32 || c > 126) std::abort();
        }
        if (bv::TrimWhiteSpace(text) != text) std::abort();
    }
    return 0;
}
