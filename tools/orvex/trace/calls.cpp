#include "orvex/trace/calls.h"

#include <algorithm>

namespace orvex::trace {

namespace {

constexpr int64_t us_per_day = 86'400'000'000;
constexpr std::string_view entry_layer = "bv::ApiEntryLayer::";
constexpr std::string_view exec_layer = "bv::ApiExecLayer::";

}  // namespace

uint32_t Names::number(std::string_view name) {
    const auto found = numbers_.find(name);
    if (found != numbers_.end()) return found->second;
    const auto next = static_cast<uint32_t>(names_.size());
    numbers_.emplace(names_.emplace_back(name), next);
    return next;
}

Layer layer_of(std::string_view function) {
    if (function.starts_with(entry_layer)) return Layer::entry;
    return function.starts_with(exec_layer) ? Layer::exec : Layer::inner;
}

std::string_view plain_function(std::string_view function) {
    for (const std::string_view prefix : {entry_layer, exec_layer})
        if (function.starts_with(prefix)) function.remove_prefix(prefix.size());
    return function;
}

bool Ending::failed() const {
    return told && result.starts_with("OZ_FAIL");
}

void CallReader::read(std::string_view line) {
    ++totals_.lines;
    const Record record = parse_record(line);
    switch (record.kind) {
        case Kind::nonsense:
            if (totals_.nonsense++ == 0) totals_.first_nonsense_line = totals_.lines;
            return;
        case Kind::ornament: return;
        case Kind::date: day_ = record.time_us; return;
        case Kind::enter:
        case Kind::leave:
        case Kind::remark:
        case Kind::started:
        case Kind::stopped: break;
    }
    ++totals_.records;
    Process& process = processes_[record.process];
    if (record.kind == Kind::started) start_process(record, process);
    const int64_t at = place_in_time(record, process);
    totals_.first_us = std::min(totals_.first_us, at);
    totals_.last_us = std::max(totals_.last_us, at);
    Thread& thread = thread_of(record);
    if (record.kind == Kind::enter) {
        enter(thread, record, at);
    } else if (record.kind == Kind::leave) {
        leave(thread, record, at);
    } else if (record.kind == Kind::remark) {
        for (Listener* listener : listeners_) listener->remark(thread, record, {at, totals_.lines});
    } else {
        process.stopped = record.kind == Kind::stopped;
        totals_.dropped += record.dropped;
    }
}

// The number of a process that has died is given to others, in whose calls it has no part.
void CallReader::start_process(const Record& record, Process& process) {
    for (Thread& thread : threads_)
        if (thread.process == record.process) close_lost(thread, 0, process.last_us);
    process = {.day = day_, .last_us = 0, .placed = false, .started = true, .stopped = false};
}

// Lines have no date. Time goes back by a day's length at midnight, and by less when records of two
// threads are out of order or the clock was set.
int64_t CallReader::place_in_time(const Record& record, Process& process) {
    constexpr int64_t most_back = 2 * int64_t{3'600'000'000};
    if (!process.placed) {
        if (!process.started) process.day = day_;
        process.placed = true;
        process.last_us = process.day * us_per_day + record.time_us;
        return process.last_us;
    }
    int64_t at = process.day * us_per_day + record.time_us;
    if (at < process.last_us - most_back) {
        ++process.day;
        at += us_per_day;
    } else if (at - us_per_day >= process.last_us - most_back) {
        // Written before midnight and after a record that came later.
        return at - us_per_day;
    }
    process.last_us = at;
    return at;
}

Thread& CallReader::thread_of(const Record& record) {
    if (last_thread_ && last_thread_->number == record.thread &&
        last_thread_->process == record.process)
        return *last_thread_;
    Thread*& found = by_id_[uint64_t{record.process} << 32 | record.thread];
    if (!found) {
        found = &threads_.emplace_back();
        found->process = record.process;
        found->number = record.thread;
    }
    last_thread_ = found;
    return *found;
}

void CallReader::enter(Thread& thread, const Record& record, int64_t at) {
    // Calls that are as deep have ended, whether or not that was written.
    size_t keep = thread.open;
    while (keep > 0 && thread.stack[keep - 1].depth >= record.depth) --keep;
    close_lost(thread, keep, at);
    if (thread.open == thread.stack.size()) thread.stack.emplace_back();
    Call& call = thread.stack[thread.open++];
    call.name = names_.number(record.function);
    call.layer = layer_of(record.function);
    call.depth = record.depth;
    call.begin_us = at;
    call.inside_us = 0;
    call.line = totals_.lines;
    call.arguments.assign(record.text);
    for (Listener* listener : listeners_) listener->begin(thread, call);
}

void CallReader::leave(Thread& thread, const Record& record, int64_t at) {
    size_t keep = thread.open;
    while (keep > 0 && thread.stack[keep - 1].depth > record.depth) --keep;
    const bool begun = keep > 0 && thread.stack[keep - 1].depth == record.depth &&
                       names_[thread.stack[keep - 1].name] == record.function;
    close_lost(thread, keep, at);
    if (!begun) {
        ++totals_.without_begin;
        return;
    }
    close_top(thread, {at, record.duration_us, record.text});
}

void CallReader::close_top(Thread& thread, const Ending& ending) {
    const Call& call = thread.stack[thread.open - 1];
    for (Listener* listener : listeners_) listener->end(thread, call, ending);
    --thread.open;
    if (thread.open > 0) thread.stack[thread.open - 1].inside_us += ending.duration_us;
}

void CallReader::close_lost(Thread& thread, size_t keep, int64_t at) {
    while (thread.open > keep) {
        ++totals_.without_end;
        const int64_t begin = thread.stack[thread.open - 1].begin_us;
        close_top(thread, {at, std::max<int64_t>(0, at - begin), "no end was written", false});
    }
}

}  // namespace orvex::trace
