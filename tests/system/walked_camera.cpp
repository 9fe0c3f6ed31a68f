#include "walked_camera.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace {

constexpr uns8 untouched = 0xA5;

// Calls the visitor with a zero of a type's storage.
template <class Visitor>
void VisitStorage(int type, Visitor&& visitor) {
    switch (type) {
        case TYPE_INT16: visitor(int16{}); break;
        case TYPE_FLT64: visitor(flt64{}); break;
        case TYPE_UNS8: visitor(uns8{}); break;
        case TYPE_UNS16:
        case TYPE_BOOLEAN: visitor(uns16{}); break;
        case TYPE_UNS32: visitor(uns32{}); break;
        case TYPE_UNS64: visitor(uns64{}); break;
        case TYPE_ENUM: visitor(int32{}); break;
        case TYPE_INT64: visitor(int64{}); break;
        default: break;
    }
}

std::array<char, CAM_NAME_LEN> Name() {
    return {"Walk"};
}

}  // namespace

Reading::Reading(int16 hcam, uns32 id, int16 attribute) {
    storage_.fill(untouched);
    result_ = ox_get_param(hcam, id, attribute, storage_.data());
    error_ = ox_error_code();
}

double Reading::number(int type) const {
    double number = 0;
    if (!succeeded()) return number;
    VisitStorage(type, [&](auto value) {
        std::memcpy(&value, storage_.data(), sizeof value);
        number = static_cast<double>(value);
    });
    return number;
}

std::string Reading::Describe(int type) const {
    if (!succeeded()) return "error " + std::to_string(error_);
    if (type != TYPE_CHAR_PTR) return std::to_string(number(type));
    return reinterpret_cast<const char*>(storage_.data());
}

size_t Reading::Size(int type) const {
    if (type == TYPE_CHAR_PTR) {
        return std::strlen(reinterpret_cast<const char*>(storage_.data())) + 1;
    }
    size_t size = 0;
    VisitStorage(type, [&](auto value) { size = sizeof value; });
    return size;
}

bool Reading::KeptTheRest(int type) const {
    return std::all_of(storage_.begin() + static_cast<std::ptrdiff_t>(Size(type)), storage_.end(),
                       [](uns8 byte) { return byte == untouched; });
}

WalkedCamera::WalkedCamera(const std::string& model)
    : cameras_(R"({"noise": false, "time_scale": 0, "cameras": [{"model": ")" + model +
               R"(", "name": "Walk"}]})") {
    if (!ox_orvex_init() || !ox_cam_open(Name().data(), &handle_, EXT_OPEN_EXCLUSIVE)) {
        throw std::runtime_error("no camera: error " + std::to_string(ox_error_code()));
    }
}

WalkedCamera::~WalkedCamera() {
    ox_orvex_uninit();
}

void WalkedCamera::Reopen() {
    if (!ox_cam_close(handle_) || !ox_cam_open(Name().data(), &handle_, EXT_OPEN_EXCLUSIVE)) {
        throw std::runtime_error("not opened again: error " + std::to_string(ox_error_code()));
    }
}

int16 WalkedCamera::Set(uns32 id, int type, double value) const {
    std::array<uns8, 512> storage{};
    VisitStorage(type, [&](auto number) {
        number = static_cast<decltype(number)>(value);
        std::memcpy(storage.data(), &number, sizeof number);
    });
    if (ox_set_param(handle_, id, storage.data())) return 0;
    return ox_error_code();
}

bool WalkedCamera::SetUp() const {
    constexpr rgn_type region{.s1 = 0, .s2 = 7, .sbin = 1, .p1 = 0, .p2 = 7, .pbin = 2};
    int32 mode = TIMED_MODE;
    uns32 bytes = 0;
    ox_get_param(handle_, PARAM_EXPOSURE_MODE, ATTR_DEFAULT, &mode);
    return ox_exp_setup_seq(handle_, 2, 1, &region, static_cast<int16>(mode), 25, &bytes);
}
