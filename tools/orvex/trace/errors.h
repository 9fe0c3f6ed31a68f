#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "orvex/trace/calls.h"

// What went wrong, and how far it got.
namespace orvex::trace {

enum class Outcome {
    failed,      // the exported function failed
    overlooked,  // a function on the way went on all the same
    unknown,     // the trace has no calls around it
};

struct Step {
    std::string function;
    std::string arguments;
    std::string text;  // its own error line, if it wrote one
};

// One error from its cause outwards.
struct Incident {
    Outcome outcome = Outcome::unknown;
    int64_t code = -1;  // that ox_error_code() told; -1 when none was set
    int64_t at_us = 0;
    uint64_t line = 0;
    uint32_t process = 0;
    uint32_t thread = 0;
    // The function in which it began, then those that passed it on, up to the exported one, or to
    // the first that did not fail for it.
    std::vector<Step> road;
    std::string exported;  // name and arguments of the outermost call
    std::string exported_arguments;
};

// Incidents that differ in nothing but when, by whom, and the arguments.
struct IncidentGroup {
    Incident first;
    uint64_t count = 0;
    int64_t last_us = 0;
};

struct WarningGroup {
    std::string function;
    std::string text;
    uint64_t count = 0;
    uint64_t line = 0;
};

// "42 C7_DRIVER_COM_ERROR", or the number alone.
std::string error_name(int64_t code);

class Errors : public Listener {
  public:
    explicit Errors(Names& names) : names_(names) {}

    void begin(const Thread& thread, const Call& call) override;
    void end(const Thread& thread, const Call& call, const Ending& ending) override;
    void remark(const Thread& thread, const Record& record, Moment moment) override;
    // Ends what the trace broke off.
    void finish();

    // In the order of their first appearance; a group beyond the first few hundred is only counted.
    const std::vector<IncidentGroup>& groups() const { return groups_; }
    const std::vector<WarningGroup>& warnings() const { return warnings_; }
    uint64_t count(Outcome outcome) const { return counts_[static_cast<size_t>(outcome)]; }
    uint64_t warning_count() const { return warning_count_; }
    // Times that a driver told of a camera that is gone.
    uint64_t removals() const { return removals_; }

  private:
    // The error that a thread is passing outwards.
    struct Carried {
        Incident incident;
        size_t level = 0;  // calls around it; 0 for none on the way
    };

    Carried& begin_incident(const Thread& thread, std::string text, Moment moment);
    void close(Carried& carried, Outcome outcome, const Thread& thread);
    void add(Incident incident);
    void warn(const Record& record, uint64_t line);

    Names& names_;
    std::map<const Thread*, Carried> carried_;
    std::map<const Thread*, std::pair<size_t, int64_t>> code_set_;  // calls around it, the code
    std::vector<IncidentGroup> groups_;
    std::map<std::string, size_t, std::less<>> group_numbers_;
    std::vector<WarningGroup> warnings_;
    std::map<std::string, size_t, std::less<>> warning_numbers_;
    std::array<uint64_t, 3> counts_{};
    uint64_t warning_count_ = 0;
    uint64_t removals_ = 0;
};

}  // namespace orvex::trace
