#pragma once

#include <memory>

#include "camera/upcalls.h"

namespace bv {

struct TidalStreamRelease {
    void operator()(tidal_stream_type* stream) const { bv_release_tidal_stream_struct(&stream); }
};
using TidalStreamOwner = std::unique_ptr<tidal_stream_type, TidalStreamRelease>;

// Empty, with the error set, when there is no memory.
inline TidalStreamOwner MakeTidalStream(uns16 entries) {
    tidal_stream_type* created = nullptr;
    return TidalStreamOwner(bv_create_tidal_stream_struct(&created, entries) ? created : nullptr);
}

}  // namespace bv
