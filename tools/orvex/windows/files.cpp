#include "orvex/files.h"

#include <array>
#include <filesystem>
#include <stdexcept>
#include <windows.h>

namespace orvex {

namespace {

std::error_code outcome(bool success) {
    if (success) return {};
    return {static_cast<int>(GetLastError()), std::system_category()};
}

}  // namespace

std::error_code create_file(const std::string& path) {
    const HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return outcome(false);
    CloseHandle(file);
    return {};
}

std::error_code rename_file(const std::string& from, const std::string& to, bool replace) {
    return outcome(MoveFileExA(from.c_str(), to.c_str(), replace ? MOVEFILE_REPLACE_EXISTING : 0));
}

void remove_file(const std::string& path) {
    DeleteFileA(path.c_str());
}

std::string create_temporary_file() {
    const std::string folder = std::filesystem::temp_directory_path().string();
    std::array<char, MAX_PATH> path{};
    if (GetTempFileNameA(folder.c_str(), "orv", 0, path.data()) == 0)
        throw std::runtime_error("cannot create a file in '" + folder + "'");
    return path.data();
}

}  // namespace orvex
