#include "notify/callback_table.h"

#include <chrono>

namespace bv {

void CallbackTable::Set(uns32 event, const CallbackSlot& slot) {
    const std::lock_guard guard(lock_);
    slots_[event] = slot;
}

void CallbackTable::Clear() {
    const std::lock_guard guard(lock_);
    slots_ = {};
}

bool CallbackTable::Wants(uns32 event) const {
    const std::lock_guard guard(lock_);
    return slots_[event].function != nullptr;
}

void CallbackTable::Deliver(CallbackEvent& event) {
    std::unique_lock guard(lock_);
    const CallbackSlot slot = slots_[event.event];
    if (!slot.function) return;
    calling_ = true;
    called_event_ = event.event;
    caller_ = std::this_thread::get_id();
    guard.unlock();
    event.Deliver(slot);
    guard.lock();
    calling_ = false;
    ++calls_;
    ended_.notify_all();
}

bool CallbackTable::AwaitEnd(uns32 event, uns32 limit_ms) {
    std::unique_lock guard(lock_);
    if (!calling_ || called_event_ != event || caller_ == std::this_thread::get_id()) return true;
    return ended_.wait_for(guard, std::chrono::milliseconds(limit_ms),
                           [this, call = calls_] { return calls_ != call; });
}

}  // namespace bv
