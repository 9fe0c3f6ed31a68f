#include "plugin_camera.h"

#include <array>
#include <chrono>
#include <stdexcept>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds run_limit{20};

void CheckLimit(Clock::time_point end) {
    if (Clock::now() > end) throw std::runtime_error("frames never came");
    std::this_thread::yield();
}

}  // namespace

PluginCamera::PluginCamera(Plugins plugins, const Setup& setup)
    : scene_(setup.size, setup.size, 20261121) {
    const std::string picture = folder_ / "scene.tif";
    scene_.WriteTiff(picture);
    const std::string configuration =
        R"({"noise": false, "time_scale": )" + setup.time_scale + R"(, "stamp": )" +
        (setup.stamp ? "true" : "false") + R"(, "scene": {"kind": "file", "path": ")" + picture +
        R"("}, "cameras": [{"model": ")" + setup.model + R"(", "name": "Subject"}]})";
    const std::string path = folder_.write("cameras.json", configuration).string();
    std::string modules = ORVEX_LIBRARY_DIR "/orvex";
    if (plugins == Plugins::samples) modules += ":" ORVEX_LIBRARY_DIR "/plugins";
    // A plug-in of the machine is none of the tests' business.
    for (const auto& [name, value] : {std::pair<const char*, std::string>{"ORVEX_SOFTCAM", path},
                                      {"ORVEX_MODULE_PATH", modules},
                                      {"SystemDrive", folder_.path().string()}}) {
        environment_.push_back(std::make_unique<support::Environment>(name, value));
    }
    Require(ox_orvex_init(), "init");
    std::array<char, CAM_NAME_LEN> name{"Subject"};
    Require(ox_cam_open(name.data(), &handle_, EXT_OPEN_EXCLUSIVE), "open");
}

PluginCamera::~PluginCamera() {
    ox_orvex_uninit();
}

void PluginCamera::Require(boolean16 result, const char* what) const {
    if (result) return;
    std::array<char, ERROR_MSG_LEN> message{};
    ox_error_message(ox_error_code(), message.data());
    throw std::runtime_error(std::string(what) + ": " + message.data());
}

std::string PluginCamera::Text(uns32 id) const {
    std::array<char, 256> text{};
    Require(ox_get_param(handle_, id, ATTR_CURRENT, text.data()), "get text");
    return text.data();
}

void PluginCamera::SetModule(int16 module, int16 parameter, uns32 value) const {
    // Behind the features of the camera.
    const auto modules = int16{2};
    const auto features = Get<uns32>(PARAM_PP_INDEX, ATTR_COUNT);
    Set(PARAM_PP_INDEX, static_cast<int16>(static_cast<int>(features) - modules + module));
    Set(PARAM_PP_PARAM_INDEX, parameter);
    Set(PARAM_PP_PARAM, value);
}

void PluginCamera::SwitchOn(uns32 threshold) const {
    SetModule(0, 0, 1);
    SetModule(0, 1, threshold);
}

std::vector<uns16> PluginCamera::StartSequence(uns16 frames) const {
    uns32 bytes = 0;
    Require(ox_exp_setup_seq(handle_, frames, 1, &region, TIMED_MODE, 5, &bytes), "setup");
    std::vector<uns16> pixels(bytes / 2, untouched);
    StartSequence(pixels);
    return pixels;
}

void PluginCamera::StartSequence(std::vector<uns16>& pixels) const {
    Require(ox_exp_start_seq(handle_, pixels.data()), "start");
}

void PluginCamera::AwaitSequence() const {
    const auto end = Clock::now() + run_limit;
    for (int16 status = EXPOSURE_IN_PROGRESS; status != READOUT_COMPLETE; CheckLimit(end)) {
        uns32 arrived = 0;
        Require(ox_exp_check_status(handle_, &status, &arrived), "status");
    }
}

std::vector<uns16> PluginCamera::RunSequence(uns16 frames) const {
    std::vector<uns16> pixels = StartSequence(frames);
    AwaitSequence();
    Require(ox_exp_finish_seq(handle_, pixels.data(), 0), "finish");
    return pixels;
}

std::vector<uns16> PluginCamera::StartContinuous(size_t frames, const rgn_type& roi,
                                                 uns32 exposure_ms) const {
    uns32 bytes = 0;
    Require(ox_exp_setup_cont(handle_, 1, &roi, TIMED_MODE, exposure_ms, &bytes, CIRC_OVERWRITE),
            "setup");
    std::vector<uns16> ring(bytes / 2 * frames, untouched);
    Require(ox_exp_start_cont(handle_, ring.data(), static_cast<uns32>(bytes * frames)), "start");
    return ring;
}

void PluginCamera::AwaitFirstFrame() const {
    const auto end = Clock::now() + run_limit;
    uns32 bytes = 0;
    for (uns32 rings = 0; bytes == 0 && rings == 0; CheckLimit(end)) {
        int16 status = 0;
        Require(ox_exp_check_cont_status(handle_, &status, &bytes, &rings), "status");
    }
}

uns32 PluginCamera::AwaitFrame(uns32 above, uns16** frame) const {
    const auto end = Clock::now() + run_limit;
    for (;; CheckLimit(end)) {
        FRAME_INFO info{};
        void* newest = nullptr;
        if (!ox_exp_get_latest_frame_ex(handle_, &newest, &info)) {
            Require(ox_error_code() == C3_FRAME_NOT_RETURNED, "latest frame");
            continue;
        }
        if (static_cast<uns32>(info.FrameNr) <= above) continue;
        *frame = static_cast<uns16*>(newest);
        return static_cast<uns32>(info.FrameNr);
    }
}
