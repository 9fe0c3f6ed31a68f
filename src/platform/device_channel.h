#pragma once

#include <memory>
#include <span>

#include "platform/device_file.h"

namespace platform {

// What a device file and its completion port share: the way to the driver, the requests outstanding
// and the completions that need no message. The operations are those of DeviceFile and
// CompletionPort.
class DeviceChannel {
  public:
    DeviceChannel() = default;
    virtual ~DeviceChannel() = default;
    DeviceChannel(const DeviceChannel&) = delete;
    DeviceChannel& operator=(const DeviceChannel&) = delete;

    virtual void CloseFile() = 0;
    virtual bool OpenPort(uint64_t key) = 0;
    virtual void ClosePort() = 0;

    virtual uint32_t Submit(uint32_t code, OverlappedRequest& request) = 0;
    virtual bool CancelAll() = 0;
    virtual void Forget() = 0;
    virtual bool Post(uint32_t bytes, uint64_t key) = 0;
    virtual size_t Take(std::span<Completion> entries, uint32_t limit_ms) = 0;
    virtual size_t Outstanding() = 0;
    virtual bool IsUntouched(size_t count) = 0;
    virtual bool HasMore() = 0;
};

// The channel to the device that a path names, in the system's own way; null when it refuses.
std::shared_ptr<DeviceChannel> OpenDeviceChannel(const char* path);

}  // namespace platform
