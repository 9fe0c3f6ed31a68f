#pragma once

#include <string>

namespace engine {

// The private directory of the device files. Where they are files that others can open, it is
// locked for as long as its process lives; what processes that ended on the way have left is
// removed when another is made.
class DeviceDirectory {
  public:
    DeviceDirectory() = default;
    DeviceDirectory(const DeviceDirectory&) = delete;
    DeviceDirectory& operator=(const DeviceDirectory&) = delete;

    // False with a message when that is impossible.
    bool Make(std::string& message);
    // Also what is in it.
    void Remove();
    // The path of a file in it.
    std::string File(const std::string& name) const;

  private:
    std::string path_;
    int lock_ = -1;
};

}  // namespace engine
