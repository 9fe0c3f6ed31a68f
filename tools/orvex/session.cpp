#include "orvex/session.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "orvex/interrupt.h"
#include "orvex/names.h"
#include "orvex/orvex_errors.h"

namespace orvex {

namespace {

std::string describe(const std::string& what, int16 code) {
    std::array<char, ERROR_MSG_LEN> message{};
    ox_error_message(code, message.data());
    return what + ": " + message.data() + " [error " + std::to_string(code) + "]";
}

bool is_index(const std::string& text) {
    return !text.empty() && text.size() < 4 &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Whether the library has told that the camera was removed.
class Removal {
  public:
    static void on_removed(const FRAME_INFO* /*info*/, void* removal) {
        auto* self = static_cast<Removal*>(removal);
        const std::lock_guard hold(self->lock_);
        self->came_ = true;
        self->told_.notify_all();
    }
    // The failure that it causes may be seen before it is told.
    bool came_soon() {
        std::unique_lock hold(lock_);
        return told_.wait_for(hold, std::chrono::milliseconds(300), [&] { return came_; });
    }

  private:
    std::mutex lock_;
    std::condition_variable told_;
    bool came_ = false;
};

// The program has one camera open at a time.
Removal& removal() {
    static Removal only;
    return only;
}

}  // namespace

LibraryError::LibraryError(const std::string& what)
    : std::runtime_error(describe(what, ox_error_code())), code_(ox_error_code()) {}

void require(boolean16 result, const std::string& what) {
    if (result) return;
    const LibraryError error(what);
    if (error.code() == C7_DRIVER_COM_ERROR && removal().came_soon()) {
        throw CameraGone(error.what());
    }
    throw LibraryError(error);
}

void fail_run(const std::string& what) {
    if (removal().came_soon()) throw CameraGone(what);
    throw std::runtime_error(what);
}

Library::Library() {
    require(ox_orvex_init(), "cannot start the library");
}
Library::~Library() {
    ox_orvex_uninit();
}

std::vector<std::string> Library::camera_names() const {
    int16 total = 0;
    require(ox_cam_get_total(&total), "cannot count the cameras");
    std::vector<std::string> names;
    for (int16 i = 0; i < total; ++i) {
        std::array<char, CAM_NAME_LEN + 1> name{};
        require(ox_cam_get_name(i, name.data()), "cannot name camera " + std::to_string(i));
        names.emplace_back(name.data());
    }
    return names;
}

std::string Library::version() {
    uns16 packed = 0;
    require(ox_orvex_get_ver(&packed), "cannot tell the version");
    return std::to_string(packed >> 8) + '.' + std::to_string(packed >> 4 & 15) + '.' +
           std::to_string(packed & 15);
}

Camera::Camera(const Library& library, const std::string& name_or_index) : name_(name_or_index) {
    const std::vector<std::string> names = library.camera_names();
    if (is_index(name_or_index) &&
        std::find(names.begin(), names.end(), name_or_index) == names.end()) {
        const size_t index = std::stoul(name_or_index);
        if (index < names.size()) name_ = names[index];
    }
    if (!ox_cam_open(name_.data(), &handle_, EXT_OPEN_EXCLUSIVE)) {
        const LibraryError error("cannot open camera '" + name_ + "'");
        if (error.code() != C0_CAM_NAME_NOT_FOUND) throw LibraryError(error);
        throw std::runtime_error(error.what() + did_you_mean(name_, names));
    }
    // A camera that can't tell of it is still worth using.
    ox_cam_register_callback_ex3(handle_, OX_CALLBACK_CAM_REMOVED,
                                 reinterpret_cast<void*>(&Removal::on_removed), &removal());
}

Camera::~Camera() {
    ox_cam_close(handle_);
}

bool Camera::available(uns32 id) const {
    boolean16 answer = 0;
    return ox_get_param(handle_, id, ATTR_AVAIL, &answer) && answer;
}

std::string Camera::text(uns32 id) const {
    if (!available(id)) return {};
    // The count of a text that is fetched on first use is known only after a first read.
    std::vector<char> buffer(1024 + 1);
    if (!ox_get_param(handle_, id, ATTR_CURRENT, buffer.data())) return {};
    return buffer.data();
}

}  // namespace orvex
