#pragma once

#include <optional>
#include <string>

namespace platform {

// What the environment of the process says now; empty without such a variable. Both may be asked
// while the library is being loaded, before any static object is there.
std::optional<std::string> EnvironmentVariable(const char* name);
// The same for what names a file to load, read or write: empty in a program that runs with more
// rights than whoever started it.
std::optional<std::string> TrustedEnvironmentVariable(const char* name);

}  // namespace platform
