#pragma once

#include <optional>
#include <string>

namespace platform {

// Text values under a key. On this system an INI file with one section a key; the first that
// exists of $ORVEX_REGISTRY, /etc/orvex/registry.ini and orvex.ini beside the library.
class RegistryKey {
  public:
    // Empty when there is no such file or it has no such section.
    static std::optional<RegistryKey> Open(const char* key);

    // The value, cut to limit - 1 characters; empty when the key has no such value.
    std::optional<std::string> Text(const char* name, size_t limit) const;

  private:
    RegistryKey(std::string path, std::string key) : path_(std::move(path)), key_(std::move(key)) {}
    std::string path_;
    std::string key_;
};

}  // namespace platform
