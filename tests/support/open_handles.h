#pragma once

#include <cstddef>

namespace support {

// How many files, events and the like the process has open.
ptrdiff_t open_handles();
// How many of them the system's own threads may leave to the next ones, at the most.
extern const ptrdiff_t handles_of_ended_threads;

}  // namespace support
