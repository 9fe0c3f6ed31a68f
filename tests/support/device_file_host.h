#pragma once

#include <memory>
#include <string>

#include "orvex/orvex_ddi.h"

namespace support {

// The library's end of a device file, in the hands of a test.
class DeviceFileHost {
  public:
    virtual ~DeviceFileHost() = default;

    // By what the system has for it: the path, or the function. Null when that is refused.
    static std::unique_ptr<DeviceFileHost> connect(const std::string& path, dv_file_opener opener);

    // False when the driver has gone.
    virtual bool send(const dv_file_request& request) = 0;
    // Waits for the next completion; false when the driver has gone or none comes.
    virtual bool take(dv_file_completion& completion) = 0;
    // Whether the driver has gone, which is waited for.
    virtual bool ended() = 0;

    bool send(uint32_t operation, uint64_t id, uint32_t mask) {
        dv_file_request request{};
        request.operation = operation;
        request.code = DV_EVENT_NOTIFICATION_REQUEST;
        request.id = id;
        request.in_size = request.out_size = sizeof(dv_notification_report);
        request.in.mask = mask;
        return send(request);
    }
};

}  // namespace support
