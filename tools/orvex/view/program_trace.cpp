#include "orvex/view/program_trace.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <poll.h>
#include <unistd.h>

namespace orvex::view {

namespace {

constexpr std::string_view entry_layer = "bv::ApiEntryLayer::";

// Of a line "[time group process:thread level] record": the level, and the record with its blanks.
struct Line {
    char level = 0;
    std::string_view record;
};

Line split(std::string_view line) {
    const size_t close = line.find("] ");
    if (line.empty() || line[0] != '[' || close == std::string_view::npos || close < 2) return {};
    return {line[close - 1], line.substr(close + 2)};
}

// Calls that a run repeats for every frame, and a parameter list for every parameter.
bool is_routine(std::string_view record) {
    constexpr std::string_view words[] = {"_oldest_frame", "check_status",   "check_cont_status",
                                          "get_param",     "get_enum_param", "error_code",
                                          "error_message"};
    return std::any_of(std::begin(words), std::end(words), [&](std::string_view word) {
        return record.find(word) != std::string_view::npos;
    });
}

uint64_t number_behind(std::string_view text, std::string_view key) {
    uint64_t value = 0;
    const size_t at = text.find(key);
    if (at == std::string_view::npos) return 0;
    std::from_chars(text.data() + at + key.size(), text.data() + text.size(), value);
    return value;
}

}  // namespace

ProgramTrace::~ProgramTrace() {
    ended_ = true;
    if (thread_.joinable()) thread_.join();
}

void ProgramTrace::follow(int pipe) {
    thread_ = std::thread([this, pipe] { read(pipe); });
}

void ProgramTrace::read(int pipe) {
    std::string waiting;
    char buffer[1 << 16];
    // The library keeps its end for as long as it is loaded.
    while (!ended_) {
        constexpr int patience_ms = 200;
        pollfd one{.fd = pipe, .events = POLLIN, .revents = 0};
        if (poll(&one, 1, patience_ms) <= 0) continue;
        const ssize_t count = ::read(pipe, buffer, sizeof buffer);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        waiting.append(buffer, static_cast<size_t>(count));
        size_t begin = 0;
        for (size_t end; (end = waiting.find('\n', begin)) != std::string::npos; begin = end + 1) {
            take_line(std::string_view(waiting).substr(begin, end - begin));
        }
        waiting.erase(0, begin);
    }
    close(pipe);
}

void ProgramTrace::take_line(std::string_view line) {
    const Line parts = split(line);
    std::string_view record = parts.record;
    const size_t depth = record.find_first_not_of(' ');
    if (depth == std::string_view::npos) return;
    record.remove_prefix(depth);
    if (parts.level == 'D') {
        const size_t operation = record.find("script_load_op: ENTER (op=");
        if (operation != std::string_view::npos) {
            const std::string_view rest = record.substr(record.find("op=") + 3);
            loading_.push_back(
                {std::string(rest.substr(0, rest.find('('))), number_behind(rest, "arg=")});
            return;
        }
        // The calls of the application, with what came of them.
        if (depth != 0 || !record.starts_with(entry_layer)) return;
        record.remove_prefix(entry_layer.size());
        if (record.find(": RETURN") == std::string_view::npos || is_routine(record)) return;
        // A set-up equal to the last one loads nothing.
        if (record.starts_with("ox_exp_setup") && !loading_.empty()) {
            const std::lock_guard hold(lock_);
            operations_ = std::move(loading_);
            loading_.clear();
            ++revision_;
        }
    } else if (is_routine(record)) {
        return;
    }
    const Weight weight = parts.level == 'E'   ? Weight::error
                          : parts.level == 'W' ? Weight::warning
                                               : Weight::notice;
    log_.add(weight, "library", std::string(record));
}

nlohmann::json ProgramTrace::program() const {
    const std::lock_guard hold(lock_);
    nlohmann::json rows = nlohmann::json::array();
    int depth = 0;
    for (const Operation& operation : operations_) {
        if (operation.name == "OP_END_DO") depth = std::max(depth - 1, 0);
        rows.push_back(
            {{"operation", operation.name}, {"argument", operation.argument}, {"depth", depth}});
        if (operation.name == "OP_DO_LOOP") ++depth;
    }
    return {{"traced", traced()}, {"operations", rows}};
}

uint64_t ProgramTrace::revision() const {
    const std::lock_guard hold(lock_);
    return revision_;
}

}  // namespace orvex::view
