#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>

#include "softcam/models.h"

namespace softcam {

// Sensor temperature on its way to the set-point, in hundredths of a degree Celsius. Times are
// those of the camera. A run asks for the temperature while commands move the set-point.
class Cooler {
  public:
    Cooler(const firmware::Temperatures& range, double time_scale);

    int16_t Setpoint() const;
    void SetSetpoint(int16_t setpoint);
    int16_t Temperature() const;

  private:
    int16_t Reached() const;

    mutable std::mutex lock_;
    double time_scale_;
    int16_t setpoint_;
    double start_;
    std::chrono::steady_clock::time_point since_;
};

}  // namespace softcam
