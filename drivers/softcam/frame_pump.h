#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

namespace softcam {

// The thread on which a camera runs its program. One job at a time; stopping a job waits for it.
class FramePump {
  public:
    using Clock = std::chrono::steady_clock;

    FramePump();
    ~FramePump();
    FramePump(const FramePump&) = delete;
    FramePump& operator=(const FramePump&) = delete;

    // Stops what runs and starts a job.
    void Start(std::function<void()> job);
    // When it returns, no job runs.
    void Stop();

    // For the job: sleeps until a time, or for ever. False when it is to end.
    bool SleepUntil(Clock::time_point when);
    bool SleepForever();
    bool Stopping();
    // Wakes SleepForTrigger().
    void Trigger();
    bool SleepForTrigger();

  private:
    void Run();

    std::mutex lock_;
    std::condition_variable changed_;
    std::function<void()> job_;
    std::atomic<bool> stopping_ = false;
    bool busy_ = false;
    bool quit_ = false;
    bool triggered_ = false;
    std::thread thread_;
};

// The time of a running camera. It passes at `scale` times the pace of the wall clock, or as fast
// as the machine goes when the scale is 0.
class CameraClock {
  public:
    CameraClock(FramePump& pump, double scale)
        : pump_(pump), scale_(scale), deadline_(FramePump::Clock::now()) {}

    // Lets time pass; false when the run is to end.
    bool Pass(int64_t nanoseconds);
    int64_t Nanoseconds() const { return elapsed_; }
    double Seconds() const { return static_cast<double>(elapsed_) * 1e-9; }
    double Scale() const { return scale_; }
    // How far the last step of time was behind the wall clock.
    std::chrono::nanoseconds Behind() const { return behind_; }
    // By how much the schedule was put off in all.
    std::chrono::nanoseconds Lost() const { return lost_; }

  private:
    FramePump& pump_;
    double scale_;
    int64_t elapsed_ = 0;
    FramePump::Clock::time_point deadline_;
    std::chrono::nanoseconds behind_{0};
    std::chrono::nanoseconds lost_{0};
};

}  // namespace softcam
