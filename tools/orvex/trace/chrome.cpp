#include "orvex/trace/chrome.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace orvex::trace {

namespace {

// As a JSON string; bytes that are no text become marks.
std::string quoted(std::string_view text) {
    return nlohmann::json(std::string(text))
        .dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace

Chrome::Chrome(Names& names, const std::string& path)
    : names_(names), path_(path), file_(path, std::ios::binary | std::ios::trunc) {
    if (!file_) throw std::runtime_error("cannot write '" + path + "'");
    file_ << "{\"displayTimeUnit\":\"ms\",\"traceEvents\":[";
}

std::ofstream& Chrome::next() {
    file_ << (first_ ? "\n" : ",\n");
    first_ = false;
    return file_;
}

void Chrome::put_place(char phase, const Thread& thread, int64_t at_us, const std::string& name) {
    next() << R"({"ph":")" << phase << R"(","pid":)" << thread.process << R"(,"tid":)"
           << thread.number << R"(,"ts":)" << at_us << R"(,"name":)" << quoted(name);
}

// The times are those of the records, so that what is inside lies inside.
void Chrome::end(const Thread& thread, const Call& call, const Ending& ending) {
    put_place('X', thread, call.begin_us, names_[call.name]);
    file_ << R"(,"dur":)" << std::max<int64_t>(0, ending.at_us - call.begin_us);
    if (ending.failed()) file_ << R"(,"cname":"terrible")";
    file_ << R"(,"args":{"arguments":)" << quoted(call.arguments) << R"(,"result":)"
          << quoted(ending.result) << R"(,"line":)" << call.line << "}}";
}

void Chrome::remark(const Thread& thread, const Record& record, Moment moment) {
    if (record.level != 'E' && record.level != 'W') return;
    const char* kind = record.level == 'E' ? "error: " : "warning: ";
    put_place('i', thread, moment.at_us, kind + std::string(record.text));
    file_ << R"(,"s":"t","args":{"function":)" << quoted(record.function) << R"(,"line":)"
          << moment.line << "}}";
}

void Chrome::finish(const CallReader& calls) {
    for (const Thread& thread : calls.threads()) {
        for (const Call& call : thread.calls()) {
            put_place('B', thread, call.begin_us, names_[call.name]);
            file_ << R"(,"args":{"arguments":)" << quoted(call.arguments) << "}}";
        }
        put_place('M', thread, 0, "thread_name");
        const std::string name =
            (thread.number == thread.process ? "main " : "thread ") + std::to_string(thread.number);
        file_ << R"(,"args":{"name":)" << quoted(name) << "}}";
    }
    file_ << "\n]}\n";
    file_.close();
    if (!file_) throw std::runtime_error("cannot write '" + path_ + "'");
}

}  // namespace orvex::trace
