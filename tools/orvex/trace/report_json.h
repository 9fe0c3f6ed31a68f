#pragma once

#include <nlohmann/json.hpp>

#include "orvex/trace/analysis.h"
#include "orvex/trace/tree.h"

// The same for programs: times in microseconds, moments as ISO 8601 in the time zone of the log.
namespace orvex::trace {

nlohmann::ordered_json summary_json(Names& names, const Analysis& analysis);
nlohmann::ordered_json slowest_json(const Profile& profile, size_t count);
nlohmann::ordered_json exchange_json(const Exchange& exchange);
nlohmann::ordered_json program_json(const Program& program);
nlohmann::ordered_json tree_json(const Thread& thread, const Node& node);

}  // namespace orvex::trace
