#pragma once

#include <optional>
#include <string>

#include "orvex/view/access.h"
#include "orvex/view/control.h"
#include "orvex/view/frame_board.h"
#include "orvex/view/request.h"

namespace orvex::view {

// A file of the page, which the build has put into the program.
struct PageFile {
    const char* path;  // "/style.css"
    const char* type;
    std::string_view content;
};

// Answers the requests to the live view.
class Site {
  public:
    Site(const Access& access, Control& control, FrameBoard& board);

    // What a request is answered with before its body is read: empty when it may go on.
    std::optional<Answer> refuse(const Request& request) const;
    Answer answer(const Request& request) const;
    // Headers that every answer has.
    static const std::vector<std::pair<std::string, std::string>>& headers();

    static constexpr size_t longest_path = 128;
    static constexpr size_t longest_body = 64 << 10;

  private:
    Role role_of(const Request& request) const;
    Answer dispatch(const Request& request, Role role) const;
    Answer enter(const Request& request) const;
    Answer state(const Request& request, Role role) const;
    Answer picture(const Request& request) const;
    Answer command(const Request& request) const;
    Answer file(const std::string& name) const;

    const Access& access_;
    Control& control_;
    FrameBoard& board_;
};

}  // namespace orvex::view
