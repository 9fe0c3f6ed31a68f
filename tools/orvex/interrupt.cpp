#include "orvex/interrupt.h"

namespace orvex {

Interrupted::Interrupted(const std::string& what)
    : std::runtime_error(what), status_(128 + end_signal()) {}

void sleep_or_stop(std::chrono::milliseconds time) {
    if (interrupted_within(time)) throw Interrupted();
}

}  // namespace orvex
