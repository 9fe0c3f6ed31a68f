#include "session.h"

#include <array>
#include <cstdlib>

#include "failure.h"

namespace endurance {

const std::vector<CameraKind>& camera_kinds() {
    static const std::vector<CameraKind> kinds{
        {"cmos", Delivery::requests, 2048, 512, 1},
        {"ccd", Delivery::requests, 1024, 64, 40},
        {"plain", Delivery::callbacks, 512, 64, 40},
    };
    return kinds;
}

void require(boolean16 result, const std::string& what) {
    if (result) return;
    const int16 code = ox_error_code();
    std::array<char, ERROR_MSG_LEN> message{};
    ox_error_message(code, message.data());
    throw Failure(text_of(what, ": expected success, seen error ", code, ", ", message.data()));
}

Session::~Session() {
    reader_.read_from(-1);
    if (started_) ox_orvex_uninit();
}

void Session::open_next() {
    if (!started_) {
        require(ox_orvex_init(), "starting the library");
        started_ = true;
        ++starts;
    }
    if (opens > 0) kind_ = (kind_ + 1) % camera_kinds().size();
    std::string name = tag_ + kind().model;
    require(ox_cam_open(name.data(), &camera_, EXT_OPEN_EXCLUSIVE), "opening " + name);
    ++opens;
    reader_.read_from(camera_);
}

void Session::close() {
    reader_.read_from(-1);
    require(ox_cam_close(camera_), "closing the camera");
    camera_ = -1;
}

void Session::stop_library() {
    reader_.read_from(-1);
    camera_ = -1;
    started_ = false;
    require(ox_orvex_uninit(), "stopping the library");
}

uns32 Session::frames_written() const {
    // Blanks make room for the answer.
    std::string question = "frames          ";
    std::array<char, 32> answer{};
    require(oz_cam_send_debug(camera_, question.data(), static_cast<uns16>(answer.size()),
                              answer.data()),
            "asking for the count of frames");
    return static_cast<uns32>(std::strtoul(answer.data(), nullptr, 10));
}

}  // namespace endurance
