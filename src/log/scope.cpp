#include "log/log.h"
#include "platform/system.h"

namespace bv {

// Seconds and remainder apart, so that the scaling doesn't overflow.
int64_t LogScope::Now() {
    constexpr int64_t ns_per_second = 1'000'000'000;
    const int64_t counter = platform::PerformanceCounter();
    const int64_t frequency = platform::PerformanceFrequency();
    if (frequency == ns_per_second) return counter;
    return counter / frequency * ns_per_second + counter % frequency * ns_per_second / frequency;
}

void LogScope::Enter(const std::string& arguments) {
    if (!log_ || entered_) return;
    entered_ = true;
    std::string record;
    record.reserve(arguments.size() + 64);
    record.append(name_).append(": ENTER (").append(arguments).append(")");
    log_->WriteText(group_, log_debug, record);
    log_->IncreaseIndent();
}

void LogScope::SetResult(std::string result) {
    result_ = std::move(result);
}

void LogScope::Line(int32_t level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    LineV(level, format, arguments);
    va_end(arguments);
}

void LogScope::LineV(int32_t level, const char* format, va_list arguments) {
    if (!IsLevelEnabled(level)) return;
    std::string record = name_;
    record.append(": ").append(FormatTextV(format, arguments));
    log_->WriteText(group_, level, record);
}

void LogScope::Finish() {
    if (!log_->IsLevelEnabled(log_debug)) return;
    if (!log_->DecreaseIndent()) {
        log_->WriteText(group_, log_error, std::string(name_) + ": Log indentation is incorrect");
    }
    const int64_t microseconds = (Now() - startTime_) / 1000;
    std::string record;
    record.reserve(result_.size() + 128);
    record.append(name_).append(": RETURN (").append(result_).append(") [");
    record.append(std::to_string(microseconds)).append("us]");
    log_->WriteText(group_, log_debug, record);
}

}  // namespace bv
