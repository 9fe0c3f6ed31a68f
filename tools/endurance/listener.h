#pragma once

#include <array>
#include <mutex>
#include <string>

#include "orvex/orvex.h"

#include "frame_ring.h"

// Hears of the frames of one run after the other and checks each at once, on the library's thread.
namespace endurance {

// How a camera's driver tells of frames decides which of them need not be told.
enum class Delivery {
    requests,   // no frame is passed over while a request is pending
    callbacks,  // the oldest of a full queue are
};

struct Heard {
    uns64 frames = 0;  // callbacks
    uns64 intact = 0;
    uns64 overtaken = 0;
    uns64 passed_over = 0;
    uns32 newest = 0;
};

class Listener {
  public:
    Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    // From here on frames belong to the next run. `in_flight` is how many notifications the library
    // keeps for the run.
    void begin(const FrameRing& ring, int16 hcam, Delivery delivery, uns32 in_flight);
    // Registers for the run.
    void hear();
    // The next frame is number 1 again. All requests are pending at the driver for certain when a
    // sequence of the same length was heard to its end before.
    void restart(bool all_pending);
    // What was heard since begin() or restart(); throws Failure on what was wrong.
    Heard heard() const;
    // No frame is looked at any more: an abort holds callbacks back while it goes on, and lets
    // those through that come after it.
    void end();

  private:
    // What a callback gets, so that one that is late is known for a frame of an earlier run.
    struct Run {
        Listener* listener = nullptr;
        uns64 number = 0;
    };

    static void on_end_of_frame(const FRAME_INFO* info, void* run);
    void take(const FRAME_INFO& info);
    void judge_gap(uns32 number);
    void complain(const std::string& text);

    mutable std::mutex lock_;
    std::array<Run, 64> runs_;
    uns64 run_ = 0;
    const FrameRing* ring_ = nullptr;
    int16 hcam_ = -1;
    Delivery delivery_ = Delivery::requests;
    uns32 in_flight_ = 0;
    bool all_pending_ = false;
    Heard heard_;
    int64 last_time_ = 0;
    std::string problem_;
};

}  // namespace endurance
