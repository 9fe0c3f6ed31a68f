#pragma once

#include <string>
#include <vector>

// Names as people write them, and what they may have meant.
namespace orvex {

// In small letters, with '-' for blanks and '_'.
std::string plain_name(const std::string& name);

// "; did you mean A, B or C?" with the names that come near, or nothing when none does.
std::string did_you_mean(const std::string& wanted, const std::vector<std::string>& names);

// "A, B or C"
std::string any_of(const std::vector<std::string>& names);

}  // namespace orvex
