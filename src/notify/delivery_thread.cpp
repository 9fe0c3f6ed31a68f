#include "notify/delivery_thread.h"

#include <algorithm>

#include "platform/module.h"

namespace bv {

namespace {

// How soon a waiting caller notices that it waits in vain.
constexpr uint32_t round_ms = 2;

}  // namespace

DeliveryThread::DeliveryThread(std::function<void()> body)
    : thread_([progress = progress_, run = std::move(body)]() mutable {
          platform::MarkWaitsOfThisThread(&progress->waits_for);
          run();
          run = nullptr;
          platform::MarkWaitsOfThisThread(nullptr);
          progress->ended.Set();
      }) {}

bool DeliveryThread::NeedsCaller() const {
    if (IsCurrent()) return true;
    // The mutex outlives the wait, and the wait the look at it if the caller is the one to end it.
    const platform::ErrorCheckingMutex* awaited = progress_->waits_for;
    return awaited && awaited->IsHeldByThisThread();
}

bool DeliveryThread::Await(platform::LocalEvent& event, uint32_t limit_ms) const {
    for (uint32_t left = limit_ms;; left -= std::min(left, round_ms)) {
        if (event.Wait(NeedsCaller() ? 0 : std::min(left, round_ms))) return true;
        if (left == 0 || NeedsCaller()) return false;
    }
}

bool DeliveryThread::Finish(uint32_t lock_limit_ms) {
    if (!thread_.joinable()) return true;
    uint32_t behind_lock_ms = 0;
    while (behind_lock_ms < lock_limit_ms) {
        if (Await(progress_->ended, round_ms)) {
            thread_.join();
            return true;
        }
        if (NeedsCaller()) break;
        behind_lock_ms = progress_->waits_for.load() ? behind_lock_ms + round_ms : 0;
    }
    platform::KeepLibraryForGood();
    thread_.detach();
    return false;
}

}  // namespace bv
