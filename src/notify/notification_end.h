#pragma once

#include <cstdint>

namespace bv {

// Transferred bytes of a posted completion that tells the notification thread to end; no report is
// that long.
constexpr uint32_t end_of_thread_bytes = 420;

}  // namespace bv
