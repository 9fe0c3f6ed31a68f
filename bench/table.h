#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace bench {

// What a figure is to be. A peer's figure is to be beaten, by more or by less.
struct Wanted {
    enum class Kind { nothing, at_least, at_most, more_than_peer, less_than_peer };
    Kind kind = Kind::nothing;
    double limit = 0;
};
inline Wanted at_least(double limit) {
    return {Wanted::Kind::at_least, limit};
}
inline Wanted at_most(double limit) {
    return {Wanted::Kind::at_most, limit};
}

struct Row {
    std::string what;
    double value;
    std::string unit;
    Wanted wanted{};
    std::optional<double> peer{};
};

// Prints rows as they come and keeps them for the JSON form.
class Table {
  public:
    void section(const std::string& title);
    void row(const Row& row);
    // An array of one object a row.
    void save(const std::string& path) const;

  private:
    std::string section_;
    nlohmann::ordered_json rows_ = nlohmann::ordered_json::array();
};

}  // namespace bench
