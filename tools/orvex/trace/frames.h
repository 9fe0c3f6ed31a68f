#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "orvex/trace/calls.h"

// When frames came, as the library told of them.
namespace orvex::trace {

struct Gap {
    int64_t us = 0;
    uint64_t frame = 0;    // the one that it ends with
    uint64_t missing = 0;  // numbers that were left out
    int64_t at_us = 0;
    uint64_t line = 0;
};

// Intervals by length, in steps of a twentieth, in memory that does not grow.
class Intervals {
  public:
    void add(int64_t us);
    uint64_t count() const { return count_; }
    // At which a part of the intervals ends; within a twentieth.
    int64_t percentile(double part) const;

  private:
    std::map<int, uint64_t> steps_;
    uint64_t count_ = 0;
};

// The frames of one run of a camera.
struct FrameRun {
    uint32_t process = 0;
    uint32_t thread = 0;
    std::string camera;  // the handle; empty when the trace does not tell
    uint64_t frames = 0;
    uint64_t missing = 0;
    uint64_t last_number = 0;
    bool numbered = false;  // by the trace, not here
    int64_t first_us = 0;
    int64_t last_us = 0;
    Intervals intervals;
    std::vector<Gap> longest;  // longest first
    std::vector<Gap> losses;   // the first few in which numbers are missing

    double rate() const;
    // Those of the longest that stand out.
    std::vector<Gap> gaps() const;
};

class Frames : public Listener {
  public:
    explicit Frames(Names& names) : names_(names) {}

    void begin(const Thread& thread, const Call& call) override;

    const std::deque<FrameRun>& runs() const { return runs_; }
    // Beyond the many that are kept.
    uint64_t further_runs() const { return further_runs_; }

  private:
    void add_frame(const Thread& thread, const Call& call, uint64_t number);
    FrameRun* begin_run(const Thread& thread);

    Names& names_;
    std::deque<FrameRun> runs_;
    std::map<const Thread*, FrameRun*> current_;
    uint64_t further_runs_ = 0;
    FrameRun beyond_;
};

}  // namespace orvex::trace
