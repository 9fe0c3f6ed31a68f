#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "orvex/acquisition.h"
#include "orvex/frame_times.h"
#include "orvex/recording.h"

namespace orvex::view {

// A continuous run of the view, with the file that it goes into if there is one.
class LiveRun {
  public:
    // Reads what is known of the frames while the camera may still be asked. Files that are given
    // are filled until there are so many frames, 0 for any number.
    LiveRun(const Camera& camera, const RunSetUp& set_up, std::optional<RecordingFiles> files,
            uint32_t frames);

    void start();

    // Takes the oldest frame that waits, and records it. It is there as picture() when that is
    // asked for or it was recorded. Empty when there is none.
    std::optional<uint32_t> take(bool with_copy);
    // The copy as a picture: of frames with metadata, as large as their regions together.
    void picture(std::vector<uint16_t>& pixels) const;
    void wait_for_frame(Milliseconds limit) { run_.wait_for_frame(limit); }
    // Nothing is left to be recorded.
    bool complete() const { return wanted_ > 0 && numbers_.size() >= wanted_; }
    // Throws when the camera has ended the run, or when no frame came for too long.
    void check();

    // Stops the camera, takes and records what still waits and finishes the file; with a recording
    // that is worth keeping whatever went wrong. Throws what went wrong.
    void finish();

    bool records() const { return recording_.has_value(); }
    const std::string& path() const { return path_; }
    size_t recorded() const { return numbers_.size(); }
    // Of the picture.
    const Facts& facts() const { return facts_; }
    const ContinuousRun& run() const { return run_; }
    Percentiles latency() const { return times_.latency(); }

  private:
    void add(uint32_t number);

    const Camera& camera_;
    FrameTimes times_;
    ContinuousRun run_;
    Facts facts_;
    bool plain_;
    std::optional<Recording> recording_;
    std::string path_;
    uint32_t wanted_;
    std::vector<uint8_t> copy_;
    std::vector<uint32_t> numbers_;
    bool refused_ = false;  // the file took a frame no more
    std::chrono::steady_clock::time_point moved_{};
};

}  // namespace orvex::view
