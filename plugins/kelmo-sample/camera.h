#pragma once

#include "hot_pixels.h"
#include "modules.h"
#include "running_average.h"

namespace kelmo {

// The settings of one camera and its frames on their way through the modules. The host calls for
// one camera from one thread at a time.
class Camera {
  public:
    Camera();

    // Null when there is no such parameter.
    const flt64* Value(size_t module, size_t parameter) const;
    // False when there is no such parameter or the value lies outside of its range.
    bool SetValue(size_t module, size_t parameter, flt64 value);

    void Process(const Frame& frame);

  private:
    bool IsEnabled(size_t module) const { return values_[module][parameter_enabled] != 0; }

    std::array<std::array<flt64, parameters_of_module>, module_count> values_;
    HotPixelRemoval hot_pixels_;
    RunningAverage average_;
};

}  // namespace kelmo
