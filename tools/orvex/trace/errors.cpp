#include "orvex/trace/errors.h"

#include "orvex/orvex_ddi.h"
#include "orvex/orvex_errors.h"

namespace orvex::trace {

namespace {

constexpr size_t most_groups = 300;
constexpr std::string_view sets_code = "bv::ApiGlobal::SetErrorCode";
constexpr std::string_view dispatch = "bv::EventNotifier::DispatchAll";

std::string key_of(const Incident& incident) {
    std::string key = std::to_string(static_cast<int>(incident.outcome)) + '\n' +
                      std::to_string(incident.code) + '\n' + incident.exported;
    for (const Step& step : incident.road) key += '\n' + step.function + '\n' + step.text;
    return key;
}

}  // namespace

std::string error_name(int64_t code) {
#define ORVEX_ERROR_CASE(name, number, text) \
    if (code == number) return #number " " #name;
    ORVEX_ERRORS(ORVEX_ERROR_CASE)
#undef ORVEX_ERROR_CASE
    return std::to_string(code);
}

void Errors::begin(const Thread& thread, const Call& call) {
    const std::string& function = names_[call.name];
    if (function == sets_code) {
        const int64_t code = argument_number(argument(call.arguments, "errorCode"));
        const auto carried = carried_.find(&thread);
        code_set_[&thread] = {thread.open - 1, code};
        if (carried != carried_.end() && carried->second.level == thread.open - 1)
            carried->second.incident.code = code;
    } else if (function == dispatch) {
        const int64_t flags = argument_number(argument(call.arguments, "flags"));
        if (flags > 0 && flags & NOTIFICATION_DEVICE_REMOVAL) ++removals_;
    }
}

Errors::Carried& Errors::begin_incident(const Thread& thread, std::string text, Moment moment) {
    Carried& carried = carried_[&thread];
    carried.level = thread.open;
    carried.incident = {};
    carried.incident.at_us = moment.at_us;
    carried.incident.line = moment.line;
    carried.incident.process = thread.process;
    carried.incident.thread = thread.number;
    carried.incident.road.push_back({{}, {}, std::move(text)});
    return carried;
}

void Errors::remark(const Thread& thread, const Record& record, Moment moment) {
    if (record.level == 'W') return warn(record, moment.line);
    if (record.level != 'E') return;
    const auto found = carried_.find(&thread);
    if (found != carried_.end()) {
        Carried& carried = found->second;
        Step& last = carried.incident.road.back();
        // The function that got it from one of its own calls says so.
        if (carried.level == thread.open && last.function.empty() && last.text.empty()) {
            last.text = record.text;
            return;
        }
        close(carried, Outcome::overlooked, thread);
        carried_.erase(found);
    }
    Carried& carried = begin_incident(thread, std::string(record.text), moment);
    if (thread.open > 0) return;
    carried.incident.road.back().function = record.function;
    carried.incident.exported.clear();
    close(carried, Outcome::unknown, thread);
    carried_.erase(&thread);
}

// The call ends at which the error has arrived: it goes on to the caller, or no further.
void Errors::end(const Thread& thread, const Call& call, const Ending& ending) {
    auto found = carried_.find(&thread);
    if (found == carried_.end() || found->second.level != thread.open) {
        if (!ending.failed()) return;
        if (found != carried_.end()) close(found->second, Outcome::overlooked, thread);
        Carried& carried = begin_incident(thread, {}, {ending.at_us, call.line});
        const auto code = code_set_.find(&thread);
        if (code != code_set_.end() && code->second.first == thread.open)
            carried.incident.code = code->second.second;
        found = carried_.find(&thread);
    }
    Carried& carried = found->second;
    Step& step = carried.incident.road.back();
    step.function = names_[call.name];
    step.arguments = call.arguments;
    if (ending.failed() && thread.open > 1) {
        carried.level = thread.open - 1;
        carried.incident.road.push_back({});
        return;
    }
    close(carried,
          !ending.told      ? Outcome::unknown
          : ending.failed() ? Outcome::failed
                            : Outcome::overlooked,
          thread);
    carried_.erase(found);
}

void Errors::close(Carried& carried, Outcome outcome, const Thread& thread) {
    Incident& incident = carried.incident;
    incident.outcome = outcome;
    if (thread.open > 0) {
        incident.exported = names_[thread.stack[0].name];
        incident.exported_arguments = thread.stack[0].arguments;
    }
    // A caller that had not ended yet.
    if (incident.road.size() > 1 && incident.road.back().function.empty()) incident.road.pop_back();
    add(std::move(incident));
}

void Errors::add(Incident incident) {
    // A function that answers no, to somebody who only asked.
    const bool is_answer = incident.road.front().text.empty() && incident.code < 0;
    if (is_answer && incident.outcome != Outcome::failed) return;
    ++counts_[static_cast<size_t>(incident.outcome)];
    std::string key = key_of(incident);
    const auto found = group_numbers_.find(key);
    if (found != group_numbers_.end()) {
        IncidentGroup& group = groups_[found->second];
        ++group.count;
        group.last_us = incident.at_us;
        return;
    }
    if (groups_.size() == most_groups) return;
    group_numbers_.emplace(std::move(key), groups_.size());
    const int64_t at_us = incident.at_us;
    groups_.push_back({std::move(incident), 1, at_us});
}

void Errors::warn(const Record& record, uint64_t line) {
    ++warning_count_;
    std::string key(record.function);
    key.append("\n").append(record.text);
    const auto found = warning_numbers_.find(key);
    if (found != warning_numbers_.end()) {
        ++warnings_[found->second].count;
    } else if (warnings_.size() < most_groups) {
        warning_numbers_.emplace(std::move(key), warnings_.size());
        warnings_.push_back({std::string(record.function), std::string(record.text), 1, line});
    }
}

void Errors::finish() {
    for (auto& [thread, carried] : carried_) close(carried, Outcome::unknown, *thread);
    carried_.clear();
}

}  // namespace orvex::trace
