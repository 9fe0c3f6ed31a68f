#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "orvex/orvex_types.h"

// The ring that a camera fills, and what has to be in it: every frame shows the same scene and has
// its number in its first and in its last four bytes.
namespace endurance {

enum class Verdict {
    intact,
    overtaken,  // the camera had come round the ring and written into the frame's place
    torn,       // wrong, although the camera was not there again
};

class FrameRing {
  public:
    // The pixels of one frame; the memory is as long as some of them.
    FrameRing(std::span<uns8> memory, std::vector<uns16> scene);

    uns32 frames() const { return frames_; }
    uns32 frame_bytes() const { return frame_bytes_; }
    uns32 bytes() const { return frames_ * frame_bytes_; }
    // Where the frame of this number, from 1, stands.
    uns8* place(uns32 number) const;

    // Forgets the numbers; no camera may be running.
    void clear() const;

    // For any thread, while the camera runs:
    Verdict check(uns32 number) const;
    // The camera has finished the frame of this number.
    bool written(uns32 number) const;
    // What stands in the frame's place.
    std::string describe(uns32 number) const;

    // For a camera that was stopped: number of the last frame, 0 without one. All frames that the
    // ring has room for must be there; throws Failure.
    uns32 expect_whole() const;

  private:
    std::span<uns8> memory_;
    std::vector<uns16> scene_;
    uns32 frame_bytes_;
    uns32 frames_;
};

// What the scene "ramp" shows in a region, without noise.
std::vector<uns16> ramp(const rgn_type& region);

}  // namespace endurance
