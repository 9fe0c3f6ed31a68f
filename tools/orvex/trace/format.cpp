#include "orvex/trace/format.h"

#include <array>
#include <chrono>
#include <cstdio>

namespace orvex::trace {

namespace {

constexpr int64_t day_us = 86'400'000'000;

int64_t day_of(int64_t us) {
    return us >= 0 ? us / day_us : (us - day_us + 1) / day_us;
}

template <class... Values>
std::string printed(const char* format, Values... values) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), format, values...);
    return text.data();
}

}  // namespace

std::string date_text(int64_t us) {
    const std::chrono::year_month_day date{std::chrono::sys_days(std::chrono::days(day_of(us)))};
    return printed("%04d-%02u-%02u", static_cast<int>(date.year()),
                   static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
}

std::string clock_text(int64_t us) {
    const int64_t of_day = us - day_of(us) * day_us;
    const auto seconds = static_cast<int>(of_day / 1'000'000);
    return printed("%02d:%02d:%02d.%06d", seconds / 3600, seconds / 60 % 60, seconds % 60,
                   static_cast<int>(of_day % 1'000'000));
}

std::string stamp_text(int64_t us) {
    return date_text(us) + 'T' + clock_text(us);
}

std::string duration_text(int64_t us) {
    if (us < 1000) return std::to_string(us) + " us";
    const double ms = static_cast<double>(us) / 1e3;
    if (us < 1'000'000) return printed(us < 100'000 ? "%.2f ms" : "%.1f ms", ms);
    return printed("%.2f s", ms / 1e3);
}

std::string count_text(uint64_t count, const std::string& noun) {
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

std::string call_text(const std::string& function, const std::string& arguments, size_t room) {
    std::string text = function + " (" + arguments + ')';
    if (text.size() > room) text = text.substr(0, room - 4) + "...)";
    return text;
}

}  // namespace orvex::trace
