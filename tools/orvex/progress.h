#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace orvex {

// A bar on the error stream, drawn only on a terminal and at most twenty times a second.
class Progress {
  public:
    Progress(std::string label, uint64_t total);
    ~Progress();
    void update(uint64_t done);

  private:
    void draw(uint64_t done);

    std::string label_;
    uint64_t total_;
    bool terminal_;
    std::chrono::steady_clock::time_point start_;
    std::chrono::steady_clock::time_point last_;
};

}  // namespace orvex
