#include "platform/module.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <string_view>

namespace platform {

namespace {

thread_local std::string last_failure;

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
        last_failure = text ? text : "";
    }
    return module;
}

bool IsThere(const std::string& path) {
    std::error_code error;
    return std::filesystem::exists(path, error);
}

// The file of a bare name; the name itself, for the system to look for, when there is none.
std::string FindFile(const std::string& name) {
    const char* variable = std::getenv("ORVEX_MODULE_PATH");
    std::string_view left = variable ? variable : "";
    while (!left.empty()) {
        const size_t end = std::min(left.find(':'), left.size());
        const std::string_view directory = left.substr(0, end);
        left.remove_prefix(std::min(end + 1, left.size()));
        if (directory.empty()) continue;
        if (std::string path = std::string(directory) + '/' + name; IsThere(path)) return path;
    }
    for (const char* beside_library : {"/", "/orvex/"}) {
        if (std::string path = LibraryDirectory() + beside_library + name; IsThere(path))
            return path;
    }
    return name;
}

std::string FindLibraryDirectory() {
    Dl_info info{};
    std::error_code error;
    std::filesystem::path file;
    if (dladdr(reinterpret_cast<void*>(&FindLibraryDirectory), &info) != 0 && info.dli_fname)
        file = std::filesystem::canonical(info.dli_fname, error);
    // The name of a program is as it was typed, and means nothing to another directory.
    if (file.empty() || error) file = std::filesystem::canonical("/proc/self/exe", error);
    return file.parent_path().string();
}

}  // namespace

ModuleHandle LoadModule(const char* contract_name) {
    last_failure.clear();
    if (!contract_name || !*contract_name) {
        last_failure = "no module name";
        return nullptr;
    }
    std::string name = NativeName(contract_name);
    if (const size_t slash = name.rfind('/'); slash != std::string::npos) {
        if (IsThere(name)) return Open(name);
        name.erase(0, slash + 1);
        if (name.empty()) {
            last_failure = "no module name";
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
    return last_failure;
}

std::string LibraryDirectory() {
    static const std::string directory = FindLibraryDirectory();
    return directory;
}

}  // namespace platform
