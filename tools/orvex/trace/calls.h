#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "orvex/trace/record.h"

// The records of a trace put together to calls, for each thread of each process.
namespace orvex::trace {

// Names of functions, by number in the order in which they came.
class Names {
  public:
    uint32_t number(std::string_view name);
    const std::string& operator[](uint32_t number) const { return names_[number]; }
    size_t size() const { return names_.size(); }

  private:
    std::deque<std::string> names_;
    std::unordered_map<std::string_view, uint32_t> numbers_;
};

// The layer of an exported function, where the log shows each in two.
enum class Layer { inner, entry, exec };
Layer layer_of(std::string_view function);
// "ox_cam_open" of "bv::ApiEntryLayer::ox_cam_open"; the layers are those of exported functions,
// whose names tell enough.
std::string_view plain_function(std::string_view function);

// A call that has begun and has not ended.
struct Call {
    uint32_t name = 0;
    Layer layer = Layer::inner;
    unsigned depth = 0;
    int64_t begin_us = 0;   // since 1970
    int64_t inside_us = 0;  // of the calls that it made
    uint64_t line = 0;
    std::string arguments;
};

struct Ending {
    int64_t at_us = 0;
    int64_t duration_us = 0;
    std::string_view result;
    // False for a call whose RETURN record is missing.
    bool told = true;

    bool failed() const;
};

struct Thread {
    uint32_t process = 0;
    uint32_t number = 0;
    // The calls that go on, outermost first.
    std::span<const Call> calls() const { return {stack.data(), open}; }

    // Slots behind the open calls keep their memory for the next ones.
    std::vector<Call> stack;
    size_t open = 0;
};

struct Moment {
    int64_t at_us = 0;
    uint64_t line = 0;
};

// What wants to know of calls. The call of begin() and end() is the last of the thread's.
class Listener {
  public:
    virtual ~Listener() = default;
    virtual void begin(const Thread& /*thread*/, const Call& /*call*/) {}
    virtual void end(const Thread& /*thread*/, const Call& /*call*/, const Ending& /*ending*/) {}
    virtual void remark(const Thread& /*thread*/, const Record& /*record*/, Moment /*moment*/) {}
};

// What is said of the trace as a whole.
struct Totals {
    uint64_t lines = 0;
    uint64_t records = 0;
    uint64_t nonsense = 0;
    uint64_t first_nonsense_line = 0;
    bool cut_off = false;  // the last line has no end
    uint64_t dropped = 0;
    uint64_t without_begin = 0;  // calls of which only the end is there
    uint64_t without_end = 0;    // calls whose end is missing, although the thread went on
    int64_t first_us = INT64_MAX;
    int64_t last_us = INT64_MIN;
};

struct Process {
    int64_t day = 0;
    int64_t last_us = 0;
    bool placed = false;  // whether the two are known
    bool started = false;
    bool stopped = false;
};

class CallReader {
  public:
    CallReader(Names& names, std::vector<Listener*> listeners)
        : names_(names), listeners_(std::move(listeners)) {}

    void read(std::string_view line);
    void set_cut_off() { totals_.cut_off = true; }

    const Totals& totals() const { return totals_; }
    const std::map<uint32_t, Process>& processes() const { return processes_; }
    // In the order in which they appeared.
    const std::deque<Thread>& threads() const { return threads_; }

  private:
    Thread& thread_of(const Record& record);
    int64_t place_in_time(const Record& record, Process& process);
    void start_process(const Record& record, Process& process);
    void enter(Thread& thread, const Record& record, int64_t at);
    void leave(Thread& thread, const Record& record, int64_t at);
    void close_top(Thread& thread, const Ending& ending);
    void close_lost(Thread& thread, size_t keep, int64_t at);

    Names& names_;
    std::vector<Listener*> listeners_;
    Totals totals_;
    std::map<uint32_t, Process> processes_;
    std::deque<Thread> threads_;
    std::unordered_map<uint64_t, Thread*> by_id_;
    Thread* last_thread_ = nullptr;
    int64_t day_ = 0;  // that the last date line told
};

}  // namespace orvex::trace
