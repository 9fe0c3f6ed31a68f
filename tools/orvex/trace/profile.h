#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "orvex/trace/calls.h"

// Where the time went.
namespace orvex::trace {

struct Times {
    uint64_t calls = 0;
    uint64_t failed = 0;
    int64_t total_us = 0;
    int64_t own_us = 0;  // without the calls that it made
    int64_t longest_us = 0;
    int64_t longest_at_us = 0;
    uint64_t longest_line = 0;
};

// Waiting for the mutex of a camera or of the library: what an exported function spent outside of
// all that it called.
struct LockWait {
    int64_t us = 0;
    std::string function;
    int64_t at_us = 0;
    uint64_t line = 0;
};

class Profile : public Listener {
  public:
    explicit Profile(Names& names) : names_(names) {}

    void end(const Thread& thread, const Call& call, const Ending& ending) override;

    // By the number of the name. The two layers of an exported function are one.
    struct Row {
        std::string function;
        Times times;
    };
    enum class Order { own, total };
    // The first so many.
    std::vector<Row> slowest(Order order, size_t count) const;

    const Times& exported() const { return exported_; }
    int64_t lock_us() const { return lock_us_; }
    const LockWait& longest_lock() const { return longest_lock_; }

  private:
    Times& times_of(uint32_t name);

    Names& names_;
    std::vector<Times> times_;
    Times exported_;
    int64_t lock_us_ = 0;
    LockWait longest_lock_;
};

}  // namespace orvex::trace
