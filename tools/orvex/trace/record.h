#pragma once

#include <cstdint>
#include <string_view>

// One line of a trace, taken apart; docs/tracing.md shows the form.
namespace orvex::trace {

enum class Kind {
    enter,     // a call began
    leave,     // a call ended
    remark,    // what a function said meanwhile
    date,      // the day on which a process started its log
    started,   // a process started its log
    stopped,   // and ended it
    ornament,  // a rule or an empty line
    nonsense,
};

struct Record {
    Kind kind = Kind::nonsense;
    char level = 'D';
    uint32_t process = 0;
    uint32_t thread = 0;
    unsigned depth = 0;           // of nesting
    int64_t time_us = 0;          // since midnight; of a date: days since 1970
    int64_t duration_us = 0;      // of a call that ended
    uint64_t dropped = 0;         // records that a log lost before it stopped
    std::string_view function{};  // empty in a remark of no function
    std::string_view text{};      // arguments, results, or what was said
};

// The views of the record are parts of the line, which comes without its end.
Record parse_record(std::string_view line);

// The value of "name=" in arguments or results; empty when there is none. An enumeration's, as in
// "op=OP_EXPOSE(4)", is the text with its number.
std::string_view argument(std::string_view arguments, std::string_view name);
// The number of a value: its own, or that in the parentheses of an enumeration. -1 without one.
int64_t argument_number(std::string_view value);

}  // namespace orvex::trace
