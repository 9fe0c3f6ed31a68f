#include "orvex/temperature_wait.h"

#include <cstdio>
#include <cstdlib>

#include "orvex/interrupt.h"
#include "orvex/terminal.h"
#include "orvex/units.h"

namespace orvex {

namespace {

constexpr int near_enough = 50;  // hundredths of a degree

std::string degrees(int hundredths) {
    return with_unit(hundredths / 100.0, *unit_of(PARAM_TEMP));
}

}  // namespace

void wait_for_temperature(const Camera& camera, Seconds limit) {
    using Clock = std::chrono::steady_clock;
    if (!camera.available(PARAM_TEMP) || !camera.available(PARAM_TEMP_SETPOINT)) {
        throw std::invalid_argument(camera.name() + " has no temperature to wait for");
    }
    const bool terminal = on_terminal();
    const Clock::time_point start = Clock::now();
    for (;;) {
        const int now = camera.get<PARAM_TEMP>();
        const int wanted = camera.get<PARAM_TEMP_SETPOINT>();
        const Seconds passed = Clock::now() - start;
        const bool there = std::abs(now - wanted) <= near_enough;
        const bool over = passed > limit;
        if (terminal) {
            std::fprintf(stderr, "\rsensor %s, set-point %s  %.0f s\033[K", degrees(now).c_str(),
                         degrees(wanted).c_str(), passed.count());
            if (there || over) std::fputs("\r\033[K", stderr);
        }
        if (there) return;
        if (over) {
            throw std::runtime_error("the sensor is at " + degrees(now) + " after " +
                                     with_unit(limit.count(), {"s"}) +
                                     ", and not at its set-point of " + degrees(wanted));
        }
        sleep_or_stop(std::chrono::milliseconds(100));
    }
}

}  // namespace orvex
