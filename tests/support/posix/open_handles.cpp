#include "support/open_handles.h"

#include <filesystem>

namespace support {

const ptrdiff_t handles_of_ended_threads = 0;

ptrdiff_t open_handles() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

}  // namespace support
