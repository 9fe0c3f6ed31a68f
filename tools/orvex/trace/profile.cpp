#include "orvex/trace/profile.h"

#include <algorithm>

namespace orvex::trace {

namespace {

void count_in(Times& times, const Call& call, const Ending& ending, int64_t own_us) {
    ++times.calls;
    if (ending.failed()) ++times.failed;
    times.total_us += ending.duration_us;
    times.own_us += own_us;
    if (times.calls > 1 && ending.duration_us <= times.longest_us) return;
    times.longest_us = ending.duration_us;
    times.longest_at_us = call.begin_us;
    times.longest_line = call.line;
}

}  // namespace

Times& Profile::times_of(uint32_t name) {
    if (name >= times_.size()) times_.resize(name + size_t{1});
    return times_[name];
}

void Profile::end(const Thread& thread, const Call& call, const Ending& ending) {
    // A thread of the library spends its time waiting for news.
    const bool is_thread = thread.open == 1 && call.layer == Layer::inner;
    const int64_t own_us =
        is_thread ? 0 : std::max<int64_t>(0, ending.duration_us - call.inside_us);
    count_in(times_of(call.name), call, ending, own_us);
    if (call.layer != Layer::entry) return;
    count_in(exported_, call, ending, own_us);
    lock_us_ += own_us;
    if (own_us > longest_lock_.us)
        longest_lock_ = {own_us, std::string(plain_function(names_[call.name])), call.begin_us,
                         call.line};
}

std::vector<Profile::Row> Profile::slowest(Order order, size_t count) const {
    std::vector<Row> rows;
    for (uint32_t name = 0; name < times_.size(); ++name) {
        const Layer layer = layer_of(names_[name]);
        // The whole of an exported function is that of the entry layer, its work that of the other.
        if (times_[name].calls == 0 || layer == (order == Order::own ? Layer::entry : Layer::exec))
            continue;
        rows.push_back({std::string(plain_function(names_[name])), times_[name]});
    }
    const auto key = [order](const Row& row) {
        return order == Order::own ? row.times.own_us : row.times.total_us;
    };
    std::sort(rows.begin(), rows.end(), [&](const Row& a, const Row& b) {
        return key(a) != key(b) ? key(a) > key(b) : a.function < b.function;
    });
    if (rows.size() > count) rows.resize(count);
    return rows;
}

}  // namespace orvex::trace
