#include "session.h"

#include <array>
#include <cstdlib>

namespace endurance {

const std::vector<CameraKind>& camera_kinds() {
    static const std::vector<CameraKind> kinds{
        {"cmos", Delivery::requests, 2048, 512, 1},
        {"ccd", Delivery::requests, 1024, 64, 40},
        {"plain", Delivery::callbacks, 512, 64, 40},
    };
    return kinds;
}

Session::~Session() {
    reader_.read_from(-1);
}

void Session::open_next() {
    if (!library_) {
        library_.emplace();
        ++starts;
    }
    if (opens > 0) kind_ = (kind_ + 1) % camera_kinds().size();
    camera_.emplace(*library_, tag_ + kind().model);
    ++opens;
    reader_.read_from(camera());
}

void Session::close() {
    reader_.read_from(-1);
    camera_.reset();
}

void Session::stop_library() {
    reader_.read_from(-1);
    library_.reset();
    camera_.reset();
}

uns32 Session::frames_written() const {
    // Blanks make room for the answer.
    std::string question = "frames          ";
    std::array<char, 32> answer{};
    orvex::require(oz_cam_send_debug(camera(), question.data(), static_cast<uns16>(answer.size()),
                                     answer.data()),
                   "asking for the count of frames");
    return static_cast<uns32>(std::strtoul(answer.data(), nullptr, 10));
}

}  // namespace endurance
