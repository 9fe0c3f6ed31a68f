#include "families/shared_object.h"

#include <dlfcn.h>

namespace families {

const char* const module_ending = ".so";

std::filesystem::path OwnFolder() {
    Dl_info info{};
    if (dladdr(&module_ending, &info) == 0) return ".";
    return std::filesystem::path(info.dli_fname).parent_path();
}

SharedObject::SharedObject(const std::filesystem::path& file, std::string& reason)
    : handle_(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (handle_ == nullptr) reason = dlerror();
}

SharedObject::~SharedObject() {
    if (handle_ != nullptr) dlclose(handle_);
}

void* SharedObject::Address(const char* name) const {
    return dlsym(handle_, name);
}

}  // namespace families
