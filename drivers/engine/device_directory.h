#pragma once

#include <string>

namespace engine {

// The private directory of the device files. It is locked for as long as its process lives; what
// processes that ended on the way have left is removed when another is made.
class DeviceDirectory {
  public:
    DeviceDirectory() = default;
    DeviceDirectory(const DeviceDirectory&) = delete;
    DeviceDirectory& operator=(const DeviceDirectory&) = delete;

    // False with a message when that is impossible.
    bool Make(std::string& message);
    // Also what is in it.
    void Remove();
    const std::string& Path() const { return path_; }

  private:
    std::string path_;
    int lock_ = -1;
};

}  // namespace engine
