#pragma once

#include <optional>
#include <string>
#include <string_view>

// Text values in files of sections, whose names and entries differ by more than case.
namespace platform {

bool IniHasSection(const std::string& path, std::string_view section);

// Of the first entry of that name; empty without one.
std::optional<std::string> IniValue(const std::string& path, std::string_view section,
                                    std::string_view name);

}  // namespace platform
