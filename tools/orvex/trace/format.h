#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Times and counts as reports show them.
namespace orvex::trace {

// "2026-11-22"
std::string date_text(int64_t us);
// "03:27:30.245305"
std::string clock_text(int64_t us);
// "2026-11-22T03:27:30.245305", in the time zone of the log
std::string stamp_text(int64_t us);
// "12 us", "1.23 ms", "4.50 s"
std::string duration_text(int64_t us);
// "1 frame", "2 frames"
std::string count_text(uint64_t count, const std::string& noun);
// "name (arguments)", cut where a line would become too long
std::string call_text(const std::string& function, const std::string& arguments, size_t room = 100);

}  // namespace orvex::trace
