#include "log/sinks.h"

#include <cstdio>

#include "platform/library_life.h"
#include "platform/system.h"

namespace bv {

namespace {

constexpr const char* banner_rule =
    "[==============================================================]";

// For weak references to a sink that somebody else owns.
std::shared_ptr<Log::IListener> SelfOwner(Log::IListener* sink) {
    return {sink, [](Log::IListener*) {}};
}

std::string ProcessText(const char* event) {
    return FormatText("Logging %s, PID %u", event, platform::ProcessId());
}

std::string StoppedText(uint64_t dropped) {
    std::string text = ProcessText("stopped");
    if (dropped != 0) text += ", dropped " + std::to_string(dropped) + " messages";
    return text;
}

Log::Entry BannerEntry(const std::string& message) {
    Log::Entry entry("***", log_info, 0, message);
    entry.Format();
    return entry;
}

void Print(std::FILE* stream, const std::string& line) {
    const platform::NoWriteSignals quiet;
    std::fwrite(line.data(), 1, line.size(), stream);
    std::fflush(stream);
}

}  // namespace

LoggerConsole::LoggerConsole(std::shared_ptr<Log> log)
    : Logger(std::move(log)), self_(SelfOwner(this)) {
    if (!log_) return;
    log_->AddListener(self_);
    Print(stdout, ProcessText("started") + "\n");
}

LoggerConsole::~LoggerConsole() {
    if (!log_) return;
    const uint64_t dropped = log_->Flush();
    if (dropped != 0) {
        Print(stderr, "[E] " + StoppedText(dropped) + "\n");
    } else {
        Print(stdout, "[I] " + StoppedText(dropped) + "\n");
    }
    log_->RemoveListener(self_);
}

void LoggerConsole::OnLogEntry(const Log::Entry& entry) {
    std::string line = "[";
    line.append(entry.levelText).append("] ").append(entry.message).append("\n");
    Print(entry.level == log_error ? stderr : stdout, line);
}

LoggerFile::LoggerFile(std::shared_ptr<Log> log, const char* file)
    : Logger(std::move(log)), self_(SelfOwner(this)) {
    if (!log_ || !file || !*file) return;
    if (!file_.Open(file)) return;
    if (!log_->AddListener(self_)) {
        file_.Close();
        return;
    }
    const Log::Entry entry = BannerEntry(ProcessText("started"));
    Append(std::string(banner_rule) + "\n[Current date: " + FormatDate(entry.ticks) + "]\n" +
           entry.text + "\n");
}

LoggerFile::~LoggerFile() {
    if (!log_) return;
    const uint64_t dropped = log_->Flush();
    const Log::Entry entry = BannerEntry(StoppedText(dropped));
    Append(entry.text + "\n" + banner_rule + "\n\n");
    log_->RemoveListener(self_);
    file_.Close();
}

void LoggerFile::OnLogEntry(const Log::Entry& entry) {
    const auto lock = platform::LockUnlessDead(fileMutex_);
    if (!lock) return file_.Append(entry.text + '\n');  // the worker died with line_ in its hands
    line_.assign(entry.text).push_back('\n');
    file_.Append(line_);
}

void LoggerFile::Append(const std::string& text) {
    const auto lock = platform::LockUnlessDead(fileMutex_);
    if (file_.IsOpen()) file_.Append(text);
}

}  // namespace bv
