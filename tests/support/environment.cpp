#include "support/environment.h"

#include <cstdlib>
#include <utility>

namespace support {

namespace {

void Assign(const std::string& name, const std::optional<std::string>& value) {
    if (value)
        setenv(name.c_str(), value->c_str(), 1);
    else
        unsetenv(name.c_str());
}

}  // namespace

Environment::Environment(std::string name, const std::optional<std::string>& value)
    : name_(std::move(name)) {
    if (const char* former = std::getenv(name_.c_str())) former_ = former;
    Assign(name_, value);
}

Environment::~Environment() {
    Assign(name_, former_);
}

}  // namespace support
