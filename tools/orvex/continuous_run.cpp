#include "orvex/continuous_run.h"

#include <algorithm>

#include "orvex/orvex_errors.h"

namespace orvex {

namespace {

// A ring that nobody chose: this much memory, within these numbers of frames.
constexpr uint64_t default_ring_bytes = 256u << 20;
constexpr uint64_t default_ring_min = 8;
constexpr uint64_t default_ring_max = 1000;

// The library tells the size of a ring in 32 bits.
constexpr uint64_t ring_bytes_max = 0xFFFFFFFF;

uint32_t choose_ring(uint32_t wanted, uint32_t frame_bytes) {
    const uint64_t most = ring_bytes_max / frame_bytes;
    if (wanted > most) {
        throw std::invalid_argument("a ring ends at 4 GiB, which are " + std::to_string(most) +
                                    " frames of " + std::to_string(frame_bytes) + " bytes");
    }
    if (wanted) return wanted;
    const uint64_t fit = default_ring_bytes / frame_bytes;
    return static_cast<uint32_t>(
        std::min(std::clamp(fit, default_ring_min, default_ring_max), most));
}

// Eight bytes anywhere in memory.
struct __attribute__((packed, may_alias)) Word {
    uint64_t value;
};

// The driver may write into a frame while it is copied, as a camera's hardware does. take() throws
// such a copy away, which a checker for data races can't know.
__attribute__((noinline, no_sanitize("thread"))) void copy_frame(uint8_t* to, const void* from,
                                                                 size_t bytes) {
    const auto* words = static_cast<const volatile Word*>(from);
    auto* out = reinterpret_cast<Word*>(to);
    const size_t count = bytes / sizeof(Word);
    for (size_t i = 0; i < count; ++i) out[i].value = words[i].value;
    const auto* rest = static_cast<const volatile uint8_t*>(from);
    for (size_t i = count * sizeof(Word); i < bytes; ++i) to[i] = rest[i];
}

}  // namespace

ContinuousRun::ContinuousRun(const Camera& camera, const ContinuousSetUp& set_up)
    : camera_(camera), overwrite_(set_up.overwrite), times_(set_up.times) {
    const uns32 time = apply_exposure(camera, set_up.exposure_ms, set_up.mode);
    require(ox_exp_setup_cont(camera.handle(), static_cast<uns16>(set_up.regions.size()),
                              set_up.regions.data(), set_up.mode, time, &frame_bytes_,
                              set_up.overwrite ? CIRC_OVERWRITE : CIRC_NO_OVERWRITE),
            "the set-up was refused");
    if (frame_bytes_ == 0) throw std::runtime_error("the regions hold no pixels");
    ring_frames_ = choose_ring(set_up.ring_frames, frame_bytes_);
    ring_.resize(size_t{frame_bytes_} * ring_frames_);
    require(ox_cam_register_callback_ex3(camera.handle(), OX_CALLBACK_EOF,
                                         reinterpret_cast<void*>(&on_end_of_frame), this),
            "cannot hear of frames");
}

ContinuousRun::~ContinuousRun() {
    if (started_) ox_exp_stop_cont(camera_.handle(), CCS_HALT_CLOSE_SHTR);
    ox_cam_deregister_callback(camera_.handle(), OX_CALLBACK_EOF);
}

void ContinuousRun::start() {
    require(ox_exp_start_cont(camera_.handle(), ring_.data(), static_cast<uns32>(ring_.size())),
            "the run did not start");
    started_ = true;
}

void ContinuousRun::stop() {
    if (!started_) return;
    started_ = false;
    require(ox_exp_stop_cont(camera_.handle(), CCS_HALT_CLOSE_SHTR), "the run did not stop");
}

void ContinuousRun::on_end_of_frame(const FRAME_INFO* info, void* context) {
    const Latency::Clock::time_point now = Latency::Clock::now();
    ContinuousRun& run = *static_cast<ContinuousRun*>(context);
    const std::lock_guard hold(run.lock_);
    run.newest_ = std::max(run.newest_.load(), static_cast<uint32_t>(info->FrameNr));
    run.latency_.add(info->TimeStampEOF, now);
    if (run.times_) run.times_->note(*info);
    run.told_.notify_one();
}

void ContinuousRun::wait_for_frame(std::chrono::milliseconds limit) {
    std::unique_lock hold(lock_);
    told_.wait_for(hold, limit, [&] { return newest_ > taken_; });
}

bool ContinuousRun::running() const {
    int16 status = 0;
    uns32 bytes = 0;
    require(ox_exp_check_status(camera_.handle(), &status, &bytes), "the run failed");
    return status != READOUT_NOT_ACTIVE;
}

uint32_t ContinuousRun::finished_after(uint32_t number) const {
    // Notifications may lag behind what is in the ring already; the driver's count does not. It
    // wraps at 32 bits, and so does the place of the frame.
    int16 status = 0;
    uns32 bytes = 0;
    require(ox_exp_check_status(camera_.handle(), &status, &bytes), "the run failed");
    return (bytes - number * frame_bytes_) / frame_bytes_;
}

std::optional<uint32_t> ContinuousRun::take(std::vector<uint8_t>* copy) {
    // A camera that laps the ring faster than a frame can be copied is not raced without end: the
    // caller may have reason to stop.
    constexpr int attempts = 3;
    for (int attempt = 1; attempt <= attempts && !overran_; ++attempt) {
        FRAME_INFO info{};
        void* at = nullptr;
        if (!ox_exp_get_oldest_frame_ex(camera_.handle(), &at, &info)) {
            const int16 code = ox_error_code();
            if (code == C3_FRAME_NOT_RETURNED) return std::nullopt;
            if (code != C3_BUFFER_OVERRUN) throw LibraryError("cannot take a frame");
            overran_ = true;
            break;
        }
        if (static_cast<uint32_t>(info.FrameNr) <= taken_) return std::nullopt;
        const uint32_t number = taken_ + 1;
        if (copy) copy_frame(copy->data(), at, frame_bytes_);
        // The driver may be writing one frame more than it has finished.
        const uint32_t after = finished_after(number);
        if (after + 1 < ring_frames_) {
            require(ox_exp_unlock_oldest_frame(camera_.handle()), "cannot give a frame back");
            taken_ = number;
            return number;
        }
        if (!overwrite_) {
            overran_ = true;
            break;
        }
        // Half of the ring is given up, so that the other half can be taken in peace; if that is
        // not enough, all but the newest frame.
        skip(attempt == 1 ? after - ring_frames_ / 2 + 1 : after);
    }
    return std::nullopt;
}

void ContinuousRun::skip(uint32_t count) {
    const uint32_t first = taken_ + 1;
    for (uint32_t i = 0; i < count; ++i) {
        require(ox_exp_unlock_oldest_frame(camera_.handle()), "cannot give a frame back");
    }
    if (!gaps_.empty() && gaps_.back().first + gaps_.back().count == first) {
        gaps_.back().count += count;
    } else {
        gaps_.push_back({first, count});
    }
    lost_ += count;
    taken_ += count;
}

uint32_t ContinuousRun::waiting() const {
    const uint32_t newest = newest_, taken = taken_;
    return newest > taken ? std::min(newest - taken, ring_frames_) : 0;
}

Percentiles ContinuousRun::latency() const {
    // Copied, so that no notification has to wait for the figures.
    std::unique_lock hold(lock_);
    const Latency copy = latency_;
    hold.unlock();
    return copy.percentiles();
}

}  // namespace orvex
