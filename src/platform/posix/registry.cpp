#include "platform/registry.h"

#include <array>
#include <filesystem>

#include "platform/environment.h"
#include "platform/ini_file.h"
#include "platform/module.h"

namespace platform {

namespace {

std::string FindFile() {
    const std::string named = TrustedEnvironmentVariable("ORVEX_REGISTRY").value_or("");
    const std::array<std::string, 3> places = {FullPath(named), "/etc/orvex/registry.ini",
                                               LibraryDirectory() + std::string("/orvex.ini")};
    for (const std::string& place : places) {
        std::error_code error;
        if (std::filesystem::is_regular_file(place, error)) return place;
    }
    return {};
}

}  // namespace

std::optional<RegistryKey> RegistryKey::Open(const char* key) {
    std::string path = FindFile();
    if (path.empty() || !key || !IniHasSection(path, key)) return std::nullopt;
    return RegistryKey(std::move(path), key);
}

std::optional<std::string> RegistryKey::Text(const char* name, size_t limit) const {
    std::optional<std::string> found = IniValue(path_, key_, name);
    if (found && found->size() >= limit) found->resize(limit > 0 ? limit - 1 : 0);
    return found;
}

}  // namespace platform
