/**
 * @file error.hpp
 * Failures of the library as exceptions.
 */
#ifndef ORVEX_CPP_ERROR_HPP
#define ORVEX_CPP_ERROR_HPP

#include <stdexcept>
#include <string>

#include "../orvex.h"

namespace orvex {

/** A call that the library refused. */
class Error : public std::runtime_error {
  public:
    /** Takes code and text of the last failure. @param what what could not be done */
    explicit Error(const std::string& what) : Error(what, ox_error_code()) {}
    Error(const std::string& what, int16 code) : Error(what, code, text_of(code)) {}

    /** The library's code, as C2_NOT_AVAILABLE. */
    int16 code() const noexcept { return code_; }
    /** The library's text of it. */
    const std::string& text() const noexcept { return text_; }

  private:
    Error(const std::string& what, int16 code, const std::string& text)
        : std::runtime_error(what + ": " + text + " [error " + std::to_string(code) + "]"),
          code_(code),
          text_(text) {}

    static std::string text_of(int16 code) {
        char text[ERROR_MSG_LEN] = "";
        ox_error_message(code, text);
        return text;
    }

    int16 code_;
    std::string text_;
};

/** The camera was unplugged, or its driver died. Close it; once it is back it can be opened again.
 */
class CameraGone : public std::runtime_error {
  public:
    explicit CameraGone(const std::string& what)
        : std::runtime_error("the camera is gone (" + what + ")") {}
};

/** A frame that did not come in time. The camera is as it was. */
class TimeOut : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/** Throws Error unless the call succeeded. Costs nothing when it did. */
inline void require(boolean16 result, const char* what) {
    if (!result) throw Error(what);
}
inline void require(boolean16 result, const std::string& what) {
    if (!result) throw Error(what);
}

}  // namespace orvex

#endif
