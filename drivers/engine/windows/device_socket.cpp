#include "engine/device_socket.h"

namespace engine {

// A device file by name is a matter of the kernel here; hosts in the process call.
std::unique_ptr<DeviceSocket> MakeDeviceSocket(std::mutex& /*lock*/, MessageTaker& /*taker*/) {
    return std::make_unique<DeviceSocket>();
}

}  // namespace engine
