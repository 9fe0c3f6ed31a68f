#pragma once

#include <cstdint>
#include <deque>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>

namespace orvex::view {

enum class Weight { error, warning, notice };

// The last things that happened, here or in the library. Any thread.
class EventLog {
  public:
    void add(Weight weight, const std::string& text) { add(weight, "view", text); }
    void add(Weight weight, const char* source, const std::string& text);

    // Those behind this number, with the number of the last.
    nlohmann::json after(uint64_t number) const;

  private:
    struct Event {
        Weight weight;
        const char* source;
        std::string time;
        std::string text;
    };

    mutable std::mutex lock_;
    std::deque<Event> events_;
    uint64_t number_ = 0;  // of the last
};

}  // namespace orvex::view
