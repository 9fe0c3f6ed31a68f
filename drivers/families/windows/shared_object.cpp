#include "families/shared_object.h"

#include <array>
#include <system_error>
#include <windows.h>

namespace families {

const char* const module_ending = ".dll";

std::filesystem::path OwnFolder() {
    HMODULE self = nullptr;
    GetModuleHandleExA(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        reinterpret_cast<LPCSTR>(&module_ending), &self);
    std::array<wchar_t, 32768> file{};
    GetModuleFileNameW(self, file.data(), static_cast<DWORD>(file.size()));
    return std::filesystem::path(file.data()).parent_path();
}

SharedObject::SharedObject(const std::filesystem::path& file, std::string& reason)
    : handle_(LoadLibraryW(file.c_str())) {
    if (handle_ == nullptr) {
        reason = std::system_category().message(static_cast<int>(GetLastError()));
    }
}

SharedObject::~SharedObject() {
    if (handle_ != nullptr) FreeLibrary(static_cast<HMODULE>(handle_));
}

void* SharedObject::Address(const char* name) const {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), name));
}

}  // namespace families
