#include "softcam/cooler.h"

#include <cmath>

namespace softcam {
namespace {

// The cooler's time constant.
constexpr double cooling_seconds = 20.0;

}  // namespace

Cooler::Cooler(const firmware::Temperatures& range, double time_scale)
    : time_scale_(time_scale),
      setpoint_(range.first_setpoint),
      start_(range.max),
      since_(std::chrono::steady_clock::now()) {}

int16_t Cooler::Setpoint() const {
    const std::lock_guard hold(lock_);
    return setpoint_;
}

int16_t Cooler::Temperature() const {
    const std::lock_guard hold(lock_);
    return Reached();
}

int16_t Cooler::Reached() const {
    if (time_scale_ <= 0) return setpoint_;
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - since_;
    const double rest = std::exp(-passed.count() / (cooling_seconds * time_scale_));
    return static_cast<int16_t>(std::lround(setpoint_ + (start_ - setpoint_) * rest));
}

void Cooler::SetSetpoint(int16_t setpoint) {
    const std::lock_guard hold(lock_);
    start_ = Reached();
    since_ = std::chrono::steady_clock::now();
    setpoint_ = setpoint;
}

}  // namespace softcam
