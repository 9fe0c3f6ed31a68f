#pragma once

#include <functional>
#include <memory>
#include <thread>

#include "platform/event.h"
#include "platform/mutex.h"

namespace bv {

// A thread on which application callbacks run. A callback may end its own delivery, and may wait
// for a lock of the library that is held by whoever waits for it; neither may hang.
class DeliveryThread {
  public:
    // The body owns whatever it needs after Finish() gave it up. Throws std::system_error when the
    // system has no thread left.
    explicit DeliveryThread(std::function<void()> body);
    ~DeliveryThread() { Finish(); }
    DeliveryThread(const DeliveryThread&) = delete;
    DeliveryThread& operator=(const DeliveryThread&) = delete;

    bool IsCurrent() const { return thread_.get_id() == std::this_thread::get_id(); }
    // What the thread does next needs the calling thread to go on: it is that thread, or its
    // callback waits for a mutex that the calling thread holds, and will until the unlock.
    bool NeedsCaller() const;
    // Waits for a signal of the thread. False when the time ran out or the thread came to need the
    // caller.
    bool Await(platform::LocalEvent& event, uint32_t limit_ms) const;
    // Waits for the end of the body, however long a callback takes. False when it was left to end
    // by itself: it needs the caller, or its callback has been waiting for another lock of the
    // library for as long as the limit says.
    bool Finish(uint32_t lock_limit_ms = 5000);

  private:
    struct Progress {
        platform::LocalEvent ended{platform::EventReset::manual, false};
        platform::WaitMark waits_for{nullptr};
    };
    std::shared_ptr<Progress> progress_ = std::make_shared<Progress>();
    std::thread thread_;
};

}  // namespace bv
