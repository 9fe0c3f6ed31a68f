#include "notify/delivery_thread.h"

#include "platform/module.h"
#include "platform/mutex.h"

namespace bv {

namespace {

constexpr uint32_t round_ms = 50;

}  // namespace

DeliveryThread::DeliveryThread(std::function<void()> body)
    : thread_([progress = progress_, run = std::move(body)]() mutable {
          platform::MarkWaitsOfThisThread(&progress->waits_for_lock);
          run();
          run = nullptr;
          platform::MarkWaitsOfThisThread(nullptr);
          progress->ended.Set();
      }) {}

bool DeliveryThread::Finish(uint32_t lock_limit_ms) {
    if (!thread_.joinable()) return true;
    uint32_t behind_lock_ms = 0;
    while (!IsCurrent() && behind_lock_ms < lock_limit_ms) {
        if (progress_->ended.Wait(round_ms)) {
            thread_.join();
            return true;
        }
        behind_lock_ms = progress_->waits_for_lock ? behind_lock_ms + round_ms : 0;
    }
    platform::KeepLibraryForGood();
    thread_.detach();
    return false;
}

}  // namespace bv
