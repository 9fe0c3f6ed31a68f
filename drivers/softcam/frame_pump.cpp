#include "softcam/frame_pump.h"

#include <algorithm>
#include <utility>

#include "engine/platform.h"

namespace softcam {
namespace {

// A run that fell behind its schedule by more than this starts a new one, rather than hurrying.
constexpr std::chrono::milliseconds patience{20};

}  // namespace

FramePump::FramePump() : thread_([this] { Run(); }) {}

FramePump::~FramePump() {
    {
        const std::lock_guard hold(lock_);
        quit_ = true;
        stopping_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void FramePump::Start(std::function<void()> job) {
    Stop();
    {
        const std::lock_guard hold(lock_);
        job_ = std::move(job);
        busy_ = true;
        triggered_ = false;
    }
    changed_.notify_all();
}

void FramePump::Stop() {
    // A job that stops its own camera must not wait for itself.
    if (std::this_thread::get_id() == thread_.get_id()) {
        stopping_ = true;
        return;
    }
    std::unique_lock hold(lock_);
    stopping_ = true;
    changed_.notify_all();
    changed_.wait(hold, [this] { return !busy_; });
    stopping_ = false;
}

void FramePump::Run() {
    // Frames are due to the microsecond.
    const engine::SharpSleep sharp;
    std::unique_lock hold(lock_);
    for (;;) {
        changed_.wait(hold, [this] { return quit_ || job_ != nullptr; });
        if (job_ != nullptr && !stopping_) {
            const std::function<void()> job = std::exchange(job_, nullptr);
            hold.unlock();
            job();
            hold.lock();
        }
        job_ = nullptr;
        busy_ = false;
        changed_.notify_all();
        if (quit_) return;
    }
}

bool FramePump::Stopping() {
    return stopping_.load(std::memory_order_relaxed);
}

bool FramePump::SleepUntil(Clock::time_point when) {
    std::unique_lock hold(lock_);
    changed_.wait_until(hold, when, [this] { return stopping_.load(); });
    return !stopping_;
}

bool FramePump::SleepForever() {
    std::unique_lock hold(lock_);
    changed_.wait(hold, [this] { return stopping_.load(); });
    return false;
}

void FramePump::Trigger() {
    {
        const std::lock_guard hold(lock_);
        triggered_ = true;
    }
    changed_.notify_all();
}

bool FramePump::SleepForTrigger() {
    std::unique_lock hold(lock_);
    changed_.wait(hold, [this] { return stopping_ || triggered_; });
    triggered_ = false;
    return !stopping_;
}

bool CameraClock::Pass(int64_t nanoseconds) {
    elapsed_ += nanoseconds;
    if (scale_ <= 0) return !pump_.Stopping();
    deadline_ +=
        std::chrono::nanoseconds(static_cast<int64_t>(static_cast<double>(nanoseconds) * scale_));
    const auto now = FramePump::Clock::now();
    behind_ = std::max(now - deadline_, std::chrono::nanoseconds(0));
    if (now < deadline_) return pump_.SleepUntil(deadline_);
    if (behind_ > patience) {
        lost_ += behind_;
        deadline_ = now;
    }
    return !pump_.Stopping();
}

}  // namespace softcam
