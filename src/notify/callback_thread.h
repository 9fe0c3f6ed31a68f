#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <memory_resource>
#include <mutex>
#include <optional>

#include "notify/callback_event.h"
#include "notify/callback_table.h"
#include "notify/delivery_thread.h"

namespace bv {

// Calls the application back on a thread of its own, from a bounded queue: when the application
// lags, the newest frames win, and no flood of frames pushes out a removal.
class CallbackThread {
  public:
    // What is known of the events of one kind, begin or end of frame.
    struct Counters {
        uns32 last = 0;     // frame number seen last
        uns32 queued = 0;   // events in the queue
        uns32 limit = 0;    // most of them that the queue may hold
        uns32 dropped = 0;  // since the thread last took one
        uns32 missed = 0;   // frame numbers skipped
    };

    // Throws std::system_error when the system has no thread left.
    CallbackThread();
    // Events still queued are dropped.
    ~CallbackThread();
    CallbackThread(const CallbackThread&) = delete;
    CallbackThread& operator=(const CallbackThread&) = delete;

    // A fresh start for a new run: frames of the one before are nobody's news any more.
    void Reset(uns32 limit);
    void Enqueue(const CallbackEvent& event);

    // Whom events call back, those too that are queued already.
    CallbackTable& Callbacks() { return state_->callbacks; }

    Counters Bof() const;
    Counters Eof() const;

  private:
    // Owned together with the thread, which may outlive this object by the length of a callback.
    struct State {
        CallbackTable callbacks;
        Counters bof;
        Counters eof;
        bool stop = false;
        // Gives freed blocks back to the queue and not to the heap.
        std::pmr::unsynchronized_pool_resource blocks;
        std::pmr::deque<CallbackEvent> queue{&blocks};
        std::mutex lock;  // guards all of the above but the callbacks
        std::condition_variable wake;

        Counters* CountersOf(uns32 event);
        void Account(Counters& counters, const CallbackEvent& event);
        void Run();
    };

    std::shared_ptr<State> state_ = std::make_shared<State>();
    std::optional<DeliveryThread> thread_;
};

}  // namespace bv
