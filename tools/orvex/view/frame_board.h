#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

#include "orvex/view/frame.h"

namespace orvex::view {

// Where the camera's thread leaves the newest frame for any number of readers. There is no queue:
// who reads slowly sees fewer frames.
class FrameBoard {
  public:
    // A frame to fill, of those that no reader holds any more. For the camera's thread.
    std::shared_ptr<Frame> blank();
    void show(std::shared_ptr<Frame> frame);

    // Somebody waits for a frame.
    bool wanted() const;
    // Empty when there was none yet.
    std::shared_ptr<const Frame> newest() const;
    // The newest one that is newer than this; empty when none comes in time.
    std::shared_ptr<const Frame> after(uint64_t serial, std::chrono::milliseconds limit);
    // Nobody waits any longer.
    void close();

  private:
    mutable std::mutex lock_;
    std::condition_variable shown_;
    std::shared_ptr<Frame> newest_;
    uint64_t serial_ = 0;
    unsigned waiting_ = 0;
    bool closed_ = false;
    // Frames that readers have let go, with their memory.
    struct Spare {
        std::mutex lock;
        std::vector<std::unique_ptr<Frame>> frames;
    };
    std::shared_ptr<Spare> spare_ = std::make_shared<Spare>();
};

}  // namespace orvex::view
