#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "orvex/orvex.hpp"

// What all sections share: an open camera, percentiles, timed calls.
namespace bench {

using Clock = std::chrono::steady_clock;

inline double seconds_since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

using orvex::Library;
using orvex::require;

// The camera that is measured.
class Camera : public orvex::Camera {
  public:
    explicit Camera(const Library& library) : orvex::Camera(library, "SoftCMOS-2048") {}

    // A line for the service console of the software camera.
    void console(std::string line) const {
        require(oz_cam_send_debug(handle(), line.data(), 0, nullptr), "console");
    }

    // The same for a question; blanks make room for the answer.
    std::string ask(std::string line) const {
        line.resize(64, ' ');
        std::array<char, 128> answer{};
        require(oz_cam_send_debug(handle(), line.data(), static_cast<uns16>(line.size() + 10),
                                  answer.data()),
                "console");
        return answer.data();
    }
};

// The given columns of the sensor's first rows, unbinned.
inline rgn_type corner(uns16 columns, uns16 rows) {
    return orvex::make_region(0, 0, columns, rows);
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
