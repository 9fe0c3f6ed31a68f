#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

#include "platform/event.h"

namespace bv {

// A thread on which application callbacks run. A callback may end its own delivery, and may wait
// for a lock of the library that is held by whoever ends it; neither may hang.
class DeliveryThread {
  public:
    // The body owns whatever it needs after Finish() gave it up. Throws std::system_error when the
    // system has no thread left.
    explicit DeliveryThread(std::function<void()> body);
    ~DeliveryThread() { Finish(); }
    DeliveryThread(const DeliveryThread&) = delete;
    DeliveryThread& operator=(const DeliveryThread&) = delete;

    bool IsCurrent() const { return thread_.get_id() == std::this_thread::get_id(); }
    // Waits for the end of the body, however long a callback takes. False when it was left to end
    // by itself: it is the calling thread, or its callback has been waiting for a lock of the
    // library, which the caller may hold, for as long as the limit says.
    bool Finish(uint32_t lock_limit_ms = 5000);

  private:
    struct Progress {
        platform::LocalEvent ended{platform::EventReset::manual, false};
        std::atomic<bool> waits_for_lock{false};
    };
    std::shared_ptr<Progress> progress_ = std::make_shared<Progress>();
    std::thread thread_;
};

}  // namespace bv
