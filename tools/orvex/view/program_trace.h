#pragma once

#include <atomic>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "orvex/trace/exchanges.h"
#include "orvex/view/event_log.h"

namespace orvex::view {

// Reads the library's trace as it is written: the program of the last set-up, and the lines that a
// person wants to see.
class ProgramTrace {
  public:
    explicit ProgramTrace(EventLog& log) : log_(log) {}
    ~ProgramTrace();
    ProgramTrace(const ProgramTrace&) = delete;
    ProgramTrace& operator=(const ProgramTrace&) = delete;

    // Reads a pipe, which it closes at the end.
    void follow(int pipe);
    void take_line(std::string_view line);

    bool traced() const { return thread_.joinable(); }
    // Operations with their depth in loops.
    nlohmann::json program() const;
    uint64_t revision() const;

  private:
    void read(int pipe);

    EventLog& log_;
    mutable std::mutex lock_;
    std::vector<trace::Operation> loading_;
    std::vector<trace::Operation> operations_;
    uint64_t revision_ = 0;
    std::atomic<bool> ended_{false};
    std::thread thread_;
};

}  // namespace orvex::view
