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

// The format of a file among those that are good for a purpose.
const Format& format_with(const std::string& path, bool (*is_good)(const Format&)) {
    const Format* const found = format_of(path);
    if (found && is_good(*found)) return *found;
    std::vector<std::string> endings;
    for (const Format& format : formats())
        if (is_good(format))
            endings.insert(endings.end(), format.endings.begin(), format.endings.end());
    throw std::invalid_argument(endings.empty()
                                    ? "cannot write '" + path +
                                          "': this program was built without formats for it"
                                    : "'" + path + "' must end in " + any_of(endings));
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
    std::vector<std::string> names;
    for (const Format& format : formats()) names.push_back(format.name);
    return any_of(names);
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
    return format_with(path, [](const Format& format) { return format.faithful; });
}

const Format& picture_format(const std::string& path) {
    return format_with(path, [](const Format& format) { return !format.bare; });
}

void fail_to_write(const std::string& path, const std::string& why) {
    throw std::runtime_error("cannot write '" + path + "'" + (why.empty() ? "" : ": " + why));
}

}  // namespace orvex
