#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "orvex/orvex.h"

// The library as C++ objects: what is opened is closed, what fails throws.
namespace orvex {

// A call that the library refused, with the library's own code and text.
class LibraryError : public std::runtime_error {
  public:
    // Takes code and text of the last error.
    explicit LibraryError(const std::string& what);
    int16 code() const { return code_; }

  private:
    int16 code_;
};

// The camera was unplugged, or its driver died.
class CameraGone : public std::runtime_error {
  public:
    explicit CameraGone(const std::string& what)
        : std::runtime_error("the camera is gone (" + what + ")") {}
};

// Throws unless the call succeeded: CameraGone when that is why, else LibraryError.
void require(boolean16 result, const std::string& what);

// A run that went wrong without a call that failed.
[[noreturn]] void fail_run(const std::string& what);

class Library {
  public:
    Library();
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    std::vector<std::string> camera_names() const;
    // As "major.minor.patch".
    static std::string version();
};

class Camera {
  public:
    // A number opens the camera with that index, anything else the camera of that name.
    Camera(const Library& library, const std::string& name_or_index);
    ~Camera();
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    int16 handle() const { return handle_; }
    const std::string& name() const { return name_; }

    bool available(uns32 id) const;
    // The caller picks T by the parameter's type.
    template <class T>
    T get(uns32 id, int16 attribute = ATTR_CURRENT) const {
        T value{};
        require(ox_get_param(handle_, id, attribute, &value), "cannot read the parameter");
        return value;
    }
    template <class T>
    T get_or(uns32 id, T otherwise, int16 attribute = ATTR_CURRENT) const {
        T value{};
        return available(id) && ox_get_param(handle_, id, attribute, &value) ? value : otherwise;
    }
    template <class T>
    void set(uns32 id, T value) const {
        require(ox_set_param(handle_, id, &value), "cannot set the parameter");
    }
    // Empty when the camera has no such text.
    std::string text(uns32 id) const;

  private:
    std::string name_;
    int16 handle_ = -1;
};

}  // namespace orvex
