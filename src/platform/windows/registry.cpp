#include "platform/registry.h"

#include <filesystem>

#include "platform/environment.h"
#include "platform/ini_file.h"
#include "platform/module.h"
#include "platform/windows/api.h"

namespace platform {

namespace {

bool IsFile(const std::string& path) {
    std::error_code error;
    return std::filesystem::is_regular_file(path, error);
}

bool IsInRegistry(const char* key) {
    HKEY handle = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, key, 0, KEY_READ, &handle) != ERROR_SUCCESS) return false;
    RegCloseKey(handle);
    return true;
}

// Its length is asked for first, since a value that doesn't fit is refused as a whole.
std::optional<std::string> RegistryText(const char* key, const char* name) {
    std::string text;
    for (;;) {
        auto size = static_cast<DWORD>(text.size());
        const LSTATUS error = RegGetValueA(HKEY_LOCAL_MACHINE, key, name, RRF_RT_REG_SZ, nullptr,
                                           text.empty() ? nullptr : text.data(), &size);
        if (error != ERROR_MORE_DATA && (error != ERROR_SUCCESS || size == 0)) return std::nullopt;
        const bool is_read = error == ERROR_SUCCESS && !text.empty();
        text.resize(is_read ? size - 1 : size);
        if (is_read) return text;
    }
}

}  // namespace

// The file beside the library serves where nothing was installed, as in a build tree.
std::optional<RegistryKey> RegistryKey::Open(const char* key) {
    if (!key) return std::nullopt;
    std::string path = FullPath(TrustedEnvironmentVariable("ORVEX_REGISTRY").value_or(""));
    if (!IsFile(path)) {
        if (IsInRegistry(key)) return RegistryKey({}, key);
        path = LibraryDirectory() + std::string("\\orvex.ini");
    }
    if (!IsFile(path) || !IniHasSection(path, key)) return std::nullopt;
    return RegistryKey(std::move(path), key);
}

std::optional<std::string> RegistryKey::Text(const char* name, size_t limit) const {
    std::optional<std::string> found =
        path_.empty() ? RegistryText(key_.c_str(), name) : IniValue(path_, key_, name);
    if (found && found->size() >= limit) found->resize(limit > 0 ? limit - 1 : 0);
    return found;
}

}  // namespace platform
