#include "platform/module.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <climits>
#include <cstdio>
#include <dlfcn.h>
#include <filesystem>
#include <string_view>
#include <unistd.h>

#include "platform/environment.h"

namespace platform {

namespace {

// A thread-local object with a destructor would keep the library from being unloaded.
thread_local std::array<char, PATH_MAX> last_failure{};

void RememberFailure(const char* text) {
    std::snprintf(last_failure.data(), last_failure.size(), "%s", text);
}

std::string NativeName(std::string_view contract_name) {
    std::string name(contract_name);
    std::replace(name.begin(), name.end(), '\\', '/');
    constexpr std::string_view foreign = ".dll";
    if (name.size() >= foreign.size() &&
        std::equal(foreign.begin(), foreign.end(), name.end() - foreign.size(),
                   [](char a, char b) { return a == std::tolower(static_cast<uint8_t>(b)); }))
        name.replace(name.size() - foreign.size(), foreign.size(), ".so");
    return name;
}

ModuleHandle Open(const std::string& name) {
    ModuleHandle module = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module) {
        const char* text = dlerror();
        RememberFailure(text ? text : "");
    }
    return module;
}

bool IsThere(const std::string& path) {
    std::error_code error;
    return std::filesystem::exists(path, error);
}

// The file of a bare name; the name itself, for the system to look for, when there is none.
std::string FindFile(const std::string& name) {
    const std::string directories = TrustedEnvironmentVariable("ORVEX_MODULE_PATH").value_or("");
    std::string_view left = directories;
    while (!left.empty()) {
        const size_t end = std::min(left.find(':'), left.size());
        const std::string_view directory = left.substr(0, end);
        left.remove_prefix(std::min(end + 1, left.size()));
        if (directory.empty()) continue;
        if (std::string path = FullPath(directory) + '/' + name; IsThere(path)) return path;
    }
    for (const char* beside_library : {"/", "/orvex/"}) {
        if (std::string path = std::string(LibraryDirectory()) + beside_library + name;
            IsThere(path))
            return path;
    }
    return name;
}

// The name by which the loader knows the file of this library; null for none.
const char* LoadedName() {
    static const char inside = 0;
    Dl_info info{};
    return dladdr(&inside, &info) != 0 ? info.dli_fname : nullptr;
}

// Where things were when the library was loaded: its name may be relative to a directory that the
// application leaves later.
struct LoadTime {
    std::array<char, PATH_MAX> library_directory{};
    std::array<char, PATH_MAX> working_directory{};

    LoadTime() {
        std::error_code error;
        std::filesystem::path file;
        if (const char* name = LoadedName()) file = std::filesystem::canonical(name, error);
        // The name of a program is as it was typed, and says nothing.
        if (file.empty() || error) file = std::filesystem::canonical("/proc/self/exe", error);
        const std::string directory = file.parent_path().string();
        std::snprintf(library_directory.data(), library_directory.size(), "%s", directory.c_str());
        if (!getcwd(working_directory.data(), working_directory.size()))
            working_directory.front() = '\0';
    }
};
const LoadTime load_time;

ModuleHandle kept_library = nullptr;

}  // namespace

ModuleHandle LoadModule(const char* contract_name) {
    RememberFailure("");
    if (!contract_name || !*contract_name) {
        RememberFailure("no module name");
        return nullptr;
    }
    std::string name = NativeName(contract_name);
    if (const size_t slash = name.rfind('/'); slash != std::string::npos) {
        if (IsThere(name)) return Open(name);
        name.erase(0, slash + 1);
        if (name.empty()) {
            RememberFailure("no module name");
            return nullptr;
        }
    }
    return Open(FindFile(name));
}

void* FindSymbol(ModuleHandle module, const char* name) {
    return module ? dlsym(module, name) : nullptr;
}

void ReleaseModule(ModuleHandle module) {
    if (module) dlclose(module);
}

std::string ModuleErrorText() {
    return last_failure.data();
}

const char* LibraryDirectory() {
    return load_time.library_directory.data();
}

std::string FullPath(std::string_view path) {
    const std::string_view start = load_time.working_directory.data();
    std::string full(path);
    if (!full.empty() && full.front() != '/' && !start.empty())
        full.insert(0, std::string(start) + '/');
    return full;
}

// The loader finds what is loaded by the name that it knows, whatever the directory is now.
void KeepLibrary() {
    const char* const name = LoadedName();
    if (name && !kept_library) kept_library = dlopen(name, RTLD_NOW | RTLD_NOLOAD);
}

void KeepLibraryForGood() {
    if (const char* const name = LoadedName()) dlopen(name, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
}

void KeepLibraryForWorker() {}

void ReleaseLibrary() {
    if (kept_library) dlclose(kept_library);
    kept_library = nullptr;
}

}  // namespace platform
