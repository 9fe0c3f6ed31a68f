#include "platform/environment.h"

#include "platform/windows/api.h"

namespace platform {

// From the system: the copy of the C library does not see what a launcher, or the application
// itself in another language, set after the process had begun.
std::optional<std::string> EnvironmentVariable(const char* name) {
    std::string value(128, '\0');
    for (;;) {
        SetLastError(ERROR_SUCCESS);
        const DWORD size =
            GetEnvironmentVariableA(name, value.data(), static_cast<DWORD>(value.size()));
        if (size == 0 && GetLastError() != ERROR_SUCCESS) return std::nullopt;
        const bool fits = size < value.size();
        // Its length; of a value that does not fit, the room that it takes.
        value.resize(size);
        if (fits) return value;
    }
}

// A privileged program is one that its user confirmed, and has the environment of that user.
std::optional<std::string> TrustedEnvironmentVariable(const char* name) {
    return EnvironmentVariable(name);
}

}  // namespace platform
