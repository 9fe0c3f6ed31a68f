#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "log/log.h"
#include "log/setup.h"

namespace tests {

constexpr auto wait_limit = std::chrono::seconds(20);

// Keeps all records that a log dispatches.
class Collector : public bv::Log::IListener {
  public:
    void OnLogEntry(const bv::Log::Entry& entry) override {
        {
            std::lock_guard lock(mutex_);
            entries_.push_back(entry);
        }
        arrived_.notify_all();
    }

    bool WaitFor(size_t count) {
        std::unique_lock lock(mutex_);
        return arrived_.wait_for(lock, wait_limit, [&] { return entries_.size() >= count; });
    }

    std::vector<bv::Log::Entry> Entries() {
        std::lock_guard lock(mutex_);
        return entries_;
    }

    std::vector<std::string> Messages() {
        std::lock_guard lock(mutex_);
        std::vector<std::string> messages;
        for (const auto& entry : entries_) messages.push_back(entry.message);
        return messages;
    }

  private:
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::vector<bv::Log::Entry> entries_;
};

// The trace of what the test calls, without a worker thread: records wait in the queue until they
// are asked for.
class Trace {
  public:
    explicit Trace(int32_t level = bv::log_debug) : log_(std::make_shared<bv::Log>(level)) {
        bv::Log::loaderLockMode = true;
        log_->AddListener(collector_);
        bv::SetProcessLog(log_);
    }
    ~Trace() {
        bv::SetProcessLog(nullptr);
        bv::Log::loaderLockMode = false;
    }

    const std::shared_ptr<bv::Log>& log() const { return log_; }

    std::vector<bv::Log::Entry> Entries() {
        log_->Flush();
        return collector_->Entries();
    }

    // "L message", indented by depth, with the duration cut off.
    std::vector<std::string> Lines() {
        std::vector<std::string> lines;
        for (const auto& entry : Entries()) {
            std::string line = entry.levelText;
            line += " " + std::string(2u * entry.indent, ' ') + entry.message;
            const size_t duration = line.rfind(" [");
            if (duration != std::string::npos && line.ends_with("us]")) line.resize(duration);
            lines.push_back(line);
        }
        return lines;
    }

  private:
    std::shared_ptr<bv::Log> log_;
    std::shared_ptr<Collector> collector_ = std::make_shared<Collector>();
};

}  // namespace tests
