#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "softcam/scene.h"

#include "firmware/spot.h"

namespace softcam {

using firmware::Spot;

// Finds bright spots: local maxima above the background by at least `threshold`, the brightest
// first, none closer to a brighter one than the diameter of a spot.
std::vector<Spot> FindSpots(const Image& image, uint32_t radius, uint32_t count,
                            uint32_t threshold);

// What stays in place is no spot: the average of the frames before is taken from a frame, which
// leaves what moved. Counted with the present one there are `frames`; of one alone nothing is known
// but its level, which FindSpots() sees to.
class BackgroundFrames {
  public:
    explicit BackgroundFrames(size_t frames) : frames_(frames) {}

    bool Remembers() const { return frames_ > 1; }
    // Valid until the next call.
    const Image& Without(const Image& image);
    const Image& Without(Image&& image) = delete;  // may be what comes back

  private:
    size_t frames_;
    std::deque<Image> before_;
    std::vector<uint32_t> sums_;
    Image result_;
};

// Gives spots the numbers they had in the frame before, when they moved by at most twice the
// radius, and new ones otherwise.
class SpotTracker {
  public:
    void Number(std::vector<Spot>& spots, uint32_t radius);

  private:
    std::vector<Spot> before_;
    uint32_t next_id_ = 1;
};

}  // namespace softcam
