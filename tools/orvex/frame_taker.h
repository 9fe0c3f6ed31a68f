#pragma once

#include <atomic>
#include <cstdint>
#include <exception>
#include <thread>
#include <vector>

#include "orvex/frame_file.h"
#include "orvex/session.h"

namespace orvex {

// The thread that takes frames out of a run's ring and writes them. A disk that stalls keeps it
// waiting, and the ring fills; nothing else waits. It stops the run as well: the library tells
// errors to the whole process, so calls from a second thread would hide them.
class FrameTaker {
  public:
    // At most so many frames, 0 for any number. The file may be null.
    FrameTaker(ContinuousRun& run, FrameFile* file, uint32_t frames);
    ~FrameTaker();
    FrameTaker(const FrameTaker&) = delete;
    FrameTaker& operator=(const FrameTaker&) = delete;

    // There is nothing more to do: all frames are there, or something ended the run.
    bool done() const { return done_; }
    // Stops the run, takes what is in the ring and ends. Throws what went wrong on the way.
    void finish();

    // After finish():
    uint32_t frames() const { return frames_; }
    // Of the frames that went into the file.
    const std::vector<uint32_t>& numbers() const { return numbers_; }
    uint32_t most_waiting() const { return most_waiting_; }

  private:
    void run_thread();
    void take_frames();

    ContinuousRun& run_;
    FrameFile* file_;
    uint32_t wanted_;
    std::atomic<bool> done_{false};
    std::atomic<bool> stop_asked_{false};
    uint32_t frames_ = 0;
    std::vector<uint32_t> numbers_;
    uint32_t most_waiting_ = 0;
    std::exception_ptr problem_;
    std::thread thread_;
};

}  // namespace orvex
