#include <cstdlib>

#include "support/environment.h"

namespace support {

// Sets the system's variable and the copy of the C library, which takes an empty value for none.
void set_variable(const std::string& name, const std::optional<std::string>& value) {
    _putenv_s(name.c_str(), value.value_or("").c_str());
}

}  // namespace support
