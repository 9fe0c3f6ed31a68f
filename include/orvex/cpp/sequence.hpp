/**
 * @file sequence.hpp
 * A fixed number of exposures into one buffer.
 */
#ifndef ORVEX_CPP_SEQUENCE_HPP
#define ORVEX_CPP_SEQUENCE_HPP

#include <chrono>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "frame_events.hpp"
#include "run_set_up.hpp"

namespace orvex {

/**
 * A sequence with its buffer. It can be run any number of times; what ends it early, the end of the
 * object too, stops the camera.
 */
class Sequence {
  public:
    /**
     * Sets up and provides the buffer. Talks to the camera.
     * @param frames 1 to 65535
     * @param on_frame called with what is known of each frame, on a thread of the library
     * @throws std::invalid_argument, Error
     */
    Sequence(const Camera& camera, const RunSetUp& set_up, uns16 frames = 1,
             EventFunction on_frame = {})
        : frames_(frames), regions_(set_up.regions) {
        if (frames == 0) throw std::invalid_argument("a sequence has at least one frame");
        if (regions_.empty()) regions_.push_back(whole_sensor(camera));
        const uns32 time = apply_exposure(camera, set_up.exposure, set_up.mode);
        uns32 bytes = 0;
        camera.require(
            ox_exp_setup_seq(camera.handle(), frames, static_cast<uns16>(regions_.size()),
                             regions_.data(), set_up.mode, time, &bytes),
            "the set-up was refused");
        frame_bytes_ = bytes / frames;
        limit_ = frame_time_limit(camera, set_up);
        buffer_.resize((bytes + 1) / 2);
        events_ = std::make_unique<detail::FrameEvents>(camera.opened(), std::move(on_frame));
    }
    ~Sequence() {
        if (events_ && running_) ox_exp_abort(camera().handle, CCS_HALT_CLOSE_SHTR);
    }
    Sequence(Sequence&&) = default;
    Sequence& operator=(Sequence&&) = delete;

    uns16 frames() const { return frames_; }
    uns32 frame_bytes() const { return frame_bytes_; }
    const std::vector<rgn_type>& regions() const { return regions_; }
    /** How long a frame may take; nothing when it waits for a trigger. */
    std::optional<Milliseconds> time_limit() const { return limit_; }

    /** Talks to the camera. @throws Error */
    void start() {
        events_->restart();
        arrived_ = 0;
        camera().require(ox_exp_start_seq(camera().handle, buffer_.data()),
                         "the run did not start");
        running_ = true;
    }

    /** Frames that are in the buffer, as a wait saw last. */
    uns32 arrived() const { return arrived_; }

    /**
     * Waits until all frames are there; false when the time is over before.
     * @throws CameraGone, Error or std::runtime_error when they will not come
     */
    bool wait_for(Milliseconds limit) {
        // A run that ends without a frame is seen to have ended within this time.
        constexpr Milliseconds look{10};
        const Clock::time_point end =
            Clock::now() + std::chrono::duration_cast<Clock::duration>(limit);
        for (;;) {
            const uns32 seen = events_->newest();
            if (ask()) return true;
            const Clock::time_point now = Clock::now();
            if (now >= end) return false;
            events_->wait_beyond(seen, std::min<Milliseconds>(end - now, look));
        }
    }

    /** Ends a sequence whose frames are there: they are post-processed and the application's. */
    void finish() {
        running_ = false;
        camera().require(ox_exp_finish_seq(camera().handle, buffer_.data(), 0),
                         "the run did not finish");
    }

    /** Stops the camera. @throws Error */
    void abort() {
        running_ = false;
        camera().require(ox_exp_abort(camera().handle, CCS_HALT_CLOSE_SHTR),
                         "cannot stop the camera");
    }

    /**
     * Runs from start to finish.
     * @param limit of a frame; time_limit() when not given, 0 for none
     * @throws TimeOut, CameraGone, Error
     */
    void run(std::optional<Milliseconds> limit = std::nullopt) {
        constexpr Milliseconds look{100};
        if (!limit) limit = limit_.value_or(Milliseconds(0));
        start();
        uns32 before = 0;
        Clock::time_point moved = Clock::now();
        while (!wait_for(limit->count() > 0 ? std::min(look, *limit) : look)) {
            const Clock::time_point now = Clock::now();
            if (arrived_ != before) moved = now;
            before = arrived_;
            if (limit->count() > 0 && now - moved >= *limit) {
                abort();
                camera().fail<TimeOut>(late_frame_text(*limit, before));
            }
        }
        finish();
    }

    /** A frame's bytes. @param number from 1 */
    Bytes bytes(uns32 number) const {
        return {reinterpret_cast<const uns8*>(buffer_.data()) + size_t{number - 1} * frame_bytes_,
                frame_bytes_};
    }
    /** A frame's pixels, row after row, when it has no metadata. @param number from 1 */
    Pixels pixels(uns32 number) const {
        return {buffer_.data() + size_t{number - 1} * (frame_bytes_ / 2), frame_bytes_ / 2};
    }
    /** Hands the buffer over; the sequence can't be run again. */
    std::vector<uns16> take_buffer() { return std::move(buffer_); }

  private:
    using Clock = std::chrono::steady_clock;

    detail::OpenCamera& camera() const { return events_->camera(); }

    // Whether all frames are there.
    bool ask() {
        int16 status = 0;
        uns32 bytes = 0;
        camera().require(ox_exp_check_status(camera().handle, &status, &bytes), "the run failed");
        if (status == READOUT_FAILED) camera().fail("the read-out failed");
        if (status == READOUT_NOT_ACTIVE) camera().fail("the run ended early");
        arrived_ =
            status == READOUT_COMPLETE ? frames_ : std::min<uns32>(bytes / frame_bytes_, frames_);
        return status == READOUT_COMPLETE;
    }

    uns16 frames_;
    uns32 frame_bytes_ = 0;
    std::vector<rgn_type> regions_;
    std::optional<Milliseconds> limit_;
    std::vector<uns16> buffer_;
    uns32 arrived_ = 0;
    bool running_ = false;
    std::unique_ptr<detail::FrameEvents> events_;
};

/** A picture: 16-bit pixels, row after row. */
struct Image {
    uns32 width = 0;
    uns32 height = 0;
    std::vector<uns16> pixels;
};

/**
 * Takes one exposure of one region.
 * @throws TimeOut, CameraGone, Error; std::invalid_argument for a frame that is no plain image
 */
inline Image snap(const Camera& camera, const RunSetUp& set_up = {}) {
    Sequence sequence(camera, set_up);
    const rgn_type region = sequence.regions().front();
    Image image{image_width(region), image_height(region), {}};
    if (sequence.frame_bytes() != image.width * image.height * 2) {
        throw std::invalid_argument("a frame with several regions or metadata is no plain image");
    }
    sequence.run();
    image.pixels = sequence.take_buffer();
    return image;
}

}  // namespace orvex

#endif
