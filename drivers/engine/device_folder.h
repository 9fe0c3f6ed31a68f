#pragma once

#include <string>

namespace engine {

// The folder of the device files, private to this user: who can open one gets the camera's events.
// A process that is killed leaves its folder; the next one of the same user removes it.
class DeviceFolder {
  public:
    DeviceFolder() = default;
    ~DeviceFolder() { Remove(); }
    DeviceFolder(const DeviceFolder&) = delete;
    DeviceFolder& operator=(const DeviceFolder&) = delete;

    // Below TMPDIR, or /tmp. False with a message when that is impossible.
    bool Make(std::string& message);
    void Remove();
    const std::string& Path() const { return path_; }

  private:
    std::string path_;
    int lock_ = -1;
};

}  // namespace engine
