#include "ideal_camera.h"

#include <array>
#include <chrono>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>

namespace {

constexpr std::chrono::seconds run_limit{20};

std::string Configuration(const std::string& model, const std::string& picture) {
    return R"({"noise": false, "time_scale": 0, "scene": {"kind": "file", "path": ")" + picture +
           R"("}, "cameras": [{"model": ")" + model + R"(", "name": "Ideal"}]})";
}

}  // namespace

IdealCamera::IdealCamera(const std::string& model, uns32 columns, uns32 rows)
    : scene_(columns, rows, 20261121) {
    const std::string picture = folder_ / "scene.tif";
    scene_.WriteTiff(picture);
    const std::string configuration =
        folder_.write("cameras.json", Configuration(model, picture)).string();
    for (const auto& [name, value] :
         {std::pair<const char*, std::string>{"ORVEX_SOFTCAM", configuration},
          {"ORVEX_MODULE_PATH", ORVEX_LIBRARY_DIR "/orvex"}}) {
        environment_.push_back(std::make_unique<support::Environment>(name, value));
    }
    Require(ox_orvex_init(), "init");
    std::array<char, CAM_NAME_LEN> name{"Ideal"};
    Require(ox_cam_open(name.data(), &handle_, EXT_OPEN_EXCLUSIVE), "open");
}

IdealCamera::~IdealCamera() {
    ox_orvex_uninit();
}

void IdealCamera::Require(boolean16 result, const char* what) const {
    if (result) return;
    std::array<char, ERROR_MSG_LEN> message{};
    ox_error_message(ox_error_code(), message.data());
    throw std::runtime_error(std::string(what) + ": " + message.data());
}

void IdealCamera::Set(uns32 id, int32 value) const {
    // A value of 16 bits lies in the first two bytes, as in any smaller storage.
    Require(ox_set_param(handle_, id, &value), "set");
}

std::vector<uns16> IdealCamera::Run(uns16 frames, const std::vector<rgn_type>& regions,
                                    int16 exp_mode, uns32 exposure_time) const {
    uns32 bytes = 0;
    Require(ox_exp_setup_seq(handle_, frames, static_cast<uns16>(regions.size()), regions.data(),
                             exp_mode, exposure_time, &bytes),
            "setup");
    std::vector<uns16> pixels(bytes / 2, 0xABCD);
    Require(ox_exp_start_seq(handle_, pixels.data()), "start");
    const auto end = std::chrono::steady_clock::now() + run_limit;
    int16 status = EXPOSURE_IN_PROGRESS;
    while (status != READOUT_COMPLETE) {
        uns32 arrived = 0;
        Require(ox_exp_check_status(handle_, &status, &arrived), "status");
        if (std::chrono::steady_clock::now() > end) throw std::runtime_error("the run never ended");
        std::this_thread::yield();
    }
    Require(ox_exp_finish_seq(handle_, pixels.data(), 0), "finish");
    return pixels;
}
