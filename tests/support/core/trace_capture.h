#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "log/log.h"
#include "log/setup.h"
#include "state/api_global.h"

namespace support {

// Gives the process a log when the environment asked for none; it stays for the rest of the
// process, since threads of the library may be using it.
inline std::shared_ptr<bv::Log> LogForTests() {
    struct Keeper {
        Keeper() { bv::SetProcessLog(std::make_shared<bv::Log>(bv::log_debug)); }
        ~Keeper() { bv::SetProcessLog(nullptr); }
    };
    if (!bv::ProcessLog()) {
        static Keeper keeper;
    }
    return bv::ProcessLog();
}

// The code that a refused call left; -1 for a call that succeeded.
inline int ErrorOf(boolean16 result) {
    return result != 0 ? -1 : bv::ApiGlobal::GetErrorCode();
}

// Collects what the library traces while this object lives. Messages are "function: text", without
// time, thread and indentation; the time behind RETURN is cut off. Make it before a camera is
// opened: the threads of open cameras trace too.
class TraceCapture {
  public:
    TraceCapture() : log_(LogForTests()) { log_->AddListener(Listening()); }
    ~TraceCapture() { log_->RemoveListener(Listening()); }
    TraceCapture(const TraceCapture&) = delete;
    TraceCapture& operator=(const TraceCapture&) = delete;

    // Everything so far, or what has one level.
    std::vector<std::string> messages(std::optional<int32_t> level = std::nullopt) {
        synchronise();
        std::lock_guard<std::mutex> lock(listener_->mutex);
        std::vector<std::string> found;
        for (const Record& record : listener_->records)
            if (!level || record.level == *level) found.push_back(record.message);
        return found;
    }

    bool contains(std::string_view message) {
        std::vector<std::string> all = messages();
        return std::find(all.begin(), all.end(), message) != all.end();
    }

    void clear() {
        synchronise();
        std::lock_guard<std::mutex> lock(listener_->mutex);
        listener_->records.clear();
    }

    // The last error line has this text behind its function, and the process this error code.
    testing::AssertionResult failed_with(int16 code, std::string_view text) {
        std::vector<std::string> errors = messages(bv::log_error);
        if (errors.empty()) return testing::AssertionFailure() << "no error was logged";
        const std::string& last = errors.back();
        size_t at = last.find(": ");
        if (at == std::string::npos || last.substr(at + 2) != text)
            return testing::AssertionFailure() << "the last error is \"" << last << '"';
        if (bv::ApiGlobal::GetErrorCode() != code)
            return testing::AssertionFailure()
                   << "the error code is " << bv::ApiGlobal::GetErrorCode();
        return testing::AssertionSuccess();
    }

    // The call failed, and this is what it said.
    testing::AssertionResult refused(boolean16 result, int16 code, std::string_view text) {
        if (result != 0) return testing::AssertionFailure() << "the call succeeded";
        return failed_with(code, text);
    }

    // "function: text"; empty when there was none.
    std::string last_error() {
        std::vector<std::string> errors = messages(bv::log_error);
        return errors.empty() ? std::string() : errors.back();
    }

  private:
    struct Record {
        int32_t level;
        std::string message;
    };

    struct Listener : bv::Log::IListener {
        void OnLogEntry(const bv::Log::Entry& entry) override {
            std::lock_guard<std::mutex> lock(mutex);
            if (entry.group == marker_group) {
                ++markers;
                arrived.notify_all();
                return;
            }
            std::string message = entry.message;
            size_t time = message.rfind(") [");
            if (message.find(": RETURN (") != std::string::npos && time != std::string::npos)
                message.resize(time + 1);
            records.push_back({entry.level, std::move(message)});
        }
        std::mutex mutex;
        std::condition_variable arrived;
        std::vector<Record> records;
        size_t markers = 0;
    };

    std::weak_ptr<bv::Log::IListener> Listening() const { return listener_; }

    // Records arrive in order, so everything before a marker has been heard once it is.
    void synchronise() {
        log_->WriteText(marker_group, bv::log_error, "marker");
        ++expected_markers_;
        std::unique_lock<std::mutex> lock(listener_->mutex);
        if (!listener_->arrived.wait_for(lock, std::chrono::seconds(10), [this] {
                return listener_->markers >= expected_markers_;
            }))
            ADD_FAILURE() << "the log stands still";
    }

    static constexpr const char* marker_group = "TRACE-CAPTURE";
    std::shared_ptr<bv::Log> log_;
    std::shared_ptr<Listener> listener_ = std::make_shared<Listener>();
    size_t expected_markers_ = 0;
};

}  // namespace support
