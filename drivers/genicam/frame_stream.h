#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>

#include "engine/sensor.h"

#include "firmware/settings.h"
#include "genicam/features.h"
#include "genicam/pixels.h"

namespace genicam {

// What one run needs to know of its frames.
struct FramePlan {
    const PixelFormat& format;
    Window window;
    rgn_type region;
    uint64_t frames = 0;  // 0 for as many as come
    bool network = false;
};

// What a camera sends during one run. Whole frames go to the host, on the stream's own thread; the
// others are counted. A stream remembers the numbers of its last frames and would take those of the
// next run for late ones, so that each run has its own.
class FrameStream {
  public:
    FrameStream(const FramePlan& plan, engine::HostSide& host, firmware::LiveState& live,
                std::atomic<uint64_t>& lost);
    ~FrameStream() { Close(); }
    FrameStream(const FrameStream&) = delete;
    FrameStream& operator=(const FrameStream&) = delete;

    bool Open(ArvCamera* camera);
    // No frame is in progress when it returns, and none comes.
    void Detach();
    // Until all frames came, the host took no more, or Detach().
    void AwaitEnd();
    // After the end. Waits for a camera that does not answer.
    void Close();

  private:
    static void OnEvent(void* stream, ArvStreamCallbackType event, ArvBuffer* buffer);
    void Take(ArvBuffer* buffer);
    bool IsWhole(ArvBuffer* buffer) const;
    void CountGap(uint64_t number);
    // False when the run is over.
    bool Deliver(ArvBuffer* buffer);

    const FramePlan plan_;
    PixelReader reader_;
    engine::HostSide& host_;
    firmware::LiveState& live_;
    std::atomic<uint64_t>& lost_;
    std::mutex delivery_;  // held while the host is called
    std::condition_variable end_;
    bool over_ = false;
    uint64_t delivered_ = 0;
    uint64_t last_number_ = 0;
    uint64_t failed_since_ = 0;  // frames, since the last whole one
    ArvStream* stream_ = nullptr;
};

}  // namespace genicam
