#pragma once

#include <memory>

#include "log/log.h"
#include "log/sinks.h"

namespace bv {

// Owner of a log and of what listens to it.
class LogSetup {
  public:
    // Only the first letter of `level` counts: E, W, I in either case, anything else is all. With a
    // null level there is no log.
    explicit LogSetup(const char* level);
    virtual ~LogSetup() = default;
    LogSetup(const LogSetup&) = delete;
    LogSetup& operator=(const LogSetup&) = delete;

    std::shared_ptr<Log> GetLog() const { return log_; }
    bool HasLog() const { return log_ != nullptr; }
    bool HasNoLog() const { return log_ == nullptr; }

  protected:
    std::shared_ptr<Log> log_;
};

// A log into a file; without a file name there is no log at all.
class LogSetupFile : public LogSetup {
  public:
    LogSetupFile(const char* file, const char* level);

  private:
    std::shared_ptr<LoggerFile> logger_;
};

// What ORVEX_CORE_LOG_FILE and ORVEX_CORE_LOG_LEVEL ask for.
std::unique_ptr<LogSetup> CreateProcessLogSetup();

// Holds the process log from load to unload of the library: ProcessLog() gives its log, which
// passes no record once this is gone. It has to be constructed and destroyed in loader-lock mode.
class ProcessLogOwner {
  public:
    ProcessLogOwner();
    ~ProcessLogOwner();
    ProcessLogOwner(const ProcessLogOwner&) = delete;
    ProcessLogOwner& operator=(const ProcessLogOwner&) = delete;
    // In a forked child: a log of its own, as the environment now asks for it. Traced calls may run
    // meanwhile.
    void StartAnew();

  private:
    std::unique_ptr<LogSetup> setup_;
    uint32_t processId_;
};

// Makes `log` the answer of ProcessLog(). No traced call may run at the same time.
void SetProcessLog(std::shared_ptr<Log> log);

}  // namespace bv
