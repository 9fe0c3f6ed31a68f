#include "parameter_reader.h"

#include <array>
#include <chrono>

#include "failure.h"

namespace endurance {
namespace {

constexpr std::array<uns32, 8> ids{PARAM_SER_SIZE,     PARAM_PAR_SIZE,    PARAM_PREMASK,
                                   PARAM_POSTMASK,     PARAM_PRESCAN,     PARAM_POSTSCAN,
                                   PARAM_PIX_SER_SIZE, PARAM_PIX_PAR_SIZE};

}  // namespace

ParameterReader::~ParameterReader() {
    stop_ = true;
    thread_.join();
}

void ParameterReader::read_from(int16 hcam) {
    const std::lock_guard hold(lock_);
    hcam_ = hcam;
    first_time_ = true;
}

uns64 ParameterReader::reads() const {
    const std::lock_guard hold(lock_);
    if (!problem_.empty()) throw Failure(problem_);
    return reads_;
}

void ParameterReader::run() {
    while (!stop_) {
        {
            const std::lock_guard hold(lock_);
            if (hcam_ >= 0) read_all();
        }
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
}

void ParameterReader::read_all() {
    for (size_t i = 0; i < ids.size(); ++i) {
        uns16 value = 0;
        boolean16 available = 0;
        if (ox_get_param(hcam_, ids[i], ATTR_AVAIL, &available) && !available) continue;
        if (!ox_get_param(hcam_, ids[i], ATTR_CURRENT, &value)) {
            if (problem_.empty()) problem_ = text_of("reading parameter ", ids[i], " failed");
            return;
        }
        ++reads_;
        if (first_time_) known_[i] = value;
        if (value != known_[i] && problem_.empty())
            problem_ = text_of("parameter ", ids[i], ": expected ", known_[i], ", seen ", value);
    }
    first_time_ = false;
}

}  // namespace endurance
