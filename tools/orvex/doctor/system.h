#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "orvex/doctor/finding.h"

// What each system does in its own way.
namespace orvex::doctor {

// The file of the library that this process has loaded; empty when the system does not tell.
std::filesystem::path loaded_library();
// "orvexDDI.so" of "orvexDDI".
std::string module_file_name(const std::string& base);
// Between the folders of ORVEX_MODULE_PATH.
char folder_separator();
// Folders in which modules are looked for behind those of ORVEX_MODULE_PATH, in their order.
std::vector<std::filesystem::path> module_folders(const std::filesystem::path& library_folder);
// Where the settings of an installation may stand, in their order, behind ORVEX_REGISTRY. The last
// is the file beside the library.
std::vector<std::filesystem::path> settings_files(const std::filesystem::path& library_folder);
// Why a module can't be loaded; empty when it can.
std::string load_problem(const std::filesystem::path& module);
bool can_write(const std::filesystem::path& path);
std::vector<std::pair<std::string, std::string>> environment();

// Something that a process which died has left to others, and how it may go.
struct Leftover {
    std::string path;
    bool own = true;  // this user's, so that the next start of the library removes it

    bool operator==(const Leftover&) const = default;
};
std::vector<Leftover> leftovers();

void check_device_folder(Findings& findings);
void check_shared_memory(Findings& findings);
void check_limits(Findings& findings);

}  // namespace orvex::doctor
