#include <array>
#include <cstring>
#include <io.h>
#include <windows.h>

#include "orvex/doctor/system.h"

namespace orvex::doctor {

namespace {

namespace fs = std::filesystem;

fs::path file_of(HMODULE module) {
    std::array<char, 1024> path{};
    const DWORD length = GetModuleFileNameA(module, path.data(), DWORD{path.size()});
    return std::string(path.data(), length);
}

}  // namespace

fs::path loaded_library() {
    const HMODULE library = GetModuleHandleA("orvex.dll");
    return library ? file_of(library) : fs::path();
}

std::string module_file_name(const std::string& base) {
    return base + ".dll";
}

char folder_separator() {
    return ';';
}

std::vector<fs::path> module_folders(const fs::path& library_folder) {
    std::array<char, 1024> system{};
    const UINT length = GetSystemDirectoryA(system.data(), UINT{system.size()});
    return {library_folder, file_of(nullptr).parent_path(), std::string(system.data(), length),
            library_folder / "orvex"};
}

// The registry of the system stands between the two; the library reads it itself.
std::vector<fs::path> settings_files(const fs::path& library_folder) {
    return {library_folder / "orvex.ini"};
}

std::string load_problem(const fs::path& module) {
    const HMODULE handle =
        LoadLibraryExA(module.string().c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (!handle)
        return std::error_code(static_cast<int>(GetLastError()), std::system_category()).message();
    FreeLibrary(handle);
    return {};
}

bool can_write(const fs::path& path) {
    constexpr int may_write = 2;
    return _access(path.string().c_str(), may_write) == 0;
}

std::vector<std::pair<std::string, std::string>> environment() {
    std::vector<std::pair<std::string, std::string>> out;
    char* const block = GetEnvironmentStringsA();
    for (const char* entry = block; entry && *entry; entry += std::strlen(entry) + 1) {
        const std::string text = entry;
        const size_t equals = text.find('=', 1);
        if (equals != std::string::npos)
            out.emplace_back(text.substr(0, equals), text.substr(equals + 1));
    }
    if (block) FreeEnvironmentStringsA(block);
    return out;
}

// The system removes what its dead processes had.
std::vector<Leftover> leftovers() {
    return {};
}
void check_device_folder(Findings& /*findings*/) {}
void check_shared_memory(Findings& /*findings*/) {}
void check_limits(Findings& /*findings*/) {}

}  // namespace orvex::doctor
