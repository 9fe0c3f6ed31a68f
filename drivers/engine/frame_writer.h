#pragma once

#include <cstdint>
#include <cstring>
#include <span>

#include "engine/bytes.h"

namespace engine {

// Writes a frame to where it is to be. A plain function with its context: nothing is allocated for
// a frame.
struct FrameWriter {
    void (*write)(void* context, std::span<uint8_t> frame);
    void* context;

    void operator()(std::span<uint8_t> frame) const { write(context, frame); }
};

// Writes what stands in another place, which outlives the writer.
inline FrameWriter CopyOf(Bytes& pixels) {
    return {[](void* context, std::span<uint8_t> frame) {
                std::memcpy(frame.data(), static_cast<const Bytes*>(context)->data(), frame.size());
            },
            &pixels};
}

}  // namespace engine
