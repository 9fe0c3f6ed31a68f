#include "run_camera.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <span>

#include "support/scene_image.h"

std::vector<int32> Listener::heard() const {
    const std::lock_guard guard(lock_);
    return heard_;
}

bool Listener::Heard(int32 frame) const {
    const std::lock_guard guard(lock_);
    return std::ranges::find(heard_, frame) != heard_.end();
}

void Listener::Hear(FRAME_INFO* info, void* context) {
    auto& self = *static_cast<Listener*>(context);
    {
        const std::lock_guard guard(self.lock_);
        self.heard_.push_back(info->FrameNr);
    }
    if (self.then_) self.then_(info->FrameNr);
}

RunCamera::RunCamera(const std::string& model)
    : cameras_(R"({"noise": false, "time_scale": 0, "scene": {"kind": "ramp"},
                   "cameras": [{"name": "It", "model": ")" +
               model + "\"}]}") {
    EXPECT_EQ(ox_orvex_init(), 1);
    EXPECT_EQ(Open(), 1);
}

boolean16 RunCamera::Open() {
    std::array<char, CAM_NAME_LEN> name{"It"};
    return ox_cam_open(name.data(), &handle_, EXT_OPEN_EXCLUSIVE);
}

void RunCamera::OpenWhatIsClosed() {
    int16 total = 0;
    if (!ox_cam_get_total(&total)) {
        EXPECT_EQ(ox_orvex_init(), 1);
    }
    if (!ox_cam_check(handle_)) {
        EXPECT_EQ(Open(), 1) << ox_error_code();
    }
}

Listener& RunCamera::Listen(int32 event, Listener::Then then) {
    Listener& listener = listeners_.emplace_back(std::move(then));
    EXPECT_EQ(listener.Register(handle_, event), 1) << ox_error_code();
    return listener;
}

void RunCamera::Console(std::string line) const {
    std::string answer(line.size() + 10, '\0');
    EXPECT_EQ(
        oz_cam_send_debug(handle_, line.data(), static_cast<uns16>(answer.size()), answer.data()),
        1);
    EXPECT_STREQ(answer.c_str(), "ok") << line;
}

void RunCamera::SetUpRing() const {
    uns32 bytes = 0;
    EXPECT_EQ(ox_exp_setup_cont(handle_, 1, &place, TIMED_MODE, 1, &bytes, CIRC_OVERWRITE), 1);
    EXPECT_EQ(bytes, frame_bytes);
}

boolean16 RunCamera::StartRing(uns32 frames) {
    // Not resized: the camera may still have the former ring.
    if (ring_.empty()) ring_.resize(size_t{2000} * frame_bytes);
    return ox_exp_start_cont(handle_, ring_.data(), frames * frame_bytes);
}

int32 RunCamera::Frames(int16* status) const {
    int16 unwanted = 0;
    uns32 bytes = 0;
    uns32 rings = 0;
    FRAME_INFO info{};
    const boolean16 known =
        ox_exp_check_cont_status_ex(handle_, status ? status : &unwanted, &bytes, &rings, &info);
    return known ? info.FrameNr : -1;
}

bool RunCamera::AwaitFrames(int32 count) const {
    return support::Eventually([&] { return Frames() >= count; });
}

uns32 RunCamera::Received() const {
    int16 status = 0;
    uns32 bytes = 0;
    return ox_exp_check_status(handle_, &status, &bytes) ? bytes / frame_bytes : 0;
}

boolean16 RunCamera::TakeNewest() const {
    void* frame = nullptr;
    return ox_exp_get_latest_frame(handle_, &frame);
}

boolean16 RunCamera::AskTemperature() const {
    int16 value = 0;
    return ox_get_param(handle_, PARAM_TEMP, ATTR_CURRENT, &value);
}

void RunCamera::ExpectWorks() const {
    Console("fault clear");  // one that an aborted run has not come to
    uns32 bytes = 0;
    ASSERT_EQ(ox_exp_setup_seq(handle_, 4, 1, &place, TIMED_MODE, 1, &bytes), 1) << ox_error_code();
    std::vector<uns16> pixels(bytes / 2);
    ASSERT_EQ(ox_exp_start_seq(handle_, pixels.data()), 1) << ox_error_code();
    EXPECT_TRUE(support::Eventually([&] {
        int16 status = 0;
        uns32 arrived = 0;
        return ox_exp_check_status(handle_, &status, &arrived) && status == READOUT_COMPLETE &&
               arrived == bytes;
    }));
    EXPECT_EQ(ox_exp_finish_seq(handle_, pixels.data(), 0), 1);
    const std::vector<uns16> expected = support::RampRegion(place);
    for (size_t frame = 0; frame < 4; ++frame)
        EXPECT_TRUE(std::ranges::equal(
            expected, std::span(pixels).subspan(frame * expected.size(), expected.size())));
}
