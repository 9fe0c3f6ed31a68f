#include "orvex/frame_file.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "orvex/names.h"

namespace orvex {

// The build writes the rows of those formats whose library is there.
#define ORVEX_FORMAT(name) Format name##_format();
#include "orvex_formats.def"
#undef ORVEX_FORMAT

namespace {

template <class Take>
std::vector<std::string> of_each(Take take) {
    std::vector<std::string> out;
    for (const Format& format : formats()) take(format, out);
    return out;
}

}  // namespace

const std::vector<Format>& formats() {
    static const std::vector<Format> all = {
#define ORVEX_FORMAT(name) name##_format(),
#include "orvex_formats.def"
#undef ORVEX_FORMAT
    };
    return all;
}

std::string format_names() {
    return any_of(of_each([](const Format& format, auto& out) { out.push_back(format.name); }));
}

const Format& find_format(const std::string& name) {
    for (const Format& format : formats()) {
        const auto& endings = format.endings;
        if (name == format.name ||
            std::find(endings.begin(), endings.end(), '.' + name) != endings.end()) {
            return format;
        }
    }
    throw std::invalid_argument("there is no format '" + name + "'; take " + format_names());
}

const Format* format_of(const std::string& path) {
    const std::string ending = std::filesystem::path(path).extension().string();
    for (const Format& format : formats()) {
        const auto& endings = format.endings;
        if (std::find(endings.begin(), endings.end(), ending) != endings.end()) return &format;
    }
    return nullptr;
}

const Format& recording_format(const std::string& path) {
    const Format* format = format_of(path);
    if (format && format->faithful) return *format;
    const std::vector<std::string> endings = of_each([](const Format& each, auto& out) {
        if (each.faithful) out.insert(out.end(), each.endings.begin(), each.endings.end());
    });
    throw std::invalid_argument("'" + path + "' must end in " + any_of(endings));
}

void fail_to_write(const std::string& path, const std::string& why) {
    throw std::runtime_error("cannot write '" + path + "'" + (why.empty() ? "" : ": " + why));
}

}  // namespace orvex
