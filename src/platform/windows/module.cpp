#include "platform/module.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <vector>

#include "platform/environment.h"
#include "platform/system.h"
#include "platform/windows/api.h"
#include "platform/windows/this_module.h"

namespace platform {

namespace {

constexpr size_t path_size = 1024;

// A thread-local object with a destructor would keep the library from being unloaded.
struct LoadFailure {
    DWORD error;
    std::array<char, path_size> file;
};
thread_local LoadFailure last_failure{};

ModuleHandle Failure(const std::string& file, DWORD error) {
    last_failure.error = error;
    std::snprintf(last_failure.file.data(), path_size, "%s", file.c_str());
    return nullptr;
}

ModuleHandle Open(const std::string& path, DWORD flags) {
    HMODULE const module = LoadLibraryExA(path.c_str(), nullptr, flags);
    return module ? module : Failure(path, GetLastError());
}

bool IsThere(const std::string& path) {
    const DWORD attributes = GetFileAttributesA(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

std::string DirectoryOf(HMODULE module) {
    std::array<char, path_size> file;
    const DWORD length = GetModuleFileNameA(module, file.data(), path_size);
    const std::string path(file.data(), length);
    return path.substr(0, path.find_last_of("\\/"));
}

// Where things were when the library was loaded. Made on first use, which may be that of a static
// object of another file, and never destroyed.
struct LoadTime {
    std::array<char, path_size> library_directory{};
    std::array<char, path_size> working_directory{};

    LoadTime() {
        const std::string directory =
            DirectoryOf(ThisModule(GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT));
        std::snprintf(library_directory.data(), path_size, "%s", directory.c_str());
        if (GetCurrentDirectoryA(path_size, working_directory.data()) >= path_size)
            working_directory.front() = '\0';
    }
};

const LoadTime& AtLoad() {
    static const LoadTime at_load;
    return at_load;
}
[[maybe_unused]] const LoadTime& settled = AtLoad();

// Neither the working directory, where data lie that anybody may have brought, nor the PATH. The
// folder `orvex` comes last, so that the driver module of an installed camera wins over the one
// that comes with the library.
std::vector<std::string> SearchedDirectories() {
    std::vector<std::string> directories;
    const std::string list = TrustedEnvironmentVariable("ORVEX_MODULE_PATH").value_or("");
    for (size_t start = 0; start < list.size();) {
        const size_t end = std::min(list.find(';', start), list.size());
        if (end > start) directories.push_back(FullPath(list.substr(start, end - start)));
        start = end + 1;
    }
    directories.push_back(LibraryDirectory());
    directories.push_back(DirectoryOf(nullptr));
    std::array<char, path_size> system;
    directories.emplace_back(system.data(), GetSystemDirectoryA(system.data(), path_size));
    directories.push_back(LibraryDirectory() + std::string("\\orvex"));
    return directories;
}

ModuleHandle kept_library = nullptr;

}  // namespace

ModuleHandle LoadModule(const char* contract_name) {
    // What a module needs in turn is looked for beside it first.
    constexpr DWORD with_neighbours = LOAD_WITH_ALTERED_SEARCH_PATH;
    last_failure.error = ERROR_SUCCESS;
    std::string name(contract_name ? contract_name : "");
    if (const size_t slash = name.find_last_of("\\/"); slash != std::string::npos) {
        if (const std::string path = FullPath(name); IsThere(path))
            return Open(path, with_neighbours);
        name.erase(0, slash + 1);
    }
    if (name.empty()) return Failure("no module name", ERROR_INVALID_NAME);
    for (const std::string& directory : SearchedDirectories())
        if (const std::string path = directory + '\\' + name; IsThere(path))
            return Open(path, with_neighbours);
    return Open(name, LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
}

void* FindSymbol(ModuleHandle module, const char* name) {
    if (!module) return nullptr;
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), name));
}

void ReleaseModule(ModuleHandle module) {
    if (module) FreeLibrary(static_cast<HMODULE>(module));
}

std::string ModuleErrorText() {
    if (last_failure.error == ERROR_SUCCESS) return {};
    // The system's text does not name the file.
    return last_failure.file.data() + (": " + ErrorText(last_failure.error));
}

const char* LibraryDirectory() {
    return AtLoad().library_directory.data();
}

std::string FullPath(std::string_view path) {
    if (path.empty()) return {};
    return (std::filesystem::path(AtLoad().working_directory.data()) / path).string();
}

void KeepLibrary() {
    if (!kept_library) kept_library = ThisModule(0);
}

void KeepLibraryForGood() {
    ThisModule(GET_MODULE_HANDLE_EX_FLAG_PIN);
}

// Under the lock of the loader, with which it would have to end, a thread can't be waited for.
void KeepLibraryForWorker() {
    KeepLibraryForGood();
}

void ReleaseLibrary() {
    ReleaseModule(kept_library);
    kept_library = nullptr;
}

}  // namespace platform
