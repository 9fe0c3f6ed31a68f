#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "orvex/orvex.h"

// What all sections share: an open camera, refusals as exceptions, percentiles, timed calls.
namespace bench {

using Clock = std::chrono::steady_clock;

inline double seconds_since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Throws what the library says of a refusal.
inline void require(boolean16 result, const char* what) {
    if (result) return;
    std::array<char, ERROR_MSG_LEN> message{};
    ox_error_message(ox_error_code(), message.data());
    throw std::runtime_error(std::string(what) + ": " + message.data());
}

class Library {
  public:
    Library() { require(ox_orvex_init(), "init"); }
    ~Library() { ox_orvex_uninit(); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
};

class Camera {
  public:
    Camera() {
        std::array<char, CAM_NAME_LEN> name{"SoftCMOS-2048"};
        require(ox_cam_open(name.data(), &handle_, EXT_OPEN_EXCLUSIVE), "open");
    }
    ~Camera() { ox_cam_close(handle_); }
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    int16 handle() const { return handle_; }

    // The caller picks T by the parameter's type.
    template <class T>
    T get(uns32 id) const {
        T value{};
        require(ox_get_param(handle_, id, ATTR_CURRENT, &value), "read of a parameter");
        return value;
    }
    template <class T>
    void set(uns32 id, T value) const {
        require(ox_set_param(handle_, id, &value), "set of a parameter");
    }
    // A line for the service console of the software camera.
    void console(std::string line) const {
        require(oz_cam_send_debug(handle_, line.data(), 0, nullptr), "console");
    }

    // The same for a question; blanks make room for the answer.
    std::string ask(std::string line) const {
        line.resize(64, ' ');
        std::array<char, 128> answer{};
        require(oz_cam_send_debug(handle_, line.data(), static_cast<uns16>(line.size() + 10),
                                  answer.data()),
                "console");
        return answer.data();
    }

  private:
    int16 handle_ = -1;
};

// The given columns of the sensor's first rows, unbinned.
inline rgn_type corner(uns16 columns, uns16 rows) {
    return {0, static_cast<uns16>(columns - 1), 1, 0, static_cast<uns16>(rows - 1), 1};
}

// The value that a share of the samples does not exceed; 0 of none.
inline double percentile(std::vector<double> samples, double share) {
    if (samples.empty()) return 0;
    const auto last = static_cast<double>(samples.size() - 1);
    const auto at = samples.begin() + static_cast<std::ptrdiff_t>(last * share + 0.5);
    std::nth_element(samples.begin(), at, samples.end());
    return *at;
}

inline double median(std::vector<double> samples) {
    return percentile(std::move(samples), 0.5);
}

// The median of many short rounds, so that what other programs take from the machine for a while
// doesn't count.
template <class Body>
double seconds_per_call(int calls_per_round, int rounds, Body body) {
    std::vector<double> samples;
    for (int round = 0; round < rounds; ++round) {
        const Clock::time_point start = Clock::now();
        for (int i = 0; i < calls_per_round; ++i) body();
        samples.push_back(seconds_since(start) / calls_per_round);
    }
    return median(std::move(samples));
}

}  // namespace bench
