#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "engine/sensor.h"

namespace engine {

// Supplied by the module: finds its cameras, at most ORVEX_DDI_MAX_DEVICES of which are used.
// False with a message when that is impossible.
bool FindSensors(std::vector<std::unique_ptr<Sensor>>& sensors, std::string& message);

// Whether there are cameras: between init and uninit, and not in a forked child.
bool HasCameras();

// A value of static storage that cameras use. Their threads run on while a process ends, so that it
// is destroyed only where there are no cameras any more, as when the module is unloaded.
template <class T>
class SharedByCameras {
  public:
    explicit SharedByCameras(T value) : value_(std::move(value)) {}
    ~SharedByCameras() {
        if (!HasCameras()) value_.~T();
    }
    SharedByCameras(const SharedByCameras&) = delete;
    SharedByCameras& operator=(const SharedByCameras&) = delete;

    const T& operator*() const { return value_; }

  private:
    union {
        T value_;
    };
};

}  // namespace engine
