#pragma once

#include <string>

#include "support/environment.h"
#include "support/temp_dir.h"

namespace support {

// The software cameras of a configuration, in reach of the library for the life of this object.
class SoftCameras {
  public:
    explicit SoftCameras(const std::string& configuration)
        : configuration_("ORVEX_SOFTCAM", folder_.write("cameras.json", configuration).string()) {}

  private:
    TempDir folder_;
    Environment configuration_;
    Environment modules_{"ORVEX_MODULE_PATH", ORVEX_LIBRARY_DIR "/orvex"};
};

}  // namespace support
