#pragma once

#include "orvex/orvex_types.h"

namespace bv {

// Who wants one kind of event. A null function is nobody.
struct CallbackSlot {
    void* function = nullptr;
    void* context = nullptr;
    uns32 type = CB_TYPE_ORIG;
};

// One event on its way to the application.
struct CallbackEvent {
    uns16 hcam = 0;
    uns32 event = 0;
    uns64 frame_address = 0;  // in the frame buffer, or 0; no form of callback passes it on
    FRAME_INFO frame_info{};

    // Calls the function in the form of its type, here and now; nothing for a type that is none.
    void Deliver(const CallbackSlot& callback);
};

// Frames of a buffer that are kept in flight: all of a sequence, four fifths of a ring, never none.
// The odd summand is what 1 - 0.8 comes to in a double.
constexpr uns32 FramesInFlight(uns32 frame_count, bool is_sequence) {
    const uns32 frames =
        is_sequence ? frame_count : static_cast<uns32>(frame_count * 0.8 + 0.19999999999999996);
    return frames > 0 ? frames : 1;
}

}  // namespace bv
