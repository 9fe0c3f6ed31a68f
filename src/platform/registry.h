#pragma once

#include <optional>
#include <string>

namespace platform {

// Text values under a key: an INI file with one section a key, which is the first that exists of
// $ORVEX_REGISTRY, /etc/orvex/registry.ini and orvex.ini beside the library. Where the system has a
// registry, the key of that name below HKEY_LOCAL_MACHINE takes the place of the second.
class RegistryKey {
  public:
    // Empty when there is no such file or key, or it has no such section.
    static std::optional<RegistryKey> Open(const char* key);

    // The value, cut to limit - 1 characters; empty when the key has no such value.
    std::optional<std::string> Text(const char* name, size_t limit) const;

  private:
    RegistryKey(std::string path, std::string key) : path_(std::move(path)), key_(std::move(key)) {}
    std::string path_;  // empty for a key of the registry
    std::string key_;
};

}  // namespace platform
