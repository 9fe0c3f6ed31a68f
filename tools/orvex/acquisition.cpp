#include "orvex/acquisition.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <numeric>

#include "orvex/exposure_mode.h"
#include "orvex/frame_times.h"
#include "orvex/interrupt.h"
#include "orvex/progress.h"

namespace orvex {

namespace {

using Clock = std::chrono::steady_clock;

void wait_for_end(const Camera& camera, Sequence& sequence, std::optional<Seconds> limit) {
    constexpr std::chrono::milliseconds look{20};
    Progress progress("exposing", sequence.frames());
    uint32_t frames = 0;
    Clock::time_point moved = Clock::now();
    while (!sequence.wait_for(look)) {
        const Clock::time_point now = Clock::now();
        if (sequence.arrived() != frames) moved = now;
        frames = sequence.arrived();
        progress.update(frames);
        if (limit && now - moved > *limit) camera.fail(late_frame_text(*limit, frames));
        sleep_or_stop({});
    }
    progress.update(sequence.frames());
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

RunSetUp run_set_up(const RunRequest& request, const std::vector<rgn_type>& regions) {
    return {Milliseconds(request.set_up.exposure_ms), regions, request.mode};
}

std::optional<Seconds> time_limit(const RunRequest& request, std::optional<Milliseconds> usual) {
    if (!request.limit) return usual;
    return request.limit->count() > 0 ? request.limit : std::nullopt;
}

std::string image_type(const Camera& camera, const Facts& facts) {
    // A camera that knows no state of a shutter has none to keep closed.
    const int32 shutter = camera.get_or<PARAM_SHTR_STATUS>(SHTR_UNKNOWN);
    const bool has_shutter = shutter != SHTR_FAULT && shutter != SHTR_UNKNOWN;
    const int32 opens = camera.get_or<PARAM_SHTR_OPEN_MODE>(OPEN_PRE_EXPOSURE);
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
    out.width = image_width(region);
    out.height = image_height(region);
    out.frame_bytes = frame_bytes;
    out.frames = request.set_up.frames;
    out.start_utc = utc_now();
    return out;
}

Acquisition take_sequence(const Camera& camera, const RunRequest& request) {
    const SetUp& set_up = request.set_up;
    const rgn_type region = resolve_region(camera, set_up);
    FrameTimes times(FrameTimes::Keep::begins);
    Sequence sequence(camera, run_set_up(request, {region}), set_up.frames, times.listener());
    Acquisition out;
    out.facts = run_facts(camera, request, region, sequence.frame_bytes());
    const Facts& facts = out.facts;
    if (facts.frame_bytes != facts.width * facts.height * 2) {
        throw std::runtime_error("the frame of " + std::to_string(facts.frame_bytes) +
                                 " bytes is not a plain image; turn metadata off");
    }
    out.facts.start_utc = utc_now();
    sequence.start();
    wait_for_end(camera, sequence, time_limit(request, sequence.time_limit()));
    out.stamps = collect_stamps(times, facts.frames);
    sequence.finish();
    out.pixels = sequence.take_buffer();
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
