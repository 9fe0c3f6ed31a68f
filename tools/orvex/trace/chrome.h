#pragma once

#include <cstdint>
#include <fstream>
#include <string>

#include "orvex/trace/calls.h"

// The trace as Chrome trace events, which chrome://tracing and Perfetto draw as a flame chart with
// one track for each thread. Written while the trace is read.
namespace orvex::trace {

class Chrome : public Listener {
  public:
    // Throws std::runtime_error when the file can't be written.
    Chrome(Names& names, const std::string& path);

    void end(const Thread& thread, const Call& call, const Ending& ending) override;
    void remark(const Thread& thread, const Record& record, Moment moment) override;
    // Adds the calls that never ended, and the names of the tracks. Throws std::runtime_error when
    // the file could not be written whole.
    void finish(const CallReader& calls);

  private:
    std::ofstream& next();
    void put_place(char phase, const Thread& thread, int64_t at_us, const std::string& name);

    Names& names_;
    std::string path_;
    std::ofstream file_;
    bool first_ = true;
};

}  // namespace orvex::trace
