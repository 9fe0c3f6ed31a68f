#include "support/environment.h"

#include <cstdlib>
#include <utility>

namespace support {

Environment::Environment(std::string name, const std::optional<std::string>& value)
    : name_(std::move(name)) {
    if (const char* former = std::getenv(name_.c_str())) former_ = former;
    set_variable(name_, value);
}

Environment::~Environment() {
    set_variable(name_, former_);
}

}  // namespace support
