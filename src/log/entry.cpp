#include <array>
#include <charconv>
#include <cstring>

#include "log/log.h"
#include "platform/system.h"

namespace bv {

namespace {

constexpr int64_t ticks_per_second = 10'000'000;
constexpr int64_t ticks_per_microsecond = 10;
constexpr size_t clock_length = 6;

// HHMMSS of a second. Converting to local time costs more than all the rest of a line, and many
// lines share their second.
const char* ClockText(int64_t second) {
    struct Converted {
        bool valid;
        int64_t second;
        std::array<char, clock_length + 1> text;
    };
    thread_local Converted last{};
    if (!last.valid || last.second != second) {
        std::string text = platform::FormatLocalTime(second, "%H%M%S");
        if (text.size() != clock_length) text = "HHMMSS";
        std::memcpy(last.text.data(), text.c_str(), clock_length + 1);
        last.second = second;
        last.valid = true;
    }
    return last.text.data();
}

void AppendPadded(std::string& out, uint64_t value, size_t width) {
    std::array<char, 20> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    const auto count = static_cast<size_t>(end - digits.data());
    if (count < width) out.append(width - count, '0');
    out.append(digits.data(), count);
}

void AppendTime(std::string& out, int64_t ticks) {
    out.append(ClockText(ticks / ticks_per_second), clock_length);
    out += '.';
    AppendPadded(out, static_cast<uint64_t>(ticks % ticks_per_second / ticks_per_microsecond), 6);
}

constexpr std::array<const char*, 4> level_letters = {"E", "W", "I", "D"};

const char* LevelLetter(int32_t level) {
    return level >= 0 && level < static_cast<int32_t>(level_letters.size())
               ? level_letters[static_cast<size_t>(level)]
               : "?";
}

// A record stays one line, whatever its message holds.
void ReplaceLineFeeds(std::string& text) {
    constexpr const char* replacement = "<\\n>";
    constexpr size_t replacement_length = 4;
    for (size_t at = text.find('\n'); at != std::string::npos;
         at = text.find('\n', at + replacement_length)) {
        text.replace(at, 1, replacement);
    }
}

}  // namespace

Log::Entry::Entry(const char* entryGroup, int32_t entryLevel, uint16_t entryIndent,
                  const std::string& entryMessage) {
    Renew(entryGroup, entryLevel, entryIndent, entryMessage);
}

void Log::Entry::Renew(const char* entryGroup, int32_t entryLevel, uint16_t entryIndent,
                       const std::string& entryMessage) {
    text.clear();
    levelText = LevelLetter(entryLevel);
    group = entryGroup && *entryGroup ? entryGroup : "???";
    level = entryLevel;
    processId = platform::ProcessId();
    threadId = platform::ThreadId();
    ticks = platform::WallClockTicks();
    indent = entryIndent;
    message = entryMessage;
}

void Log::Entry::Format() {
    constexpr size_t id_width = 5;
    constexpr size_t prefix_room = 64;
    text.clear();
    text.reserve(prefix_room + 2u * indent + message.size());
    text += '[';
    AppendTime(text, ticks);
    text += ' ';
    text += group;
    text += ' ';
    AppendPadded(text, processId, id_width);
    text += ':';
    AppendPadded(text, threadId, id_width);
    text += ' ';
    text += levelText;
    text += "] ";
    text.append(2u * indent, ' ');
    text += message;
    ReplaceLineFeeds(text);
}

std::string FormatDate(int64_t ticks) {
    constexpr size_t date_length = 10;
    std::string text = platform::FormatLocalTime(ticks / ticks_per_second, "%Y-%m-%d");
    return text.size() == date_length ? text : "YYYY-MM-DD";
}

std::string FormatTime(int64_t ticks) {
    std::string text;
    AppendTime(text, ticks);
    return text;
}

}  // namespace bv
