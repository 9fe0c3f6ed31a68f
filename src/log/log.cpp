#include "log/log.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <new>
#include <system_error>

#include "platform/append_file.h"
#include "platform/library_life.h"
#include "platform/module.h"
#include "platform/system.h"

namespace bv {

constinit std::atomic<bool> Log::loaderLockMode{false};

namespace {

constexpr int64_t drain_limit_ns = 1'000'000'000'000;
constexpr int flush_rounds = 10;
constexpr uint32_t flush_round_ms = 100;
constexpr int in_flight_rounds = 1000;
// Records that the worker takes at once: callers need the lock of the queue for every record.
constexpr size_t records_at_once = 64;
// Memory kept for new records: this many of at most this length each.
constexpr size_t spare_max = 512;
constexpr size_t spare_length_max = 1024;
constexpr int lock_attempts = 100;

int64_t NanosecondsSince(int64_t counter) {
    const int64_t steps = platform::PerformanceCounter() - counter;
    const int64_t frequency = platform::PerformanceFrequency();
    return steps / frequency * 1'000'000'000 + steps % frequency * 1'000'000'000 / frequency;
}

// For a lock that is held so briefly that sleeping until it is free, and being woken by who held
// it, would cost both more than trying a few times. False when a dead thread holds it.
bool TakeBriefLock(std::unique_lock<std::mutex>& lock) {
    for (int i = 0; i < lock_attempts; ++i)
        if (lock.try_lock()) return true;
    lock = platform::LockUnlessDead(*lock.mutex());
    return lock.owns_lock();
}

bool SameListener(const std::weak_ptr<Log::IListener>& a, const std::weak_ptr<Log::IListener>& b) {
    return !a.owner_before(b) && !b.owner_before(a);
}

// Depths of one thread in the logs that it writes to. Trivially destructible, so that it serves
// until the last moment of a thread.
struct Depth {
    uint64_t log;
    int32_t depth;
};
constexpr size_t depths_per_thread = 8;
thread_local std::array<Depth, depths_per_thread> thread_depths{};

int32_t& DepthIn(uint64_t log) {
    Depth* reusable = &thread_depths.back();
    for (Depth& slot : thread_depths) {
        if (slot.log == log) return slot.depth;
        if (slot.depth == 0) reusable = &slot;
    }
    *reusable = {log, 0};
    return reusable->depth;
}

uint64_t NextLogId() {
    static std::atomic<uint64_t> last{0};
    return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

}  // namespace

Log::Log(int32_t level) : level_(level), id_(NextLogId()) {}

Log::~Log() {
    End();
}

void Log::End() {
    if (platform::OtherThreadsAreDead()) {
        if (worker_.joinable()) worker_.detach();
        return;
    }
    {
        std::lock_guard lock(queueMutex_);
        stopRequested_ = true;
        inHand_ = 0;
    }
    // Also while the library is being unloaded: the worker is alive then, or was never there.
    queueNotEmpty_.notify_all();
    if (worker_.joinable()) worker_.join();
}

bool Log::AddListener(const std::weak_ptr<IListener>& listener) {
    std::lock_guard lock(listenersMutex_);
    if (listener.expired()) return false;
    for (const auto& known : listeners_) {
        if (SameListener(known, listener)) return false;
    }
    listeners_.push_back(listener);
    hasListeners_ = true;
    return true;
}

bool Log::RemoveListener(const std::weak_ptr<IListener>& listener) {
    const auto lock = platform::LockUnlessDead(listenersMutex_);
    if (listener.expired()) return false;
    auto found = std::find_if(listeners_.begin(), listeners_.end(),
                              [&](const auto& known) { return SameListener(known, listener); });
    if (found == listeners_.end()) return false;
    listeners_.erase(found);
    hasListeners_ = !listeners_.empty();
    return true;
}

void Log::StartWorker() {
    if (loaderLockMode) return;
    // Without a lock of the log, as the loader may have to be waited for.
    platform::KeepLibraryForWorker();
    std::lock_guard lock(workerMutex_);
    if (workerStarted_) return;
    try {
        worker_ = std::thread(&Log::WorkerMain, this);
    } catch (const std::system_error&) {
        return;  // tried again with the next record
    }
    workerStarted_.store(true, std::memory_order_release);
}

void Log::WorkerMain() {
    const platform::NoWriteSignals quiet;
    Entries taken;
    taken.reserve(records_at_once);
    std::unique_lock lock(queueMutex_);
    spare_.reserve(spare_max + records_at_once);
    for (;;) {
        GiveBack(taken);
        queueNotEmpty_.wait(
            lock, [this] { return stopRequested_ || (!queue_.empty() && !loaderLockMode); });
        if (stopRequested_) return;
        while (!queue_.empty() && taken.size() < records_at_once) {
            taken.push_back(std::move(queue_.front()));
            queue_.pop_front();
        }
        inHand_ = taken.size();
        writing_ = true;
        lock.unlock();
        for (const std::unique_ptr<Entry>& entry : taken) {
            if (!Claim()) break;
            entry->Format();
            Dispatch(*entry);
        }
        std::erase_if(taken, [](const std::unique_ptr<Entry>& entry) {
            return entry->message.capacity() > spare_length_max;
        });
        TakeBriefLock(lock);
        writing_ = false;
    }
}

// False when the records in hand were thrown away.
bool Log::Claim() {
    size_t left = inHand_;
    while (left > 0 && !inHand_.compare_exchange_weak(left, left - 1)) {
    }
    return left > 0;
}

// Called with the lock held. The allocator takes a lock for memory that another thread allocated;
// here it stays with the log.
void Log::GiveBack(Entries& written) {
    if (spare_.size() < spare_max) {
        spare_.insert(spare_.end(), std::make_move_iterator(written.begin()),
                      std::make_move_iterator(written.end()));
    }
    written.clear();
}

std::unique_ptr<Log::Entry> Log::TakeSpare() {
    const std::unique_lock lock(queueMutex_, std::try_to_lock);
    if (!lock || spare_.empty()) return nullptr;
    std::unique_ptr<Entry> entry = std::move(spare_.back());
    spare_.pop_back();
    return entry;
}

void Log::Dispatch(const Entry& entry) {
    const auto lock = platform::LockUnlessDead(listenersMutex_);
    for (size_t i = 0; i < listeners_.size();) {
        if (auto listener = listeners_[i].lock()) {
            listener->OnLogEntry(entry);
            ++i;
        } else {
            listeners_.erase(listeners_.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }
}

void Log::Write(const char* group, int32_t level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    WriteV(group, level, format, arguments);
    va_end(arguments);
}

void Log::WriteV(const char* group, int32_t level, const char* format, va_list arguments) {
    if (!IsLevelEnabled(level)) return;
    WriteText(group, level, FormatTextV(format, arguments));
}

void Log::WriteText(const char* group, int32_t level, const std::string& message) {
    if (!IsLevelEnabled(level)) return;
    const auto indent = static_cast<uint16_t>(GetIndent());
    try {
        std::unique_ptr<Entry> entry = TakeSpare();
        if (entry)
            entry->Renew(group, level, indent, message);
        else
            entry = std::make_unique<Entry>(group, level, indent, message);
        std::unique_lock lock(queueMutex_, std::defer_lock);
        if (!TakeBriefLock(lock)) return;
        queue_.push_back(std::move(entry));
    } catch (const std::bad_alloc&) {
        return;  // a trace must not disturb what it traces
    }
    if (!loaderLockMode) queueNotEmpty_.notify_one();
}

uint64_t Log::Flush() {
    if (!hasListeners_) return 0;
    if (!workerStarted_) StartWorker();
    Queue dropped;
    size_t dropped_in_hand = 0;
    {
        std::unique_lock lock = platform::LockUnlessDead(queueMutex_);
        if (!lock) return inHand_.exchange(0);
        if (loaderLockMode) {
            DrainOnThisThread(lock);
        } else {
            WaitForWorker(lock);
        }
        dropped.swap(queue_);
        dropped_in_hand = inHand_.exchange(0);
    }
    return dropped.size() + dropped_in_hand;
}

void Log::DrainOnThisThread(std::unique_lock<std::mutex>& lock) {
    // Records that the worker holds come before those in the queue.
    const int rounds = platform::OtherThreadsAreDead() ? 0 : in_flight_rounds;
    for (int round = 0; writing_ && round < rounds; ++round) {
        lock.unlock();
        platform::SleepMs(1);
        lock.lock();
    }
    const int64_t start = platform::PerformanceCounter();
    // Cameras that still run may trace faster than one thread can write: what they add now is left.
    for (size_t left = queue_.size(); left > 0 && !queue_.empty(); --left) {
        std::unique_ptr<Entry> entry = std::move(queue_.front());
        queue_.pop_front();
        lock.unlock();
        entry->Format();
        Dispatch(*entry);
        lock.lock();
        if (NanosecondsSince(start) > drain_limit_ns) break;
    }
}

void Log::WaitForWorker(std::unique_lock<std::mutex>& lock) {
    // Records that were written while the library was loading have woken nobody.
    queueNotEmpty_.notify_one();
    for (int round = 0; (!queue_.empty() || inHand_ > 0) && round < flush_rounds; ++round) {
        lock.unlock();
        platform::SleepMs(flush_round_ms);
        lock.lock();
    }
}

int32_t Log::GetIndent() const {
    return DepthIn(id_);
}

void Log::IncreaseIndent() {
    ++DepthIn(id_);
}

bool Log::DecreaseIndent() {
    int32_t& depth = DepthIn(id_);
    if (depth == 0) return false;
    --depth;
    return true;
}

LoaderLockGuard::LoaderLockGuard(int32_t phase, uint32_t initial)
    : phase_(phase), initial_(initial) {
    if (phase_ == 0) {
        Log::loaderLockMode = true;
    } else if (phase_ == 1 && initial_ == 0) {
        Log::loaderLockMode = false;
    }
}

LoaderLockGuard::~LoaderLockGuard() {
    if (phase_ == 0 || phase_ == 1) Log::loaderLockMode = true;
}

}  // namespace bv
