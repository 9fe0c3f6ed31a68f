#pragma once

#include <string>
#include <system_error>

// What files need beyond the standard library.
namespace orvex {

// Makes an empty file; std::errc::file_exists when there is something of the name.
std::error_code create_file(const std::string& path);
// Gives a file another name. Something that has it is replaced, or kept with
// std::errc::file_exists.
std::error_code rename_file(const std::string& from, const std::string& to, bool replace);
// Nothing but a file is removed.
void remove_file(const std::string& path);
// The path of a new file in the folder for passing ones. Throws std::runtime_error.
std::string create_temporary_file();

}  // namespace orvex
