#include "orvex/acquisition.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <numeric>

#include "orvex/exposure_mode.h"
#include "orvex/frame_times.h"
#include "orvex/interrupt.h"
#include "orvex/progress.h"

namespace orvex {

namespace {

using Clock = std::chrono::steady_clock;

// Frames that are there, for as long as it exists.
class FrameListener {
  public:
    FrameListener(const Camera& camera, FrameTimes& times) : camera_(camera) {
        require(ox_cam_register_callback_ex3(
                    camera.handle(), OX_CALLBACK_EOF,
                    reinterpret_cast<void*>(&FrameListener::on_end_of_frame), &times),
                "cannot hear of frames");
    }
    ~FrameListener() { ox_cam_deregister_callback(camera_.handle(), OX_CALLBACK_EOF); }
    FrameListener(const FrameListener&) = delete;
    FrameListener& operator=(const FrameListener&) = delete;

  private:
    static void on_end_of_frame(const FRAME_INFO* info, void* times) {
        static_cast<FrameTimes*>(times)->note(*info);
    }

    const Camera& camera_;
};

// Polls until the run has ended.
void wait_for_end(const Camera& camera, const Facts& facts, std::optional<Seconds> limit) {
    Progress progress("exposing", facts.frames);
    const uns32 total_bytes = facts.frame_bytes * facts.frames;
    uns32 bytes = 0;
    Clock::time_point moved = Clock::now();
    for (int16 status = EXPOSURE_IN_PROGRESS; status != READOUT_COMPLETE;) {
        const uns32 before = bytes;
        require(ox_exp_check_status(camera.handle(), &status, &bytes), "the run failed");
        const Clock::time_point now = Clock::now();
        if (bytes != before) moved = now;
        const uint32_t frames =
            facts.frame_bytes ? std::min(bytes, total_bytes) / facts.frame_bytes : 0;
        progress.update(frames);
        if (status == READOUT_FAILED) fail_run("the read-out failed");
        if (status == READOUT_NOT_ACTIVE) fail_run("the run ended early");
        if (status == READOUT_COMPLETE) break;
        if (limit && now - moved > *limit) fail_run(late_frame_text(*limit, frames));
        sleep_or_stop(std::chrono::milliseconds(2));
    }
    progress.update(facts.frames);
}

// The last frame may be there before it is told of, and some may never be.
std::vector<FrameStamp> collect_stamps(const FrameTimes& times, uint32_t frames) {
    const Clock::time_point give_up = Clock::now() + std::chrono::milliseconds(100);
    while (times.count() < frames && Clock::now() < give_up) {
        sleep_or_stop(std::chrono::milliseconds(1));
    }
    std::vector<uint32_t> numbers(frames);
    std::iota(numbers.begin(), numbers.end(), 1);
    return times.stamps(numbers);
}

}  // namespace

std::span<const uint16_t> Acquisition::frame(uint32_t index) const {
    const size_t count = facts.frame_bytes / 2;
    return std::span(pixels).subspan(index * count, count);
}

std::optional<Seconds> time_limit(const Camera& camera, const RunRequest& request) {
    if (request.limit) return request.limit->count() > 0 ? request.limit : std::nullopt;
    if (waits_for_trigger(request.mode)) return std::nullopt;
    return frame_time_limit(camera, request.set_up.exposure_ms);
}

std::string late_frame_text(Seconds limit, uint32_t last) {
    std::array<char, 96> text{};
    std::snprintf(text.data(), text.size(), "no frame within %.3g s; ", limit.count());
    return text.data() + (last ? "the last was frame " + std::to_string(last)
                               : std::string("there was none before"));
}

std::string image_type(const Camera& camera, const Facts& facts) {
    // A camera that knows no state of a shutter has none to keep closed.
    const int32 shutter = camera.get_or<int32>(PARAM_SHTR_STATUS, SHTR_UNKNOWN);
    const bool has_shutter = shutter != SHTR_FAULT && shutter != SHTR_UNKNOWN;
    const int32 opens = camera.get_or<int32>(PARAM_SHTR_OPEN_MODE, OPEN_PRE_EXPOSURE);
    if (facts.exposure_ms == 0) return "bias";
    return has_shutter && opens == OPEN_NEVER ? "dark" : "light";
}

Facts run_facts(const Camera& camera, const RunRequest& request, const rgn_type& region,
                uint32_t frame_bytes) {
    Facts out = read_facts(camera);
    out.exposure_ms = request.set_up.exposure_ms;
    out.exposure_mode = exposure_mode_name(request.mode);
    out.image_type = request.image_type.empty() ? image_type(camera, out) : request.image_type;
    out.region = region;
    out.width = (region.s2 - region.s1 + 1u) / region.sbin;
    out.height = (region.p2 - region.p1 + 1u) / region.pbin;
    out.frame_bytes = frame_bytes;
    out.frames = request.set_up.frames;
    out.start_utc = utc_now();
    return out;
}

Acquisition take_sequence(const Camera& camera, const RunRequest& request) {
    const SetUp& set_up = request.set_up;
    const rgn_type region = resolve_region(camera, set_up);
    const uns32 time = apply_exposure(camera, set_up.exposure_ms, request.mode);
    uns32 bytes = 0;
    require(
        ox_exp_setup_seq(camera.handle(), set_up.frames, 1, &region, request.mode, time, &bytes),
        "the set-up was refused");
    Acquisition out;
    out.facts = run_facts(camera, request, region, bytes / set_up.frames);
    const Facts& facts = out.facts;
    if (facts.frame_bytes != facts.width * facts.height * 2) {
        throw std::runtime_error("the frame of " + std::to_string(facts.frame_bytes) +
                                 " bytes is not a plain image; turn metadata off");
    }
    const std::optional<Seconds> limit = time_limit(camera, request);
    out.pixels.resize(bytes / 2);
    FrameTimes times;
    const FrameListener listener(camera, times);
    out.facts.start_utc = utc_now();
    require(ox_exp_start_seq(camera.handle(), out.pixels.data()), "the run did not start");
    try {
        wait_for_end(camera, facts, limit);
    } catch (...) {
        ox_exp_abort(camera.handle(), CCS_HALT_CLOSE_SHTR);
        throw;
    }
    out.stamps = collect_stamps(times, facts.frames);
    require(ox_exp_finish_seq(camera.handle(), out.pixels.data(), 0), "the run did not finish");
    return out;
}

Statistics measure(const Acquisition& acquisition, uint32_t index) {
    const std::span<const uint16_t> frame = acquisition.frame(index);
    Statistics out;
    if (frame.empty()) return out;
    const double count = static_cast<double>(frame.size());
    double sum = 0, squares = 0;
    for (const uint16_t pixel : frame) {
        sum += pixel;
        squares += static_cast<double>(pixel) * pixel;
    }
    out.mean = sum / count;
    out.deviation = std::sqrt(std::max(0.0, squares / count - out.mean * out.mean));
    const auto [low, high] = std::minmax_element(frame.begin(), frame.end());
    out.min = *low;
    out.max = *high;
    if (acquisition.facts.frames < 2) return out;
    // The scene cancels in the difference of two frames, the noise of both adds in squares.
    const std::span<const uint16_t> other = acquisition.frame(index ? index - 1 : 1);
    double difference = 0, difference_squares = 0;
    for (size_t i = 0; i < frame.size(); ++i) {
        const double d = static_cast<double>(frame[i]) - other[i];
        difference += d;
        difference_squares += d * d;
    }
    const double offset = difference / count;
    out.noise = std::sqrt(std::max(0.0, difference_squares / count - offset * offset) / 2);
    return out;
}

}  // namespace orvex
