#include "engine/device_directory.h"

namespace engine {

// Only hosts in the process open the device files, by the paths that they were given.
bool DeviceDirectory::Make(std::string& /*message*/) {
    path_ = "orvex-dev";
    return true;
}

void DeviceDirectory::Remove() {
    // The module is never destroyed, so the memory goes here.
    std::string().swap(path_);
}

std::string DeviceDirectory::File(const std::string& name) const {
    return path_ + '\\' + name;
}

}  // namespace engine
