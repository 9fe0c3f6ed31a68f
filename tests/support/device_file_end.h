#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "orvex/orvex_ddi.h"

namespace support {

// The driver's end of the device file of a camera, as this system has it. One thread waits, any
// does the rest, one at a time.
class DeviceFileEnd {
  public:
    // May use the directory.
    static std::unique_ptr<DeviceFileEnd> make(const std::filesystem::path& directory);
    virtual ~DeviceFileEnd() = default;

    virtual std::string path() const = 0;  // for orvex_device.path
    // As the last receive() found it.
    virtual bool connected() const = 0;
    // The next message; false without one. Never waits. A request that the library's system has
    // cancelled by itself comes once more, as DV_FILE_CANCEL_ALL with its id.
    virtual bool receive(dv_file_request& request) = 0;
    virtual void send(const dv_file_completion& completion) = 0;
    // Until there may be a message, or somebody wakes it.
    virtual void wait() = 0;
    virtual void wake() = 0;
};

}  // namespace support
