#pragma once

#include <chrono>
#include <functional>
#include <random>
#include <span>

#include "frame_ring.h"
#include "listener.h"
#include "session.h"

namespace endurance {

struct Totals {
    uns64 written = 0;      // by the cameras
    uns64 called = 0;       // callbacks
    uns64 polled = 0;       // frames taken by polling
    uns64 intact = 0;       // of both, right to the last pixel
    uns64 overtaken = 0;    // overwritten before they were looked at
    uns64 passed_over = 0;  // not told, because the application was behind
    uns64 overruns = 0;     // told by the library
    unsigned runs = 0;
    unsigned rounds = 0;
};

// How long a round goes on: some time, or a number of frames of the fastest camera.
struct RoundLength {
    std::chrono::duration<double> seconds{0};
    uns32 frames = 0;
};

// One round after the other: callbacks, polling or sequences in turn, and then a burst of runs that
// have hardly begun when they are aborted; after each turn another camera. All else is drawn by
// lot.
class Rounds {
  public:
    // Listener and memory must outlive the session; `interrupted` ends a round before its time.
    Rounds(Session& session, Listener& listener, std::span<uns8> memory, RoundLength length,
           unsigned seed, std::function<bool()> interrupted);

    // Throws Failure.
    void run_one();
    const Totals& totals() const { return totals_; }

  private:
    struct Shape {
        rgn_type region{};
        uns32 frames = 0;
        int16 mode = CIRC_OVERWRITE;
    };

    uns32 draw(uns32 low, uns32 high);
    Shape draw_shape(uns32 frames_max);
    FrameRing ring_of(const Shape& shape) const;
    void set_up(const Shape& shape, const FrameRing& ring);
    void set_up_sequence(const Shape& shape, const FrameRing& ring);
    void start(const FrameRing& ring);
    void stop(const Shape& shape, const FrameRing& ring);
    bool abort_in_some_form(const Shape& shape);
    void begin_waiting();
    void expect_progress(uns32 frames);
    bool goes_on(uns32 frames);
    void add(const Heard& heard);

    void called_back();
    void polled();
    void sequences();
    bool one_sequence(const Shape& shape, const FrameRing& ring);
    void burst();

    bool poll_newest(const Shape& shape, const FrameRing& ring, uns32& taken);
    bool poll_oldest(const Shape& shape, const FrameRing& ring, uns32& taken);
    void check_polled(const FrameRing& ring, uns32 number, const void* frame);
    bool overran(const Shape& shape, uns32 newest, uns32& taken);
    void check_status(const FrameRing& ring, uns32 taken);
    void give_back(uns32 count, uns32& taken);

    Session& session_;
    Listener& listener_;
    std::span<uns8> memory_;
    RoundLength length_;
    std::mt19937 lot_;
    std::function<bool()> interrupted_;
    Totals totals_;
    std::chrono::steady_clock::time_point begin_;
    std::chrono::steady_clock::time_point progress_;
    uns32 progress_frames_ = 0;
};

}  // namespace endurance
