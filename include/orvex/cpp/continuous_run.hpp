/**
 * @file continuous_run.hpp
 * Frames without end in a ring of memory.
 */
#ifndef ORVEX_CPP_CONTINUOUS_RUN_HPP
#define ORVEX_CPP_CONTINUOUS_RUN_HPP

#include <atomic>
#include <chrono>
#include <cstring>
#include <iterator>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "frame_events.hpp"
#include "run_set_up.hpp"

namespace orvex {

struct Ring {
    /** 3 or more; 0 for about 256 MB, 8 to 1000 frames. All of it is less than 4 GiB. */
    uns32 frames = 0;
    /** What a full ring does: lose its oldest frames, or end the run with C3_BUFFER_OVERRUN. */
    bool overwrite = true;
};

/** Frames that were overwritten before they were taken. */
struct Gap {
    uns32 first;
    uns32 count;
};

namespace detail {

// How many frames the driver has finished after this one. Notifications may lag behind what is in a
// ring already; the driver's count does not. It wraps at 32 bits, and so does the place of the
// frame. A camera that was removed has no count any more, and writes nothing.
inline uns32 finished_after(OpenCamera& camera, uns32 number, uns32 frame_bytes) {
    int16 status = 0;
    uns32 bytes = 0;
    camera.require(ox_exp_check_status(camera.handle, &status, &bytes), "the run failed");
    const uns32 ahead = bytes - number * frame_bytes;
    if (status == READOUT_NOT_ACTIVE && static_cast<int32>(ahead) < 0) return 0;
    return ahead / frame_bytes;
}

// The driver may be writing one frame more than it has finished.
inline bool in_peace(uns32 finished, uns32 ring_frames) {
    return finished + 1 < ring_frames;
}

}  // namespace detail

/**
 * A frame in the ring. The camera writes there again when it has come round: look at a frame before
 * the next is asked for, or copy it, and ask intact() afterwards.
 */
class Frame {
  public:
    /** From 1 at every start; those that were lost are counted. */
    uns32 number() const { return number_; }
    /** Frames between the one taken before and this. */
    uns32 lost() const { return lost_; }
    Bytes bytes() const { return {static_cast<const uns8*>(at_), bytes_}; }
    /** Row after row, when it has no metadata. */
    Pixels pixels() const { return {static_cast<const uns16*>(at_), bytes_ / 2}; }
    /** Whether the camera has not begun to write over it. Asks the driver. */
    bool intact() const {
        return detail::in_peace(detail::finished_after(*camera_, number_, bytes_), ring_frames_);
    }

  private:
    friend class ContinuousRun;

    detail::OpenCamera* camera_ = nullptr;
    uns32 ring_frames_ = 0;
    const void* at_ = nullptr;
    uns32 bytes_ = 0;
    uns32 number_ = 0;
    uns32 lost_ = 0;
};

/**
 * A continuous run, whose frames one thread takes in their order: as a range, by next(), or as
 * copies by copy_next(). The end of the object stops the camera.
 *
 *     for (const Frame& frame : run) ...
 *
 * starts the run, waits for each frame and throws TimeOut when one doesn't come; it ends when
 * stop() was called and the ring is empty.
 */
class ContinuousRun {
  public:
    /**
     * Sets up and provides the ring. Talks to the camera.
     * @param on_frame called with what is known of each frame, on a thread of the library
     * @throws std::invalid_argument, Error
     */
    ContinuousRun(const Camera& camera, const RunSetUp& set_up, Ring ring = {},
                  EventFunction on_frame = {})
        : regions_(set_up.regions), overwrite_(ring.overwrite) {
        if (regions_.empty()) regions_.push_back(whole_sensor(camera));
        const uns32 time = apply_exposure(camera, set_up.exposure, set_up.mode);
        camera.require(ox_exp_setup_cont(camera.handle(), static_cast<uns16>(regions_.size()),
                                         regions_.data(), set_up.mode, time, &frame_bytes_,
                                         overwrite_ ? CIRC_OVERWRITE : CIRC_NO_OVERWRITE),
                       "the set-up was refused");
        if (frame_bytes_ == 0) throw std::invalid_argument("the regions hold no pixels");
        limit_ = frame_time_limit(camera, set_up);
        ring_frames_ = ring_length(ring.frames);
        ring_.resize(size_t{frame_bytes_} * ring_frames_);
        events_ = std::make_unique<detail::FrameEvents>(camera.opened(), std::move(on_frame));
    }
    ~ContinuousRun() {
        if (events_ && started_) ox_exp_stop_cont(camera().handle, CCS_HALT_CLOSE_SHTR);
    }
    ContinuousRun(ContinuousRun&&) = default;
    ContinuousRun& operator=(ContinuousRun&&) = delete;

    uns32 frame_bytes() const { return frame_bytes_; }
    uns32 ring_frames() const { return ring_frames_; }
    const std::vector<rgn_type>& regions() const { return regions_; }
    /** How long a frame may take; nothing when it waits for a trigger. */
    std::optional<Milliseconds> time_limit() const { return limit_; }

    /** Talks to the camera. The first frame is number 1. @throws Error */
    void start() {
        events_->restart();
        count_->taken = count_->lost = 0;
        count_->overran = false;
        gaps_.clear();
        camera().require(
            ox_exp_start_cont(camera().handle, ring_.data(), static_cast<uns32>(ring_.size())),
            "the run did not start");
        started_ = true;
    }
    /** Talks to the camera. No frame comes any more; those in the ring can still be taken. */
    void stop() {
        if (!started_) return;
        started_ = false;
        camera().require(ox_exp_stop_cont(camera().handle, CCS_HALT_CLOSE_SHTR),
                         "the run did not stop");
    }

    /**
     * The oldest frame that was not taken, and gives back the one before; empty when there is none
     * yet, or when the camera overwrote each that was tried.
     * @throws CameraGone, Error: C3_BUFFER_OVERRUN is told by overran() alone
     */
    std::optional<Frame> next() {
        give_back();
        for (int attempt = 1; attempt <= attempts; ++attempt) {
            const std::optional<Frame> frame = oldest();
            if (!frame) return std::nullopt;
            if (settled(frame->number_, attempt)) {
                held_ = true;
                return frame;
            }
        }
        return std::nullopt;
    }
    /** The same, waiting so long for a frame. */
    std::optional<Frame> next(Milliseconds limit) {
        std::optional<Frame> frame = next();
        if (!frame && wait_for_frame(limit)) frame = next();
        return frame;
    }

    /**
     * Takes the oldest frame that is whole into a buffer of frame_bytes(), which may be null, and
     * gives its number; otherwise as next().
     */
    std::optional<uns32> copy_next(void* to) {
        give_back();
        for (int attempt = 1; attempt <= attempts; ++attempt) {
            const std::optional<Frame> frame = oldest();
            if (!frame) return std::nullopt;
            if (to) copy(to, frame->at_, frame_bytes_);
            if (settled(frame->number_, attempt)) {
                held_ = true;
                give_back();
                return frame->number_;
            }
        }
        return std::nullopt;
    }

    /** Waits until the camera tells of a frame that was not taken; false when the time is over. */
    bool wait_for_frame(Milliseconds limit) {
        return events_->wait_beyond(count_->taken + (held_ ? 1 : 0), limit);
    }

    /** Throws once the camera has stopped by itself. Asks the driver.
     * @throws CameraGone, Error, std::runtime_error */
    void expect_running() const {
        int16 status = 0;
        uns32 bytes = 0;
        camera().require(ox_exp_check_status(camera().handle, &status, &bytes), "the run failed");
        if (status == READOUT_NOT_ACTIVE) camera().fail("the camera ended the run");
    }

    // For any thread:
    /** The ring was full and had to stay as it was. */
    bool overran() const { return count_->overran; }
    /** Number of the newest frame that was told of. */
    uns32 newest() const { return events_->newest(); }
    /** Frames taken, and lost ones among them. */
    uns32 taken() const { return count_->taken; }
    uns32 lost() const { return count_->lost; }
    /** Frames that wait in the ring. */
    uns32 waiting() const {
        const uns32 newest_now = newest(), taken_now = count_->taken;
        return newest_now > taken_now ? std::min(newest_now - taken_now, ring_frames_) : 0;
    }

    /** For the thread that takes frames, or after it. */
    const std::vector<Gap>& gaps() const { return gaps_; }

    class Iterator {
      public:
        using iterator_category = std::input_iterator_tag;
        using value_type = Frame;
        using difference_type = std::ptrdiff_t;
        using pointer = const Frame*;
        using reference = const Frame&;

        Iterator() = default;
        explicit Iterator(ContinuousRun& run) : run_(&run) { ++*this; }

        const Frame& operator*() const { return frame_; }
        const Frame* operator->() const { return &frame_; }
        Iterator& operator++() {
            const std::optional<Frame> next = run_->await_next();
            if (next) {
                frame_ = *next;
            } else {
                run_ = nullptr;
            }
            return *this;
        }
        void operator++(int) { ++*this; }
        bool operator==(const Iterator& other) const { return run_ == other.run_; }
        bool operator!=(const Iterator& other) const { return run_ != other.run_; }

      private:
        ContinuousRun* run_ = nullptr;
        Frame frame_;
    };
    Iterator begin() {
        if (!started_) start();
        return Iterator(*this);
    }
    Iterator end() { return {}; }

  private:
    struct Counters {
        std::atomic<uns32> taken{0};
        std::atomic<uns32> lost{0};
        std::atomic<bool> overran{false};
    };

    // A camera that laps the ring faster than a frame can be looked at is not raced without end:
    // the caller may have reason to stop.
    static constexpr int attempts = 3;

    detail::OpenCamera& camera() const { return events_->camera(); }

    uns32 ring_length(uns32 wanted) const {
        // The library tells the size of a ring in 32 bits.
        const uns64 most = 0xFFFFFFFFu / frame_bytes_;
        if (wanted > most) {
            throw std::invalid_argument("a ring ends at 4 GiB, which are " + std::to_string(most) +
                                        " frames of " + std::to_string(frame_bytes_) + " bytes");
        }
        if (wanted) return wanted;
        constexpr uns64 usual_bytes = 256u << 20, fewest = 8, largest = 1000;
        const uns64 fit = usual_bytes / frame_bytes_;
        return static_cast<uns32>(std::min(std::min(std::max(fit, fewest), largest), most));
    }

    std::optional<Frame> oldest() {
        FRAME_INFO newest_info{};
        void* at = nullptr;
        if (count_->overran) return std::nullopt;
        if (!ox_exp_get_oldest_frame_ex(camera().handle, &at, &newest_info)) {
            const int16 code = ox_error_code();
            if (code == C3_FRAME_NOT_RETURNED) return std::nullopt;
            if (code != C3_BUFFER_OVERRUN) camera().refuse("cannot take a frame");
            count_->overran = true;
            return std::nullopt;
        }
        const uns32 taken = count_->taken;
        if (static_cast<uns32>(newest_info.FrameNr) <= taken) return std::nullopt;
        Frame frame;
        frame.camera_ = &camera();
        frame.ring_frames_ = ring_frames_;
        frame.at_ = at;
        frame.bytes_ = frame_bytes_;
        frame.number_ = taken + 1;
        const bool gap_before =
            !gaps_.empty() && gaps_.back().first + gaps_.back().count == taken + 1;
        frame.lost_ = gap_before ? gaps_.back().count : 0;
        return frame;
    }

    // Whether the frame can be had; if not, those that come too late are given up.
    bool settled(uns32 number, int attempt) {
        const uns32 after = detail::finished_after(camera(), number, frame_bytes_);
        if (detail::in_peace(after, ring_frames_)) return true;
        if (!overwrite_) {
            count_->overran = true;
            return false;
        }
        // Half of the ring is given up, so that the other half can be taken in peace; if that is
        // not enough, all but the newest frame.
        skip(attempt == 1 ? after - ring_frames_ / 2 + 1 : after);
        return false;
    }

    void skip(uns32 count) {
        const uns32 first = count_->taken + 1;
        for (uns32 i = 0; i < count; ++i) unlock();
        if (!gaps_.empty() && gaps_.back().first + gaps_.back().count == first) {
            gaps_.back().count += count;
        } else {
            gaps_.push_back({first, count});
        }
        count_->lost += count;
        count_->taken += count;
    }

    void unlock() {
        camera().require(ox_exp_unlock_oldest_frame(camera().handle), "cannot give a frame back");
    }
    void give_back() {
        if (!held_) return;
        held_ = false;
        unlock();
        ++count_->taken;
    }

    std::optional<Frame> await_next() {
        // A run that ends without a frame is seen to have ended within this time.
        constexpr Milliseconds look{100};
        const auto since = std::chrono::steady_clock::now();
        for (;;) {
            const bool stopped = !started_;
            if (std::optional<Frame> frame = next()) return frame;
            if (count_->overran) throw Error("the ring was full", C3_BUFFER_OVERRUN);
            if (stopped) return std::nullopt;
            expect_running();
            const Milliseconds waited = std::chrono::steady_clock::now() - since;
            if (limit_ && waited > *limit_) {
                camera().fail<TimeOut>(late_frame_text(*limit_, count_->taken));
            }
            wait_for_frame(look);
        }
    }

    static void copy(void* to, const void* from, size_t bytes) {
#if defined(__SANITIZE_THREAD__)
        copy_unwatched(static_cast<uns8*>(to), static_cast<const volatile uns8*>(from), bytes);
#else
        std::memcpy(to, from, bytes);
#endif
    }
#if defined(__SANITIZE_THREAD__)
    // The driver may write into a frame while it is copied, as a camera's hardware does. Such a
    // copy is thrown away, which a checker for data races can't know.
    __attribute__((noinline, no_sanitize("thread"))) static void copy_unwatched(
        uns8* to, const volatile uns8* from, size_t bytes) {
        for (size_t i = 0; i < bytes; ++i) to[i] = from[i];
    }
#endif

    std::vector<rgn_type> regions_;
    bool overwrite_;
    uns32 frame_bytes_ = 0;
    uns32 ring_frames_ = 0;
    std::optional<Milliseconds> limit_;
    std::vector<uns8> ring_;
    bool started_ = false;
    bool held_ = false;  // the oldest frame is with the caller
    std::unique_ptr<Counters> count_ = std::make_unique<Counters>();
    std::vector<Gap> gaps_;
    std::unique_ptr<detail::FrameEvents> events_;
};

}  // namespace orvex

#endif
