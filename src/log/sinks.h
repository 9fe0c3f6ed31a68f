#pragma once

#include <memory>
#include <mutex>

#include "log/log.h"
#include "platform/append_file.h"

namespace bv {

// Base of the sinks: keeps the log that it serves alive. A null log makes a sink that does nothing.
class Logger {
  public:
    explicit Logger(std::shared_ptr<Log> log) : log_(std::move(log)) {}
    virtual ~Logger() = default;
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

  protected:
    const std::shared_ptr<Log> log_;
};

// Errors to the standard error stream, all else to standard output, one plain message a line.
class LoggerConsole : public Logger, public Log::IListener {
  public:
    explicit LoggerConsole(std::shared_ptr<Log> log);
    ~LoggerConsole() override;
    void OnLogEntry(const Log::Entry& entry) override;

  private:
    const std::shared_ptr<Log::IListener> self_;
};

// Appends lines to a file that other processes may append to at the same time. Each line is one
// write of the system and in the file when OnLogEntry() returns. With a file that can't be opened
// the log gets no listener, so that nothing is traced and nobody is disturbed.
class LoggerFile : public Logger, public Log::IListener {
  public:
    LoggerFile(std::shared_ptr<Log> log, const char* file);
    ~LoggerFile() override;
    void OnLogEntry(const Log::Entry& entry) override;

  private:
    void Append(const std::string& text);

    const std::shared_ptr<Log::IListener> self_;
    platform::AppendFile file_;
    std::mutex fileMutex_;  // the worker may still hold a last record when the banner is written
    std::string line_;
};

}  // namespace bv
