#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdarg>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace bv {

// Levels of a record; smaller is more severe.
constexpr int32_t log_error = 0;
constexpr int32_t log_warning = 1;
constexpr int32_t log_info = 2;
constexpr int32_t log_debug = 3;  // all ENTER and RETURN records

// The asynchronous trace: callers format a record and append it to an unbounded queue, a worker
// thread turns records into lines and hands them to the listeners.
class Log {
  public:
    // One record, with all that has to be taken on the creating thread.
    class Entry {
      public:
        Entry(const char* group, int32_t level, uint16_t indent, const std::string& message);
        virtual ~Entry() = default;
        // Makes another record of this one, in the memory that it has.
        void Renew(const char* group, int32_t level, uint16_t indent, const std::string& message);
        // Makes the line.
        virtual void Format();

        std::string text;
        const char* levelText = "?";
        std::string group;
        int32_t level = 0;
        uint32_t processId = 0;
        uint32_t threadId = 0;
        int64_t ticks = 0;
        uint16_t indent = 0;
        std::string message;
    };

    // Called on the worker thread, or on the flushing thread in loader-lock mode. It must not add
    // or remove listeners.
    class IListener {
      public:
        virtual ~IListener() = default;
        virtual void OnLogEntry(const Entry& entry) = 0;
    };

    explicit Log(int32_t level);
    ~Log();
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    bool AddListener(const std::weak_ptr<IListener>& listener);
    bool RemoveListener(const std::weak_ptr<IListener>& listener);
    // Also starts the worker, if there is a listener. Takes no lock.
    bool IsLevelEnabled(int32_t level) {
        if (!hasListeners_.load(std::memory_order_relaxed)) return false;
        if (!workerStarted_.load(std::memory_order_acquire)) StartWorker();
        return Passes(level);
    }
    // Whether the log's own level lets such a record pass, with or without a listener.
    bool Passes(int32_t level) const { return level <= level_; }
    void Write(const char* group, int32_t level, const char* format, ...)
        __attribute__((format(printf, 4, 5)));
    void WriteV(const char* group, int32_t level, const char* format, va_list arguments);
    void WriteText(const char* group, int32_t level, const std::string& message);
    // Ends the worker for good; records left in the queue stay there. When the process has ended it
    // already, it is only let go.
    void End();
    // In a forked child, which has neither the worker nor a right to the file: passes no record any
    // more and can't be told to. Takes no lock.
    void Silence() {
        workerStarted_ = true;
        hasListeners_ = false;
    }
    // Waits for the queue to drain, a second at most; returns the number of records thrown away.
    uint64_t Flush();

    // Depth of the calling thread in this log.
    int32_t GetIndent() const;
    void IncreaseIndent();
    // False when the calling thread's depth is 0 already.
    bool DecreaseIndent();

    // Set while the system is loading or unloading this library. No log starts or wakes its worker
    // then, and a worker that runs takes nothing from the queue: records wait for the end of the
    // phase, or for Flush(), which writes them on the calling thread. When the system has ended all
    // other threads, no lock is waited for: a queue that one of them held stays as it is, and what
    // else is locked was not being changed.
    static std::atomic<bool> loaderLockMode;

  private:
    using Queue = std::deque<std::unique_ptr<Entry>>;
    using Entries = std::vector<std::unique_ptr<Entry>>;

    void StartWorker();
    void WorkerMain();
    std::unique_ptr<Entry> TakeSpare();
    void GiveBack(Entries& written);
    bool Claim();
    void Dispatch(const Entry& entry);
    void DrainOnThisThread(std::unique_lock<std::mutex>& lock);
    void WaitForWorker(std::unique_lock<std::mutex>& lock);

    static constexpr size_t cache_line = 64;

    // What every traced call looks at, apart from what the threads write.
    const int32_t level_;
    const uint64_t id_;
    std::atomic<bool> hasListeners_{false};
    std::atomic<bool> workerStarted_{false};

    alignas(cache_line) std::mutex queueMutex_;
    std::condition_variable queueNotEmpty_;
    Queue queue_;
    Entries spare_;         // written records, for callers to make new ones of
    bool writing_ = false;  // the worker is busy with records that left the queue
    bool stopRequested_ = false;

    // Those among them that it has not begun to write. Whoever takes them out of the count, the
    // worker one at a time or Flush() all at once, decides what becomes of them.
    alignas(cache_line) std::atomic<size_t> inHand_{0};
    std::vector<std::weak_ptr<IListener>> listeners_;
    std::mutex listenersMutex_;
    std::thread worker_;
    std::mutex workerMutex_;
};

// Marks a phase of loading by its own life. Phase 0 sets the loader-lock mode, phase 1 clears it
// unless `initial` is set; destruction sets it.
class LoaderLockGuard {
  public:
    LoaderLockGuard(int32_t phase, uint32_t initial);
    ~LoaderLockGuard();

  private:
    int32_t phase_;
    uint32_t initial_;
};

// The ENTER and RETURN records of one traced call, on the stack of the function.
class LogScope {
  public:
    // `group` and `name` are literals. With a null log nothing happens at all, here or later.
    LogScope(std::shared_ptr<Log> log, const char* group, const char* name)
        : log_(std::move(log)), group_(group), name_(name) {
        if (log_ && log_->Passes(log_debug)) startTime_ = Now();
    }
    ~LogScope() {
        if (log_) Finish();
    }
    LogScope(const LogScope&) = delete;
    LogScope& operator=(const LogScope&) = delete;

    bool IsTraceEnabled() const { return IsLevelEnabled(log_debug); }
    bool IsLevelEnabled(int32_t level) const { return log_ && log_->IsLevelEnabled(level); }
    void Enter(const std::string& arguments);
    // The last one before the end counts.
    void SetResult(std::string result);
    void Line(int32_t level, const char* format, ...) __attribute__((format(printf, 3, 4)));
    void LineV(int32_t level, const char* format, va_list arguments);

  private:
    static int64_t Now();
    void Finish();

    int64_t startTime_ = 0;  // nanoseconds
    std::shared_ptr<bv::Log> log_;
    const char* group_;
    const char* name_;
    bool entered_ = false;
    std::string result_;
};

// The log that the environment asked for when the library was loaded; null without one. A forked
// child has one that is silent, until it initialises the library itself.
const std::shared_ptr<Log>& ProcessLog();

std::string FormatDate(int64_t ticks);
std::string FormatTime(int64_t ticks);
std::string GetSystemErrorText(uint32_t code);
std::string GetLastErrorText();
// A pointer as all traces show it: 0x and 16 upper-case digits.
std::string FormatPointer(const volatile void* pointer);
std::string FormatText(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string FormatTextV(const char* format, va_list arguments);

}  // namespace bv
