#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

#include "orvex/frame_times.h"
#include "orvex/latency.h"
#include "orvex/set_up.h"

// A continuous run into a ring of memory, whose frames one thread takes in their order.
namespace orvex {

struct ContinuousSetUp {
    std::vector<rgn_type> regions;
    double exposure_ms = 10;
    int16 mode = TIMED_MODE;
    uint32_t ring_frames = 0;     // 0: as many as are sensible
    bool overwrite = true;        // else the run ends when the ring is full
    FrameTimes* times = nullptr;  // hears of every frame that the camera tells of
};

// Frames that were overwritten before they were taken.
struct Gap {
    uint32_t first;
    uint32_t count;
};

class ContinuousRun {
  public:
    // Sets up and provides the ring; throws what the camera refuses.
    ContinuousRun(const Camera& camera, const ContinuousSetUp& set_up);
    // Stops the camera.
    ~ContinuousRun();
    ContinuousRun(const ContinuousRun&) = delete;
    ContinuousRun& operator=(const ContinuousRun&) = delete;

    uint32_t frame_bytes() const { return frame_bytes_; }
    uint32_t ring_frames() const { return ring_frames_; }

    void start();
    // No frame comes any more; those in the ring can still be taken.
    void stop();

    // Takes the oldest frame that is whole, and gives its number; empty when there is none yet, or
    // when the camera overwrote each that was tried. The pixels go into the copy when there is one.
    // One thread only.
    std::optional<uint32_t> take(std::vector<uint8_t>* copy);
    // Waits until the camera tells of a frame that was not taken yet.
    void wait_for_frame(std::chrono::milliseconds limit);
    // False once the camera has stopped by itself.
    bool running() const;

    // For any thread:
    // The ring was full and had to stay as it was.
    bool overran() const { return overran_; }
    uint32_t newest() const { return newest_; }
    uint32_t taken() const { return taken_; }
    uint32_t lost() const { return lost_; }
    // Frames that wait in the ring.
    uint32_t waiting() const;
    Percentiles latency() const;

    // For the thread that takes frames, or after it:
    const std::vector<Gap>& gaps() const { return gaps_; }

  private:
    static void on_end_of_frame(const FRAME_INFO* info, void* run);
    // How many frames the driver has finished after this one.
    uint32_t finished_after(uint32_t number) const;
    void skip(uint32_t count);

    const Camera& camera_;
    uint32_t frame_bytes_ = 0;
    uint32_t ring_frames_ = 0;
    bool overwrite_;
    FrameTimes* times_;
    std::vector<uint8_t> ring_;
    bool started_ = false;

    // Numbers of frames since the start, lost ones among those that are taken.
    std::atomic<uint32_t> newest_{0};
    std::atomic<uint32_t> taken_{0};
    std::atomic<uint32_t> lost_{0};
    std::atomic<bool> overran_{false};
    std::vector<Gap> gaps_;

    mutable std::mutex lock_;
    std::condition_variable told_;
    Latency latency_;
};

}  // namespace orvex
