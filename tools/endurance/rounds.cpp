#include "rounds.h"

#include <algorithm>
#include <array>
#include <thread>
#include <utility>

#include "failure.h"

namespace endurance {
namespace {

using orvex::require;

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds patience{60};
constexpr uns32 ring_frames_max = 4000;
// So many notification requests reach the driver at once, however slow it is in reading them.
constexpr uns32 sequence_frames_max = 100;

constexpr std::array<int16, 7> camera_states{
    CCS_NO_CHANGE,        CCS_HALT,      CCS_HALT_CLOSE_SHTR, CCS_CLEAR,
    CCS_CLEAR_CLOSE_SHTR, CCS_OPEN_SHTR, CCS_CLEAR_OPEN_SHTR};

// Notifications that the library keeps for a continuous run.
uns32 in_flight(uns32 ring_frames) {
    return std::clamp((4 * ring_frames + 1) / 5, 1u, 128u);
}

// Lets the listener look at a ring no longer than it is there.
class Listening {
  public:
    explicit Listening(Listener& listener) : listener_(listener) {}
    ~Listening() { listener_.end(); }
    Listening(const Listening&) = delete;
    Listening& operator=(const Listening&) = delete;

  private:
    Listener& listener_;
};

void nap() {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

}  // namespace

Rounds::Rounds(Session& session, Listener& listener, std::span<uns8> memory, RoundLength length,
               unsigned seed, std::function<bool()> interrupted)
    : session_(session),
      listener_(listener),
      memory_(memory),
      length_(length),
      lot_(seed),
      interrupted_(std::move(interrupted)) {}

void Rounds::run_one() {
    using Kind = void (Rounds::*)();
    constexpr std::array<Kind, 3> kinds{&Rounds::called_back, &Rounds::polled, &Rounds::sequences};
    (this->*kinds[totals_.rounds % kinds.size()])();
    burst();
    session_.reads();
    if (++totals_.rounds % kinds.size() != 0) return;
    session_.close();
    session_.open_next();
}

uns32 Rounds::draw(uns32 low, uns32 high) {
    return std::uniform_int_distribution<uns32>(low, high)(lot_);
}

Rounds::Shape Rounds::draw_shape(uns32 frames_max) {
    const CameraKind& kind = session_.kind();
    const uns32 bin = 1u << draw(0, 2);
    // Small regions are as likely as large ones; the smallest has room for both numbers.
    const uns32 limit = std::min<uns32>(kind.widest, 16u << draw(0, 5));
    const uns32 width = 4 * bin * draw(1, limit / 4 / bin), height = bin * draw(1, limit / bin);
    const uns32 column = draw(0, kind.side - width), row = draw(0, kind.side - height);
    Shape shape;
    shape.region = {.s1 = static_cast<uns16>(column),
                    .s2 = static_cast<uns16>(column + width - 1),
                    .sbin = static_cast<uns16>(bin),
                    .p1 = static_cast<uns16>(row),
                    .p2 = static_cast<uns16>(row + height - 1),
                    .pbin = static_cast<uns16>(bin)};
    const uns32 bytes = width / bin * (height / bin) * 2;
    const auto fit = static_cast<uns32>(memory_.size() / bytes);
    shape.frames = draw(1, std::min({frames_max, fit, 1u << draw(0, 12)}));
    shape.mode = draw(0, 1) ? CIRC_OVERWRITE : CIRC_NO_OVERWRITE;
    return shape;
}

FrameRing Rounds::ring_of(const Shape& shape) const {
    std::vector<uns16> scene = ramp(shape.region);
    const size_t bytes = scene.size() * 2 * shape.frames;
    return FrameRing(memory_.first(bytes), std::move(scene));
}

void Rounds::set_up(const Shape& shape, const FrameRing& ring) {
    uns32 bytes = 0;
    require(
        ox_exp_setup_cont(session_.camera(), 1, &shape.region, TIMED_MODE, 1, &bytes, shape.mode),
        "a set-up");
    expect(bytes == ring.frame_bytes(), "a set-up: expected ", ring.frame_bytes(),
           " bytes a frame, seen ", bytes);
}

void Rounds::set_up_sequence(const Shape& shape, const FrameRing& ring) {
    uns32 bytes = 0;
    require(ox_exp_setup_seq(session_.camera(), static_cast<uns16>(shape.frames), 1, &shape.region,
                             TIMED_MODE, 1, &bytes),
            "a set-up of a sequence");
    expect(bytes == ring.bytes(), "a set-up of a sequence: expected ", ring.bytes(),
           " bytes, seen ", bytes);
}

void Rounds::start(const FrameRing& ring) {
    require(ox_exp_start_cont(session_.camera(), ring.place(1), ring.bytes()), "a start");
    ++totals_.runs;
    begin_waiting();
}

// True when the camera itself was halted, so that it knows how many frames it wrote.
bool Rounds::abort_in_some_form(const Shape& shape) {
    const int16 camera = session_.camera();
    switch (draw(0, 31)) {
        case 0:
            session_.stop_library();
            session_.open_next();
            return false;
        case 1:
        case 2:
            session_.close();
            session_.open_next();
            return false;
        case 3:
        case 4: {
            // An unchanged set-up ends a run as well.
            uns32 bytes = 0;
            require(ox_exp_setup_cont(camera, 1, &shape.region, TIMED_MODE, 1, &bytes, shape.mode),
                    "a set-up in a run");
            return true;
        }
        case 5:
        case 6: {
            const Shape other = draw_shape(1);
            set_up(other, ring_of(other));
            return true;
        }
        case 7:
        case 8: require(ox_exp_stop_cont(camera, CCS_HALT), "a stop"); return true;
        default: break;
    }
    const int16 state = camera_states[draw(0, camera_states.size() - 1)];
    require(ox_exp_abort(camera, state), text_of("an abort with state ", state));
    return state != CCS_NO_CHANGE;
}

void Rounds::stop(const Shape& shape, const FrameRing& ring) {
    listener_.end();
    const Heard heard = listener_.heard();
    const bool counted = abort_in_some_form(shape);
    const uns32 written = ring.expect_whole();
    expect(heard.newest <= written, "expected no callback above ", written,
           ", the last in the ring; seen ", heard.newest);
    if (counted) {
        const uns32 count = session_.frames_written();
        expect(count == written, "expected the ", count, " frames that the camera wrote; seen ",
               written, " in the ring");
    }
    totals_.written += written;
    add(heard);
}

void Rounds::begin_waiting() {
    begin_ = progress_ = Clock::now();
    progress_frames_ = 0;
}

void Rounds::expect_progress(uns32 frames) {
    if (frames != progress_frames_) progress_ = Clock::now();
    progress_frames_ = frames;
    expect(Clock::now() - progress_ < patience, "expected a frame after number ", frames,
           "; seen none within ", patience.count(), " s");
}

bool Rounds::goes_on(uns32 frames) {
    expect_progress(frames);
    if (interrupted_()) return false;
    if (length_.frames > 0) return frames < length_.frames / session_.kind().slowness;
    return Clock::now() - begin_ < length_.seconds;
}

void Rounds::add(const Heard& heard) {
    totals_.called += heard.frames;
    totals_.intact += heard.intact;
    totals_.overtaken += heard.overtaken;
    totals_.passed_over += heard.passed_over;
}

void Rounds::called_back() {
    const Shape shape = draw_shape(ring_frames_max);
    const FrameRing ring = ring_of(shape);
    set_up(shape, ring);
    ring.clear();
    const Listening listening(listener_);
    listener_.begin(ring, session_.camera(), session_.kind().delivery, in_flight(shape.frames));
    listener_.hear();
    start(ring);
    while (goes_on(listener_.heard().newest)) nap();
    stop(shape, ring);
}

void Rounds::polled() {
    const Shape shape = draw_shape(ring_frames_max);
    const FrameRing ring = ring_of(shape);
    set_up(shape, ring);
    ring.clear();
    {
        // Registering throws away what is left of the run before.
        const Listening listening(listener_);
        listener_.begin(ring, session_.camera(), session_.kind().delivery, 1);
        listener_.hear();
    }
    require(ox_cam_deregister_callback(session_.camera(), OX_CALLBACK_EOF), "deregistering");
    start(ring);
    const auto poll = draw(0, 1) ? &Rounds::poll_newest : &Rounds::poll_oldest;
    uns32 taken = 0;
    while (goes_on(taken)) {
        check_status(ring, taken);
        if (!(this->*poll)(shape, ring, taken)) std::this_thread::yield();
    }
    stop(shape, ring);
}

bool Rounds::poll_newest(const Shape& shape, const FrameRing& ring, uns32& taken) {
    FRAME_INFO info{};
    void* frame = nullptr;
    const bool got = ox_exp_get_latest_frame_ex(session_.camera(), &frame, &info) != 0;
    const auto newest = static_cast<uns32>(info.FrameNr);
    if (!got) {
        expect(newest == 0 || overran(shape, newest, taken), "expected the newest frame after ",
               taken, "; seen a refusal at frame ", newest);
        return false;
    }
    expect(newest >= taken, "expected no frame before ", taken, "; seen ", newest);
    const bool news = newest > taken;
    taken = newest;
    if (news) check_polled(ring, newest, frame);
    return news;
}

bool Rounds::poll_oldest(const Shape& shape, const FrameRing& ring, uns32& taken) {
    FRAME_INFO info{};
    void* frame = nullptr;
    const bool got = ox_exp_get_oldest_frame_ex(session_.camera(), &frame, &info) != 0;
    const auto newest = static_cast<uns32>(info.FrameNr);
    if (!got) {
        expect(newest == 0 || overran(shape, newest, taken), "expected the frame after ", taken,
               "; seen a refusal at frame ", newest);
        return false;
    }
    if (newest <= taken) return false;
    check_polled(ring, taken + 1, frame);
    give_back(1, taken);
    // What is surely overwritten is not walked through.
    if (newest > taken + shape.frames) {
        const uns32 behind = newest - taken - shape.frames / 2;
        totals_.passed_over += behind;
        give_back(behind, taken);
    }
    return true;
}

// A ring that must not be overwritten tells when it was; giving frames back brings it in order.
bool Rounds::overran(const Shape& shape, uns32 newest, uns32& taken) {
    if (shape.mode != CIRC_NO_OVERWRITE || newest <= taken + shape.frames) return false;
    ++totals_.overruns;
    totals_.passed_over += newest - taken;
    give_back(newest - taken, taken);
    return true;
}

void Rounds::give_back(uns32 count, uns32& taken) {
    for (uns32 i = 0; i < count; ++i)
        require(ox_exp_unlock_oldest_frame(session_.camera()), "giving a frame back");
    taken += count;
}

void Rounds::check_polled(const FrameRing& ring, uns32 number, const void* frame) {
    expect(frame == ring.place(number), "frame ", number, ": expected at ",
           static_cast<const void*>(ring.place(number)), ", seen at ", frame);
    ++totals_.polled;
    switch (ring.check(number)) {
        case Verdict::intact: ++totals_.intact; break;
        case Verdict::overtaken: ++totals_.overtaken; break;
        case Verdict::torn: throw Failure("polled: " + ring.describe(number));
    }
}

void Rounds::check_status(const FrameRing& ring, uns32 taken) {
    FRAME_INFO info{};
    int16 status = 0;
    uns32 bytes = 0, rings = 0;
    require(ox_exp_check_cont_status_ex(session_.camera(), &status, &bytes, &rings, &info),
            "asking for the status");
    const auto newest = static_cast<uns32>(info.FrameNr);
    expect((status == FRAME_AVAILABLE) == (newest > taken) && rings == newest / ring.frames() &&
               bytes == newest % ring.frames() * ring.frame_bytes(),
           "expected the status of frame ", newest, " after ", taken, " taken; seen status ",
           status, ", ", rings, " rings and ", bytes, " bytes");
}

void Rounds::sequences() {
    begin_waiting();
    const auto begin = begin_;
    // Several sequences fit in a short round.
    const uns32 share = length_.frames / session_.kind().slowness / 4;
    const uns32 frames_max = share > 0 ? std::min(share, sequence_frames_max) : sequence_frames_max;
    uns32 frames = 0;
    do {
        const Shape shape = draw_shape(frames_max);
        const FrameRing ring = ring_of(shape);
        const Listening listening(listener_);
        listener_.begin(ring, session_.camera(), session_.kind().delivery, shape.frames);
        set_up_sequence(shape, ring);
        listener_.hear();
        // The same again, with no set-up or with one that changes nothing.
        bool again = false;
        for (uns32 i = draw(1, 8);; --i) {
            listener_.restart(std::exchange(again, true));
            const bool complete = one_sequence(shape, ring);
            frames += shape.frames;
            if (!complete || i == 1) break;
            if (i % 2) set_up_sequence(shape, ring);
        }
        begin_ = begin;
    } while (goes_on(frames));
}

// False when it was aborted.
bool Rounds::one_sequence(const Shape& shape, const FrameRing& ring) {
    ring.clear();
    require(ox_exp_start_seq(session_.camera(), ring.place(1)), "a start of a sequence");
    ++totals_.runs;
    begin_waiting();
    if (draw(0, 7) == 0) {
        for (uns32 wait = draw(0, 1000); wait > 0; --wait) std::this_thread::yield();
        stop(shape, ring);
        return false;
    }
    int16 status = READOUT_NOT_ACTIVE;
    uns32 bytes = 0;
    do {
        nap();
        require(ox_exp_check_status(session_.camera(), &status, &bytes), "a status");
        expect_progress(listener_.heard().newest);
    } while (status != READOUT_COMPLETE || listener_.heard().newest < shape.frames);
    const Heard heard = listener_.heard();
    expect(heard.frames + heard.passed_over == shape.frames && bytes == ring.bytes(),
           "a sequence: expected ", shape.frames, " callbacks and ", ring.bytes(), " bytes; seen ",
           heard.frames, " and ", bytes);
    require(ox_exp_finish_seq(session_.camera(), ring.place(1), 0), "finishing a sequence");
    const uns32 written = ring.expect_whole();
    expect(written == shape.frames, "a sequence: expected frame ", shape.frames,
           " as the last; seen ", written);
    totals_.written += written;
    add(heard);
    return true;
}

void Rounds::burst() {
    Shape shape = draw_shape(ring_frames_max);
    unsigned opens = session_.opens;
    for (uns32 runs = draw(2, 6); runs > 0 && !interrupted_(); --runs) {
        // Another camera may be too small for the region of the one before.
        if (std::exchange(opens, session_.opens) != session_.opens || draw(0, 1))
            shape = draw_shape(ring_frames_max);
        const FrameRing ring = ring_of(shape);
        set_up(shape, ring);
        ring.clear();
        const Listening listening(listener_);
        listener_.begin(ring, session_.camera(), session_.kind().delivery, in_flight(shape.frames));
        if (draw(0, 1)) listener_.hear();
        start(ring);
        for (uns32 wait = draw(0, 1) * draw(0, 1000); wait > 0; --wait) std::this_thread::yield();
        stop(shape, ring);
    }
}

}  // namespace endurance
