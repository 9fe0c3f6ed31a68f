#include "orvex/view/live_run.h"

#include <algorithm>
#include <cstring>

#include "orvex/metadata_recording.h"

namespace orvex::view {

namespace {

RunRequest request_of(const RunSetUp& set_up) {
    RunRequest out;
    out.set_up.exposure_ms = set_up.exposure.count();
    out.set_up.frames = 0;
    out.mode = set_up.mode;
    return out;
}

// A view that shows the newest frame needs a short ring, and a disk that stalls a long one.
uint32_t ring_frames(const RunSetUp& set_up, bool records) {
    constexpr uint64_t shown_bytes = 64u << 20;
    if (records) return 0;
    uint64_t frame = 0;
    for (const rgn_type& r : set_up.regions) {
        frame += uint64_t{2} * image_width(r) * image_height(r);
    }
    return static_cast<uint32_t>(
        std::clamp<uint64_t>(shown_bytes / std::max<uint64_t>(frame, 1), 8, 1000));
}

rgn_type box_of(const std::vector<rgn_type>& regions) {
    rgn_type box = regions[0];
    for (const rgn_type& r : regions) {
        box.s1 = std::min(box.s1, r.s1);
        box.s2 = std::max(box.s2, r.s2);
        box.p1 = std::min(box.p1, r.p1);
        box.p2 = std::max(box.p2, r.p2);
    }
    return box;
}

uint32_t picture_bytes(const Facts& facts) {
    return facts.width * facts.height * 2;
}

}  // namespace

LiveRun::LiveRun(const Camera& camera, const RunSetUp& set_up, std::optional<RecordingFiles> files,
                 uint32_t frames)
    : camera_(camera),
      times_(files ? FrameTimes::Keep::begins : FrameTimes::Keep::latency),
      run_(camera, set_up, {ring_frames(set_up, files.has_value()), true}, times_.listener()),
      wanted_(frames) {
    const RunRequest request = request_of(set_up);
    facts_ = run_facts(camera, request, set_up.regions[0], run_.frame_bytes());
    facts_.frames = frames;
    plain_ = set_up.regions.size() == 1 && picture_bytes(facts_) == run_.frame_bytes();
    copy_.resize(run_.frame_bytes());
    if (files) {
        path_ = files->frames.path();
        recording_.emplace(std::move(*files), camera, facts_, set_up.regions);
    }
    if (plain_) return;
    facts_.region = box_of(set_up.regions);
    facts_.width = image_width(facts_.region);
    facts_.height = image_height(facts_.region);
    facts_.frame_bytes = picture_bytes(facts_);
}

void LiveRun::start() {
    facts_.start_utc = utc_now();
    run_.start();
    moved_ = std::chrono::steady_clock::now();
}

void LiveRun::add(uint32_t number) {
    if (!recording_ || complete() || refused_) return;
    // What comes behind a frame that is missing would seem to follow on the one before.
    refused_ = true;
    recording_->file()->add(copy_);
    refused_ = false;
    numbers_.push_back(number);
}

std::optional<uint32_t> LiveRun::take(bool with_copy) {
    const std::optional<uint32_t> number =
        run_.copy_next(with_copy || recording_ ? copy_.data() : nullptr);
    if (!number) return number;
    moved_ = std::chrono::steady_clock::now();
    add(*number);
    return number;
}

void LiveRun::picture(std::vector<uint16_t>& pixels) const {
    if (plain_) {
        pixels.resize(copy_.size() / 2);
        std::memcpy(pixels.data(), copy_.data(), pixels.size() * 2);
    } else {
        pixels = MetadataRecording::recompose(DecodedFrame(copy_, "the frame"), facts_);
    }
}

void LiveRun::check() {
    run_.expect_running();
    const std::optional<Milliseconds> limit = run_.time_limit();
    if (limit && std::chrono::steady_clock::now() - moved_ > *limit) {
        camera_.fail(late_frame_text(*limit, run_.taken()));
    }
}

void LiveRun::finish() {
    std::exception_ptr problem;
    try {
        run_.stop();
        while (recording_ && !complete() && !refused_ && take(true)) {
        }
    } catch (...) {
        problem = std::current_exception();
    }
    if (recording_) {
        std::optional<Recording> recording = std::move(recording_);
        recording_.reset();
        recording->finish(times_.stamps(numbers_), run_.gaps());
    }
    if (problem) std::rethrow_exception(problem);
}

}  // namespace orvex::view
