#include "log/setup.h"

#include <new>

#include "log/never_destroyed.h"
#include "platform/environment.h"
#include "platform/fork.h"
#include "platform/module.h"
#include "platform/system.h"

namespace bv {

namespace {

// Traced calls may be copying the log of the process while a forked child puts its own in front.
struct ProcessLogEntry {
    std::shared_ptr<Log> log;
    const ProcessLogEntry* parents = nullptr;
};

constinit NeverDestroyed<ProcessLogEntry> first_entry;
constinit std::atomic<ProcessLogEntry*> process_log{&first_entry.value};

const platform::ForkHandler silence([] {
    if (Log* log = process_log.load()->log.get()) log->Silence();
});

int32_t ParseLevel(const char* level) {
    switch (*level) {
        case 'E':
        case 'e': return log_error;
        case 'W':
        case 'w': return log_warning;
        case 'I':
        case 'i': return log_info;
        default: return log_debug;
    }
}

}  // namespace

LogSetup::LogSetup(const char* level) {
    if (level) log_ = std::make_shared<Log>(ParseLevel(level));
}

LogSetupFile::LogSetupFile(const char* file, const char* level) : LogSetup(nullptr) {
    if (!file || !*file) return;
    log_ = std::make_shared<Log>(ParseLevel(level ? level : "D"));
    logger_ = std::make_shared<LoggerFile>(log_, file);
}

std::unique_ptr<LogSetup> CreateProcessLogSetup() {
    const std::string level = platform::EnvironmentVariable("ORVEX_CORE_LOG_LEVEL").value_or("");
    const std::string file =
        platform::TrustedEnvironmentVariable("ORVEX_CORE_LOG_FILE").value_or("");
    const std::string path = platform::FullPath(file);
    return std::unique_ptr<LogSetup>(new (std::nothrow) LogSetupFile(path.c_str(), level.c_str()));
}

ProcessLogOwner::ProcessLogOwner()
    : setup_(CreateProcessLogSetup()), processId_(platform::ProcessId()) {
    if (setup_) SetProcessLog(setup_->GetLog());
}

ProcessLogOwner::~ProcessLogOwner() {
    // A forked child has the parent's log but not its worker, which can't be joined there.
    if (platform::ProcessId() != processId_) {
        // NOLINTNEXTLINE(bugprone-unused-return-value)
        static_cast<void>(setup_.release());
        return;
    }
    // Threads of cameras that nobody closed may be tracing at this moment, so ProcessLog() keeps
    // its answer; without a sink the log is deaf to them.
    const std::shared_ptr<Log> log = setup_ ? setup_->GetLog() : nullptr;
    setup_.reset();
    if (log) log->End();
}

void ProcessLogOwner::StartAnew() {
    // NOLINTNEXTLINE(bugprone-unused-return-value)
    static_cast<void>(setup_.release());
    setup_ = CreateProcessLogSetup();
    processId_ = platform::ProcessId();
    process_log = new ProcessLogEntry{setup_ ? setup_->GetLog() : nullptr, process_log.load()};
}

void SetProcessLog(std::shared_ptr<Log> log) {
    process_log.load()->log = std::move(log);
}

const std::shared_ptr<Log>& ProcessLog() {
    return process_log.load(std::memory_order_acquire)->log;
}

}  // namespace bv
