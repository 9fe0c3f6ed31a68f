#include "orvex/trace/record.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <optional>

namespace orvex::trace {

namespace {

constexpr int64_t us_per_second = 1'000'000;
// Calls last for days at the most.
constexpr uint64_t longest_us = 10'000'000'000'000;
constexpr std::string_view levels = "EWID";

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

// Takes characters off the front of a line.
class Scanner {
  public:
    explicit Scanner(std::string_view line) : rest_(line) {}

    std::string_view rest() const { return rest_; }

    bool take(std::string_view text) {
        if (!rest_.starts_with(text)) return false;
        rest_.remove_prefix(text.size());
        return true;
    }
    // `digits` of them exactly, or as many as there are.
    std::optional<uint64_t> number(size_t digits = 0) {
        size_t count = 0;
        while (count < rest_.size() && is_digit(rest_[count]) && (digits == 0 || count < digits))
            ++count;
        uint64_t value = 0;
        const auto [end, problem] = std::from_chars(rest_.data(), rest_.data() + count, value);
        if (count == 0 || (digits != 0 && count != digits) || problem != std::errc()) return {};
        rest_.remove_prefix(count);
        return value;
    }
    std::optional<uint32_t> id() {
        const std::optional<uint64_t> value = number();
        if (!value || *value > UINT32_MAX) return {};
        return static_cast<uint32_t>(*value);
    }
    std::optional<char> one_of(std::string_view characters) {
        if (rest_.empty() || characters.find(rest_.front()) == std::string_view::npos) return {};
        const char found = rest_.front();
        rest_.remove_prefix(1);
        return found;
    }
    size_t blanks() {
        const size_t count = std::min(rest_.find_first_not_of(' '), rest_.size());
        rest_.remove_prefix(count);
        return count;
    }

  private:
    std::string_view rest_;
};

std::optional<int64_t> take_time(Scanner& line) {
    const auto hours = line.number(2), minutes = line.number(2), seconds = line.number(2);
    if (!hours || !minutes || !seconds || !line.take(".")) return {};
    const auto microseconds = line.number(6);
    // 60 is a leap second.
    if (!microseconds || *hours > 23 || *minutes > 59 || *seconds > 60) return {};
    return static_cast<int64_t>((*hours * 60 + *minutes) * 60 + *seconds) * us_per_second +
           static_cast<int64_t>(*microseconds);
}

std::optional<int64_t> take_date(Scanner& line) {
    const auto year = line.number(4);
    if (!year || !line.take("-")) return {};
    const auto month = line.number(2);
    if (!month || !line.take("-")) return {};
    const auto day = line.number(2);
    if (!day) return {};
    const std::chrono::year_month_day date{std::chrono::year(static_cast<int>(*year)),
                                           std::chrono::month(static_cast<unsigned>(*month)),
                                           std::chrono::day(static_cast<unsigned>(*day))};
    if (!date.ok()) return {};
    return std::chrono::sys_days(date).time_since_epoch().count();
}

Record bare_line(std::string_view line) {
    constexpr std::string_view date_label = "[Current date: ";
    Record record;
    Scanner scanner(line);
    if (scanner.take(date_label)) {
        const std::optional<int64_t> date = take_date(scanner);
        // A system that could not tell it wrote letters.
        record.kind = date ? Kind::date : Kind::ornament;
        record.time_us = date.value_or(0);
    } else if (line.empty() || line.starts_with("[=====")) {
        record.kind = Kind::ornament;
    }
    return record;
}

// "Logging started, PID 12", "Logging stopped, PID 12, dropped 3 messages"
void read_banner(std::string_view text, Record& record) {
    Scanner scanner(text);
    if (!scanner.take("Logging ")) return;
    record.kind = scanner.take("started") ? Kind::started : Kind::stopped;
    constexpr std::string_view dropped_label = ", dropped ";
    const size_t dropped = text.find(dropped_label);
    if (dropped == std::string_view::npos) return;
    record.dropped = Scanner(text.substr(dropped + dropped_label.size())).number().value_or(0);
}

// "function: ENTER (arguments)", "function: RETURN (result) [7us]", "function: words"
void read_message(std::string_view message, Record& record) {
    record.kind = Kind::remark;
    record.text = message;
    const size_t colon = message.find(": ");
    // What is no name of a function is said by none.
    if (colon == std::string_view::npos ||
        message.substr(0, colon).find_first_of(" ='") != std::string_view::npos)
        return;
    record.function = message.substr(0, colon);
    Scanner rest(message.substr(colon + 2));
    record.text = rest.rest();
    if (rest.take("ENTER (")) {
        record.kind = Kind::enter;
        record.text = rest.rest();
        if (record.text.ends_with(')')) record.text.remove_suffix(1);
    } else if (rest.take("RETURN (")) {
        const std::string_view result = rest.rest();
        const size_t close = result.rfind(") [");
        if (close == std::string_view::npos) return;
        Scanner time(result.substr(close + 3));
        const std::optional<uint64_t> duration = time.number();
        if (!duration || *duration > longest_us || time.rest() != "us]") return;
        record.kind = Kind::leave;
        record.text = result.substr(0, close);
        record.duration_us = static_cast<int64_t>(*duration);
    }
}

}  // namespace

Record parse_record(std::string_view line) {
    if (line.ends_with('\r')) line.remove_suffix(1);
    Record record = bare_line(line);
    if (record.kind != Kind::nonsense) return record;
    Scanner scanner(line);
    if (!scanner.take("[")) return record;
    const std::optional<int64_t> time = take_time(scanner);
    if (!time || !scanner.take(" ") || scanner.rest().size() < 4) return record;
    const std::string_view group = scanner.rest().substr(0, 3);
    scanner = Scanner(scanner.rest().substr(3));
    if (!scanner.take(" ")) return record;
    const std::optional<uint32_t> process = scanner.id();
    if (!process || !scanner.take(":")) return record;
    const std::optional<uint32_t> thread = scanner.id();
    if (!thread || !scanner.take(" ")) return record;
    const std::optional<char> level = scanner.one_of(levels);
    if (!level || !scanner.take("] ")) return record;
    record.time_us = *time;
    record.process = *process;
    record.thread = *thread;
    record.level = *level;
    record.depth = static_cast<unsigned>(scanner.blanks() / 2);
    read_message(scanner.rest(), record);
    if (group == "***") read_banner(scanner.rest(), record);
    return record;
}

std::string_view argument(std::string_view arguments, std::string_view name) {
    for (size_t at = 0; (at = arguments.find(name, at)) != std::string_view::npos; ++at) {
        const size_t end = at + name.size();
        const bool whole = at == 0 || arguments[at - 1] == ' ' || arguments[at - 1] == '*';
        if (!whole || end >= arguments.size() || arguments[end] != '=') continue;
        const std::string_view value = arguments.substr(end + 1);
        return value.substr(0, std::min(value.find(", "), value.size()));
    }
    return {};
}

int64_t argument_number(std::string_view value) {
    if (value.ends_with(')')) {
        const size_t open = value.rfind('(');
        if (open == std::string_view::npos) return -1;
        value = value.substr(open + 1, value.size() - open - 2);
    }
    const bool hex = value.starts_with("0x");
    if (hex) value.remove_prefix(2);
    int64_t number = -1;
    const auto [end, problem] =
        std::from_chars(value.data(), value.data() + value.size(), number, hex ? 16 : 10);
    return problem == std::errc() && end == value.data() + value.size() ? number : -1;
}

}  // namespace orvex::trace
