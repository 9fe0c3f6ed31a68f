#pragma once

#include <array>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "notify/callback_event.h"

namespace bv {

// Whom the events of a camera call back, and which call is in progress on the thread that delivers
// them. A function that was replaced is never called again: who it is, is looked up at the call.
class CallbackTable {
  public:
    // `event` is below OX_CALLBACK_MAX.
    void Set(uns32 event, const CallbackSlot& slot);
    void Clear();
    bool Wants(uns32 event) const;
    // For the delivering thread. Calls the application, if it wants to be.
    void Deliver(CallbackEvent& event);
    // Waits for a call in progress that the last change of the event's slot did not prevent. True
    // at once without one, and within it. False when the limit was not enough.
    bool AwaitEnd(uns32 event, uns32 limit_ms);

  private:
    mutable std::mutex lock_;  // guards all below; never held while calling back
    std::condition_variable ended_;
    std::array<CallbackSlot, OX_CALLBACK_MAX> slots_;
    bool calling_ = false;
    uns32 called_event_ = 0;
    uns64 calls_ = 0;
    std::thread::id caller_;
};

}  // namespace bv
