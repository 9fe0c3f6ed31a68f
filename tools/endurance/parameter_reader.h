#pragma once

#include <array>
#include <atomic>
#include <mutex>
#include <string>
#include <thread>

#include "orvex/orvex.h"

namespace endurance {

// A thread that all the while reads parameters which the library knows without asking the camera.
// They must not change while the camera is open.
class ParameterReader {
  public:
    ParameterReader() : thread_([this] { run(); }) {}
    ~ParameterReader();
    ParameterReader(const ParameterReader&) = delete;
    ParameterReader& operator=(const ParameterReader&) = delete;

    // The camera to read from; -1 for none. When it returns, the one before is no longer used:
    // the error state is one for the process, so that a read that fails would be heard elsewhere.
    void read_from(int16 hcam);
    // Throws Failure on what was wrong.
    uns64 reads() const;

  private:
    void run();
    void read_all();

    mutable std::mutex lock_;
    int16 hcam_ = -1;
    bool first_time_ = true;
    std::array<uns16, 8> known_{};
    std::string problem_;
    std::atomic<uns64> reads_{0};
    std::atomic<bool> stop_{false};
    std::thread thread_;
};

}  // namespace endurance
