#pragma once

#include "platform/posix/descriptor.h"

namespace platform {

// A connection to what a device path names; is_socket tells a Unix socket from a character device.
// Empty when it is neither or refuses.
Descriptor OpenDevicePath(const char* path, bool& is_socket);

}  // namespace platform
