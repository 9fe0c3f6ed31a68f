#include "orvex/view/event_log.h"

#include "orvex/facts.h"

namespace orvex::view {

namespace {

constexpr size_t most_events = 400;

const char* name_of(Weight weight) {
    switch (weight) {
        case Weight::error: return "error";
        case Weight::warning: return "warning";
        case Weight::notice: return "notice";
    }
    return "";
}

}  // namespace

void EventLog::add(Weight weight, const char* source, const std::string& text) {
    Event event{weight, source, utc_now(), text};
    const std::lock_guard hold(lock_);
    events_.push_back(std::move(event));
    ++number_;
    if (events_.size() > most_events) events_.pop_front();
}

nlohmann::json EventLog::after(uint64_t number) const {
    const std::lock_guard hold(lock_);
    nlohmann::json lines = nlohmann::json::array();
    const uint64_t first = number_ - events_.size();  // the number before the oldest
    // A page of an earlier server may have seen more than there is.
    if (number > number_) number = 0;
    for (size_t i = number > first ? number - first : 0; i < events_.size(); ++i) {
        const Event& event = events_[i];
        lines.push_back({{"weight", name_of(event.weight)},
                         {"source", event.source},
                         {"time", event.time},
                         {"text", event.text}});
    }
    return {{"last", number_}, {"lines", lines}};
}

}  // namespace orvex::view
