#include "support/open_handles.h"

#include "platform/windows/api.h"

namespace support {

const ptrdiff_t handles_of_ended_threads = 12;

// One by one, as Wine does not count them. Each is a multiple of 4, and the system takes the lowest
// that is free.
ptrdiff_t open_handles() {
    constexpr uintptr_t beyond_any = 4096;
    ptrdiff_t count = 0;
    DWORD flags = 0;
    for (uintptr_t handle = 4; handle < beyond_any; handle += 4)
        if (GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags)) ++count;
    return count;
}

}  // namespace support
