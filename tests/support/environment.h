#pragma once

#include <optional>
#include <string>

namespace support {

// Sets an environment variable, or removes it.
void set_variable(const std::string& name, const std::optional<std::string>& value);

// An environment variable for the life of this object; the former value comes back.
//
//     Environment modules("ORVEX_MODULE_PATH", directory.path().string());
//     Environment unset("ORVEX_CORE_LOG_FILE", std::nullopt);
class Environment {
  public:
    Environment(std::string name, const std::optional<std::string>& value);
    ~Environment();
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

  private:
    std::string name_;
    std::optional<std::string> former_;
};

}  // namespace support
