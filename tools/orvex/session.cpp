#include "orvex/session.h"

#include <algorithm>

#include "orvex/names.h"

namespace orvex {

namespace {

bool is_index(const std::string& text) {
    return !text.empty() && text.size() < 4 &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

Camera open_camera(const Library& library, const std::string& name_or_index) {
    const std::vector<std::string> names = library.cameras();
    std::string name = name_or_index;
    if (is_index(name) && std::find(names.begin(), names.end(), name) == names.end()) {
        const size_t index = std::stoul(name);
        if (index < names.size()) name = names[index];
    }
    try {
        return Camera(library, name);
    } catch (const Error& error) {
        if (error.code() != C0_CAM_NAME_NOT_FOUND) throw;
        throw std::runtime_error(error.what() + did_you_mean(name, names));
    }
}

}  // namespace orvex
