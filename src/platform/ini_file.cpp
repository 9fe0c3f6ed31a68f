#include "platform/ini_file.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <fstream>
#include <functional>

namespace platform {

namespace {

// More than this is no list of settings.
constexpr size_t file_size_max = size_t{1} << 20;

std::string_view Trim(std::string_view text) {
    constexpr std::string_view blanks = " \t\r";
    const size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

// Names of keys and values differ by more than case.
bool SameName(std::string_view a, std::string_view b) {
    const auto same = [](uint8_t x, uint8_t y) { return std::tolower(x) == std::tolower(y); };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), same);
}

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string text(file_size_max, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<size_t>(file.gcount()));
    return text;
}

// Shows the entries of a section in order until the visitor has what it wants; whether there is
// such a section. Lines that are neither header nor entry are skipped.
bool WalkSection(std::string_view text, std::string_view section,
                 const std::function<bool(std::string_view name, std::string_view value)>& done) {
    constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
    if (text.starts_with(byte_order_mark)) text.remove_prefix(byte_order_mark.size());
    bool inside = false, found = false;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = Trim(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.empty() || line.front() == ';' || line.front() == '#') continue;
        if (line.front() == '[') {
            const size_t close = line.rfind(']');
            inside = close != std::string_view::npos &&
                     SameName(Trim(line.substr(1, close - 1)), section);
            found = found || inside;
            continue;
        }
        const size_t equals = line.find('=');
        if (!inside || equals == std::string_view::npos) continue;
        if (done(Trim(line.substr(0, equals)), Trim(line.substr(equals + 1)))) break;
    }
    return found;
}

}  // namespace

bool IniHasSection(const std::string& path, std::string_view section) {
    const auto any = [](std::string_view, std::string_view) { return true; };
    return WalkSection(ReadFile(path), section, any);
}

std::optional<std::string> IniValue(const std::string& path, std::string_view section,
                                    std::string_view name) {
    std::optional<std::string> found;
    WalkSection(ReadFile(path), section, [&](std::string_view entry, std::string_view value) {
        if (!SameName(entry, name)) return false;
        found = value;
        return true;
    });
    return found;
}

}  // namespace platform
