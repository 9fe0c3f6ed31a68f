#include "orvex/view/program_trace.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <unistd.h>

namespace orvex::view {

namespace {

// Calls that a run repeats for every frame, and a parameter list for every parameter.
bool is_routine(std::string_view function) {
    constexpr std::string_view words[] = {"_oldest_frame", "check_status",   "check_cont_status",
                                          "get_param",     "get_enum_param", "error_code",
                                          "error_message"};
    return std::any_of(std::begin(words), std::end(words), [&](std::string_view word) {
        return function.find(word) != std::string_view::npos;
    });
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
    const trace::Record record = trace::parse_record(line);
    if (record.kind == trace::Kind::enter && trace::loads_operation(record.function)) {
        loading_.push_back(trace::read_operation(record.function, record.text));
        return;
    }
    if (is_routine(record.function)) return;
    const std::string name(trace::plain_function(record.function));
    if (record.kind == trace::Kind::remark && (record.level == 'E' || record.level == 'W')) {
        log_.add(record.level == 'E' ? Weight::error : Weight::warning, "library",
                 name + ": " + std::string(record.text));
        return;
    }
    // The calls of the application, with what came of them.
    if (record.kind != trace::Kind::leave || record.depth != 0 ||
        trace::layer_of(record.function) != trace::Layer::entry) {
        return;
    }
    // A set-up equal to the last one loads nothing.
    if (name.starts_with("ox_exp_setup") && !loading_.empty()) {
        const std::lock_guard hold(lock_);
        operations_ = std::move(loading_);
        loading_.clear();
        ++revision_;
    }
    log_.add(
        Weight::notice, "library",
        name + ": " + std::string(record.text) + " [" + std::to_string(record.duration_us) + "us]");
}

nlohmann::json ProgramTrace::program() const {
    const std::lock_guard hold(lock_);
    nlohmann::json rows = nlohmann::json::array();
    int depth = 0;
    for (const trace::Operation& operation : operations_) {
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
