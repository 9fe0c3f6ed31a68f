#pragma once

#include <filesystem>
#include <string>
#include <utility>

// Modules as the system loads them.
namespace families {

// The folder of this module.
std::filesystem::path OwnFolder();
// What the names of modules end with, ".so".
extern const char* const module_ending;

// A loaded module, for as long as the object lives.
class SharedObject {
  public:
    // What it holds stays its own: names of one are not seen by another. Null with the system's
    // reason when it can't be loaded.
    SharedObject(const std::filesystem::path& file, std::string& reason);
    ~SharedObject();
    SharedObject(SharedObject&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    SharedObject& operator=(SharedObject&&) = delete;

    explicit operator bool() const { return handle_ != nullptr; }
    // Null when there is none of that name.
    template <class Function>
    Function* Find(const char* name) const {
        return reinterpret_cast<Function*>(Address(name));
    }

  private:
    void* Address(const char* name) const;

    void* handle_;
};

}  // namespace families
