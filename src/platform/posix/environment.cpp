#include "platform/environment.h"

#include <cstdlib>

namespace platform {

namespace {

std::optional<std::string> TextOf(const char* value) {
    if (!value) return std::nullopt;
    return value;
}

}  // namespace

std::optional<std::string> EnvironmentVariable(const char* name) {
    return TextOf(std::getenv(name));
}

std::optional<std::string> TrustedEnvironmentVariable(const char* name) {
    return TextOf(secure_getenv(name));
}

}  // namespace platform
