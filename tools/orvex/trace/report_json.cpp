#include "orvex/trace/report_json.h"

#include "orvex/trace/format.h"

namespace orvex::trace {

namespace {

using Json = nlohmann::ordered_json;

const char* outcome_word(Outcome outcome) {
    switch (outcome) {
        case Outcome::failed: return "failed";
        case Outcome::overlooked: return "overlooked";
        case Outcome::unknown: return "unknown";
    }
    return "";
}

Json thread_json(uint32_t process, uint32_t thread) {
    return {{"process", process}, {"thread", thread}};
}

Json incident_json(const IncidentGroup& group) {
    const Incident& first = group.first;
    Json road = Json::array();
    for (const Step& step : first.road) {
        Json row = {{"function", step.function}, {"arguments", step.arguments}};
        if (!step.text.empty()) row["text"] = step.text;
        road.push_back(row);
    }
    Json out = {{"outcome", outcome_word(first.outcome)},
                {"count", group.count},
                {"call", std::string(plain_function(first.exported))},
                {"arguments", first.exported_arguments},
                {"cause", first.road.front().text},
                {"cause_function", first.road.front().function},
                {"at", stamp_text(first.at_us)},
                {"line", first.line},
                {"thread", thread_json(first.process, first.thread)},
                {"road", road}};
    if (first.code >= 0) out["error"] = {{"code", first.code}, {"name", error_name(first.code)}};
    return out;
}

Json errors_json(const Errors& errors) {
    Json groups = Json::array(), warnings = Json::array();
    for (const IncidentGroup& group : errors.groups()) groups.push_back(incident_json(group));
    for (const WarningGroup& group : errors.warnings())
        warnings.push_back({{"function", group.function},
                            {"text", group.text},
                            {"count", group.count},
                            {"line", group.line}});
    return {{"failed", errors.count(Outcome::failed)},
            {"overlooked", errors.count(Outcome::overlooked)},
            {"unknown", errors.count(Outcome::unknown)},
            {"groups", groups},
            {"removals_told", errors.removals()},
            {"warnings", warnings}};
}

Json gap_json(const Gap& gap) {
    return {{"us", gap.us},
            {"before_frame", gap.frame},
            {"missing", gap.missing},
            {"after", stamp_text(gap.at_us)},
            {"line", gap.line}};
}

Json frames_json(const Frames& frames) {
    Json runs = Json::array();
    for (const FrameRun& run : frames.runs()) {
        Json gaps = Json::array(), losses = Json::array();
        for (const Gap& gap : run.gaps()) gaps.push_back(gap_json(gap));
        for (const Gap& gap : run.losses) losses.push_back(gap_json(gap));
        Json row = {{"process", run.process},
                    {"thread", run.thread},
                    {"frames", run.frames},
                    {"missing", run.missing},
                    {"first", stamp_text(run.first_us)},
                    {"last", stamp_text(run.last_us)},
                    {"frames_per_second", run.rate()},
                    {"interval_us",
                     {{"median", run.intervals.percentile(0.5)},
                      {"p95", run.intervals.percentile(0.95)},
                      {"p99", run.intervals.percentile(0.99)},
                      {"longest", run.longest.empty() ? 0 : run.longest.front().us}}},
                    {"gaps", gaps},
                    {"losses", losses}};
        if (!run.camera.empty()) row["camera"] = run.camera;
        runs.push_back(row);
    }
    return {{"runs", runs}, {"further_runs", frames.further_runs()}};
}

Json unended_json(Names& names, const CallReader& calls) {
    Json out = Json::array();
    for (const Thread& thread : calls.threads()) {
        if (thread.open == 0) continue;
        Json inside = Json::array();
        for (const Call& call : thread.calls())
            inside.push_back({{"function", names[call.name]},
                              {"arguments", call.arguments},
                              {"since", stamp_text(call.begin_us)},
                              {"line", call.line}});
        out.push_back({{"thread", thread_json(thread.process, thread.number)}, {"calls", inside}});
    }
    return out;
}

Json trace_json(const CallReader& calls) {
    const Totals& totals = calls.totals();
    Json processes = Json::array();
    for (const auto& [id, process] : calls.processes())
        processes.push_back(
            {{"process", id}, {"started", process.started}, {"stopped", process.stopped}});
    return {{"lines", totals.lines},
            {"records", totals.records},
            {"senseless_lines", totals.nonsense},
            {"cut_off", totals.cut_off},
            {"dropped", totals.dropped},
            {"calls_without_begin", totals.without_begin},
            {"calls_without_end", totals.without_end},
            {"first", stamp_text(totals.first_us)},
            {"last", stamp_text(totals.last_us)},
            {"processes", processes},
            {"threads", calls.threads().size()}};
}

Json exchanges_json(const Exchanges& exchanges) {
    const Exchanges::Sum& sum = exchanges.sum();
    return {{"count", sum.count},
            {"failed", sum.failed},
            {"sent_bytes", sum.sent_bytes},
            {"reply_bytes", sum.reply_bytes},
            {"total_us", sum.total_us},
            {"longest_us", sum.longest_us},
            {"longest_line", sum.longest_line},
            {"programs", exchanges.programs()},
            {"commands", exchanges.command_counts()}};
}

Json rows_json(const std::vector<Profile::Row>& rows) {
    Json out = Json::array();
    for (const Profile::Row& row : rows)
        out.push_back({{"function", row.function},
                       {"calls", row.times.calls},
                       {"failed", row.times.failed},
                       {"own_us", row.times.own_us},
                       {"total_us", row.times.total_us},
                       {"longest_us", row.times.longest_us},
                       {"longest_line", row.times.longest_line}});
    return out;
}

Json node_json(const Node& node) {
    Json calls = Json::array();
    for (const std::unique_ptr<Node>& call : node.calls) calls.push_back(node_json(*call));
    Json out = {{"function", node.function}, {"arguments", node.arguments},
                {"result", node.result},     {"begin", stamp_text(node.begin_us)},
                {"line", node.line},         {"count", node.count},
                {"failed", node.failed},     {"total_us", node.total_us},
                {"own_us", node.own_us}};
    if (!node.troubles.empty()) out["troubles"] = node.troubles;
    if (!calls.empty()) out["calls"] = calls;
    return out;
}

}  // namespace

nlohmann::ordered_json summary_json(Names& names, const Analysis& analysis) {
    const Times& exported = analysis.profile.exported();
    const LockWait& wait = analysis.profile.longest_lock();
    return {
        {"trace", trace_json(analysis.calls)},
        {"errors", errors_json(analysis.errors)},
        {"unended", unended_json(names, analysis.calls)},
        {"exported_calls",
         {{"count", exported.calls}, {"failed", exported.failed}, {"total_us", exported.total_us}}},
        {"locks",
         {{"total_us", analysis.profile.lock_us()},
          {"longest_us", wait.us},
          {"longest_in", wait.function},
          {"longest_line", wait.line}}},
        {"exchanges", exchanges_json(analysis.exchanges)},
        {"frames", frames_json(analysis.frames)}};
}

nlohmann::ordered_json slowest_json(const Profile& profile, size_t count) {
    return {{"by_own_time", rows_json(profile.slowest(Profile::Order::own, count))},
            {"by_total_time", rows_json(profile.slowest(Profile::Order::total, count))}};
}

nlohmann::ordered_json exchange_json(const Exchange& exchange) {
    Json commands = Json::array();
    for (const Command& command : exchange.commands) {
        Json row = {{"command", command.name}, {"id", command.id}};
        if (command.sent_bytes)
            row["sent"] = {{"bytes", command.sent_bytes}, {"value", command.sent}};
        if (command.reply_bytes)
            row["reply"] = {{"bytes", command.reply_bytes}, {"value", command.reply}};
        if (!command.status.empty()) row["status"] = command.status;
        commands.push_back(row);
    }
    return {{"at", stamp_text(exchange.begin_us)},
            {"line", exchange.line},
            {"thread", thread_json(exchange.process, exchange.thread)},
            {"camera", exchange.camera},
            {"kind", exchange.kind},
            {"us", exchange.duration_us},
            {"failed", exchange.failed},
            {"commands", commands}};
}

nlohmann::ordered_json program_json(const Program& program) {
    Json operations = Json::array();
    for (const Operation& operation : program.operations)
        operations.push_back({{"operation", operation.name},
                              {"code", operation.code},
                              {"argument", operation.argument}});
    return {{"at", stamp_text(program.at_us)},
            {"line", program.line},
            {"set_up", program.set_up},
            {"operations", operations}};
}

nlohmann::ordered_json tree_json(const Thread& thread, const Node& node) {
    Json out = node_json(node);
    out["thread"] = thread_json(thread.process, thread.number);
    return out;
}

}  // namespace orvex::trace
