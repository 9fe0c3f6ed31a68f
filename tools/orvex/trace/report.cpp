#include "orvex/trace/report.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>

#include "orvex/trace/format.h"

namespace orvex::trace {

namespace {

constexpr size_t lines_of_a_kind = 4;
constexpr size_t in_full = 2000;

void say(const std::string& line) {
    std::fputs((line + '\n').c_str(), stdout);
}

std::string place_text(uint64_t line, int64_t at_us) {
    return "line " + std::to_string(line) + ", " + clock_text(at_us);
}

const char* outcome_text(const Incident& incident) {
    switch (incident.outcome) {
        case Outcome::failed: return "failed";
        case Outcome::overlooked: return "went on";
        case Outcome::unknown:
            return incident.exported.empty() ? "with no calls around it"
                                             : "did not come to its end";
    }
    return "";
}

std::string cause_text(const Step& cause) {
    const std::string function(plain_function(cause.function));
    if (cause.text.empty()) return function.empty() ? "unknown" : function + " failed, no word why";
    return function.empty() ? cause.text : function + ": " + cause.text;
}

std::string times_text(uint64_t count) {
    return count == 1 ? std::string() : ", " + std::to_string(count) + " times";
}

std::string code_text(int64_t code) {
    return code < 0 ? std::string() : " [error " + error_name(code) + ']';
}

size_t print_wrong_errors(const Errors& errors) {
    size_t shown = 0;
    uint64_t hidden = 0;
    for (const IncidentGroup& group : errors.groups()) {
        const Incident& first = group.first;
        if (first.outcome == Outcome::overlooked) continue;
        if (shown == lines_of_a_kind) {
            hidden += group.count;
            continue;
        }
        ++shown;
        const std::string exported(plain_function(first.exported));
        say("  " +
            (exported.empty() ? "an error " : call_text(exported, first.exported_arguments) + ' ') +
            outcome_text(first) + code_text(first.code) + times_text(group.count));
        say("      " + cause_text(first.road.front()) + "  (" +
            place_text(first.line, first.at_us) + ')');
    }
    if (hidden) say("  and " + count_text(hidden, "other") + ": --errors shows all");
    return shown;
}

// Threads that are inside of a call at the end.
size_t print_unended(Names& names, const CallReader& calls) {
    size_t count = 0;
    for (const Thread& thread : calls.threads()) {
        if (thread.open == 0 || ++count > lines_of_a_kind) continue;
        std::string road;
        for (size_t i = thread.open; i-- > 0;) {
            const Call& call = thread.stack[i];
            if (call.layer == Layer::exec) continue;
            road += (road.empty() ? "" : " < ") + std::string(plain_function(names[call.name]));
        }
        const Call& innermost = thread.stack[thread.open - 1];
        say("  a call never ended: thread " + std::to_string(thread.process) + ':' +
            std::to_string(thread.number) + " since " + clock_text(innermost.begin_us) + ", " +
            duration_text(calls.totals().last_us - innermost.begin_us) + " before the last record");
        say("      " + road + "  (line " + std::to_string(innermost.line) + ')');
    }
    if (count > lines_of_a_kind)
        say("  and " + count_text(count - lines_of_a_kind, "other") + " of other threads");
    return count;
}

size_t print_flaws(const CallReader& calls) {
    const Totals& totals = calls.totals();
    size_t count = 0;
    const auto tell = [&](const std::string& what) {
        ++count;
        say("  " + what);
    };
    if (totals.dropped)
        tell("the log dropped " + count_text(totals.dropped, "record") + " when it stopped");
    if (totals.nonsense)
        tell(std::to_string(totals.nonsense) + " of " + count_text(totals.lines, "line") +
             " made no sense and were left out, the first is line " +
             std::to_string(totals.first_nonsense_line));
    if (totals.cut_off) tell("the last line is cut off");
    if (totals.without_begin)
        tell("the beginning is missing of " + count_text(totals.without_begin, "call"));
    if (totals.without_end)
        tell("the end is missing of " + count_text(totals.without_end, "call") +
             " in threads that went on");
    for (const auto& [id, process] : calls.processes())
        if (!process.stopped && count < 2 * lines_of_a_kind)
            tell("process " + std::to_string(id) + " never ended its log" +
                 (process.started ? "" : ", nor began it here"));
    return count;
}

void print_wrong(Names& names, const Analysis& analysis) {
    const Errors& errors = analysis.errors;
    say("Wrong");
    size_t wrong = print_wrong_errors(errors);
    if (errors.removals()) {
        ++wrong;
        say("  the driver told that a camera was removed" + times_text(errors.removals()));
    }
    wrong += print_unended(names, analysis.calls);
    wrong += print_flaws(analysis.calls);
    if (wrong == 0) say("  nothing: no call failed, none is unended, the trace is whole");
    if (const uint64_t overlooked = errors.count(Outcome::overlooked))
        say("  (" + count_text(overlooked, "error") +
            " failed no exported call; --errors shows them)");
}

void print_frame_line(const FrameRun& run) {
    const std::string of =
        run.camera.empty() ? "thread " + std::to_string(run.thread) : "camera " + run.camera;
    std::array<char, 160> text{};
    std::snprintf(text.data(), text.size(),
                  "  %-14s %8" PRIu64 " frames  %8.2f/s  %" PRIu64 " missing", of.c_str(),
                  run.frames, run.rate(), run.missing);
    std::string line = text.data();
    if (!run.longest.empty())
        line += ", interval " + duration_text(run.intervals.percentile(0.5)) + ", longest " +
                duration_text(run.longest.front().us) + " before frame " +
                std::to_string(run.longest.front().frame);
    say(line);
}

void print_frame_summary(const Frames& frames) {
    if (frames.runs().empty()) return;
    say("Frames");
    size_t shown = 0;
    for (const FrameRun& run : frames.runs())
        if (shown++ < lines_of_a_kind) print_frame_line(run);
    const uint64_t hidden = shown - std::min(shown, lines_of_a_kind) + frames.further_runs();
    if (hidden) say("  and " + count_text(hidden, "other run") + ": --frames shows them");
}

void print_exchange_summary(const Exchanges& exchanges) {
    const Exchanges::Sum& sum = exchanges.sum();
    if (sum.count == 0) return;
    say("Messages    " + std::to_string(sum.count) + " to cameras, " +
        (sum.failed ? std::to_string(sum.failed) + " failed, " : "") +
        std::to_string(sum.sent_bytes) + " bytes of data out, " + std::to_string(sum.reply_bytes) +
        " back, " + duration_text(sum.total_us) + "; longest " + duration_text(sum.longest_us) +
        " (" + place_text(sum.longest_line, sum.longest_at_us) + ')');
    if (exchanges.programs())
        say("            " + count_text(exchanges.programs(), "camera program") +
            " loaded; --exchanges shows all of it");
}

void print_time_rows(const std::vector<Profile::Row>& rows) {
    for (const Profile::Row& row : rows) {
        const Times& t = row.times;
        std::printf("  %12s %12s %10" PRIu64 " %12s  %s%s\n", duration_text(t.own_us).c_str(),
                    duration_text(t.total_us).c_str(), t.calls, duration_text(t.longest_us).c_str(),
                    row.function.c_str(),
                    t.failed ? ("  (" + std::to_string(t.failed) + " failed)").c_str() : "");
    }
}

void print_time_heading() {
    std::printf("  %12s %12s %10s %12s  %s\n", "own time", "total", "calls", "longest", "function");
}

}  // namespace

void print_summary(const std::string& path, Names& names, const Analysis& analysis) {
    const Totals& totals = analysis.calls.totals();
    const auto& processes = analysis.calls.processes();
    say(path + ": " + count_text(totals.records, "record") + ", " +
        (processes.size() == 1 ? "1 process" : std::to_string(processes.size()) + " processes") +
        ", " + count_text(analysis.calls.threads().size(), "thread") + "; " +
        stamp_text(totals.first_us) + ", " + duration_text(totals.last_us - totals.first_us));
    print_wrong(names, analysis);
    const Times& exported = analysis.profile.exported();
    if (exported.calls) {
        say("Calls       " + std::to_string(exported.calls) + " of the interface, " +
            std::to_string(exported.failed) + " failed, " + duration_text(exported.total_us) +
            " in them");
        const LockWait& wait = analysis.profile.longest_lock();
        say("Locks       " + duration_text(analysis.profile.lock_us()) + " before them; longest " +
            duration_text(wait.us) + " in " + wait.function + " (" +
            place_text(wait.line, wait.at_us) + ')');
    }
    print_exchange_summary(analysis.exchanges);
    print_frame_summary(analysis.frames);
    const auto rows = analysis.profile.slowest(Profile::Order::own, 5);
    if (rows.empty()) return;
    say("Slowest by their own time");
    print_time_heading();
    print_time_rows(rows);
}

void print_slowest(const Profile& profile, size_t count) {
    say("By own time");
    print_time_heading();
    print_time_rows(profile.slowest(Profile::Order::own, count));
    say("By the time of all that they called, too");
    print_time_heading();
    print_time_rows(profile.slowest(Profile::Order::total, count));
}

void print_errors(const Errors& errors) {
    if (errors.groups().empty()) say("no errors");
    size_t number = 0;
    for (const Outcome outcome : {Outcome::failed, Outcome::unknown, Outcome::overlooked}) {
        for (const IncidentGroup& group : errors.groups()) {
            const Incident& first = group.first;
            if (first.outcome != outcome) continue;
            const std::string exported(plain_function(first.exported));
            say(std::to_string(++number) + ". " +
                (exported.empty() ? "an error"
                                  : call_text(exported, first.exported_arguments, in_full)) +
                ' ' + outcome_text(first) + code_text(first.code) + times_text(group.count));
            say("     cause  " + cause_text(first.road.front()));
            say("            " + place_text(first.line, first.at_us) + ", thread " +
                std::to_string(first.process) + ':' + std::to_string(first.thread));
            for (size_t i = 0; i < first.road.size(); ++i) {
                const Step& step = first.road[i];
                if (step.function.empty() || layer_of(step.function) == Layer::exec) continue;
                const bool ended_here =
                    outcome == Outcome::overlooked && i + 1 == first.road.size();
                say(std::string(i == 0       ? "     in     "
                                : ended_here ? "     until  "
                                             : "     by     ") +
                    call_text(std::string(plain_function(step.function)), step.arguments));
                if (i > 0 && !step.text.empty()) say("              said: " + step.text);
            }
        }
    }
    if (!errors.warnings().empty()) say(count_text(errors.warning_count(), "warning"));
    for (const WarningGroup& group : errors.warnings())
        say("     " + group.function + ": " + group.text + "  (line " + std::to_string(group.line) +
            times_text(group.count) + ')');
}

void print_frames(const Frames& frames) {
    if (frames.runs().empty()) say("no frames: the trace tells of none");
    for (const FrameRun& run : frames.runs()) {
        say("run of process " + std::to_string(run.process) + " from " + clock_text(run.first_us) +
            ", " + duration_text(run.last_us - run.first_us));
        print_frame_line(run);
        const Intervals& intervals = run.intervals;
        if (intervals.count())
            say("  intervals      median " + duration_text(intervals.percentile(0.5)) + ", 95 % " +
                duration_text(intervals.percentile(0.95)) + ", 99 % " +
                duration_text(intervals.percentile(0.99)) + ", longest " +
                duration_text(run.longest.front().us));
        for (const Gap& gap : run.gaps())
            say("  gap            " + duration_text(gap.us) + " before frame " +
                std::to_string(gap.frame) + "  (" + place_text(gap.line, gap.at_us) + ')');
        for (const Gap& gap : run.losses)
            say("  missing        " + count_text(gap.missing, "frame") + " before frame " +
                std::to_string(gap.frame) + "  (" + place_text(gap.line, gap.at_us) + ')');
    }
    if (frames.further_runs()) say("and " + count_text(frames.further_runs(), "further run"));
}

void print_exchange(const Exchange& exchange) {
    say(clock_text(exchange.begin_us) + "  " + exchange.kind + " message to camera " +
        exchange.camera + ", " + duration_text(exchange.duration_us) +
        (exchange.failed ? ", FAILED" : "") + "  (line " + std::to_string(exchange.line) + ')');
    for (const Command& command : exchange.commands) {
        std::string line = "      " + command.name;
        if (command.sent_bytes)
            line += "  > " + command.sent + " (" + std::to_string(command.sent_bytes) + " B)";
        if (command.reply_bytes)
            line += "  < " + command.reply + " (" + std::to_string(command.reply_bytes) + " B)";
        if (!command.status.empty()) line += "  status " + command.status;
        say(line);
    }
}

void print_program(const Program& program) {
    say(clock_text(program.at_us) + "  camera program of " + program.set_up + "  (line " +
        std::to_string(program.line) + ')');
    int depth = 0;
    for (const Operation& operation : program.operations) {
        if (operation.name == "OP_END_DO") --depth;
        std::printf("      %*s%-24s %" PRIu64 "\n", 2 * std::clamp(depth, 0, 20), "",
                    operation.name.c_str(), operation.argument);
        if (operation.name == "OP_DO_LOOP") ++depth;
    }
}

namespace {

void print_node(const Node& node, unsigned level) {
    constexpr size_t name_width = 60;
    std::string line(2 * size_t{level}, ' ');
    line += node.function;
    if (node.count > 1) line += " x" + std::to_string(node.count);
    if (line.size() < name_width) line.resize(name_width, ' ');
    line += ' ' + duration_text(node.total_us);
    if (node.own_us != node.total_us) line += ", own " + duration_text(node.own_us);
    if (node.failed)
        line += node.count == 1 ? "  FAILED" : "  " + std::to_string(node.failed) + " FAILED";
    say("  " + line);
    for (const std::string& trouble : node.troubles)
        say("  " + std::string(2 * size_t{level} + 4, ' ') + trouble);
    for (const std::unique_ptr<Node>& call : node.calls) print_node(*call, level + 1);
}

}  // namespace

void print_tree(const Thread& thread, const Node& node) {
    say(clock_text(node.begin_us) + "  thread " + std::to_string(thread.process) + ':' +
        std::to_string(thread.number) + ", line " + std::to_string(node.line) + "  " +
        call_text(node.function, node.arguments));
    print_node(node, 0);
}

}  // namespace orvex::trace
