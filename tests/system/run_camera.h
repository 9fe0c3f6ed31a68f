#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "orvex/orvex.h"
#include "orvex/orvex_legacy.h"

#include "support/eventually.h"
#include "support/soft_cameras.h"

// The camera whose events come by requests on the device file, and the one whose module calls in.
inline constexpr const char* by_requests = "cmos";
inline constexpr const char* by_calls = "plain";

// What an application hears of one event, and what it does in its callback.
class Listener {
  public:
    using Then = std::function<void(int32 frame)>;

    explicit Listener(Then then) : then_(std::move(then)) {}

    boolean16 Register(int16 hcam, int32 event) {
        return ox_cam_register_callback_ex3(hcam, event, reinterpret_cast<void*>(&Hear), this);
    }
    std::vector<int32> heard() const;
    size_t count() const { return heard().size(); }
    bool Heard(int32 frame) const;

  private:
    static void Hear(FRAME_INFO* info, void* context);

    mutable std::mutex lock_;
    std::vector<int32> heard_;
    Then then_;
};

// Holds a callback until it is told.
class Gate {
  public:
    void Pass() {
        reached_ = true;
        support::Eventually([this] { return open_.load(); });
    }
    bool AwaitReached() {
        return support::Eventually([this] { return reached_.load(); });
    }
    void Open() { open_ = true; }

  private:
    std::atomic<bool> open_ = false;
    std::atomic<bool> reached_ = false;
};

// The library with one fast software camera, and the runs of a small region that tests disturb.
class RunCamera {
  public:
    static constexpr uns32 side = 16;
    static constexpr uns32 frame_bytes = side * side * 2;
    static constexpr rgn_type place{
        .s1 = 16, .s2 = 15 + side, .sbin = 1, .p1 = 32, .p2 = 31 + side, .pbin = 1};

    explicit RunCamera(const std::string& model);
    ~RunCamera() { ox_orvex_uninit(); }

    boolean16 Open();
    // After calls of which some leave the camera closed, some the library not initialised.
    void OpenWhatIsClosed();
    int16 handle() const { return handle_; }

    // What `then` captures has to outlive the camera.
    Listener& Listen(int32 event, Listener::Then then = nullptr);
    // A line of the service console, which plans a fault.
    void Console(std::string line) const;

    void SetUpRing() const;
    boolean16 StartRing(uns32 frames = 10);
    boolean16 Abort() const { return ox_exp_abort(handle_, CCS_HALT); }
    // Frames told so far, or -1; the status is what the library says of the run.
    int32 Frames(int16* status = nullptr) const;
    bool AwaitFrames(int32 count) const;
    // Frames that the driver has received, told or not.
    uns32 Received() const;
    boolean16 TakeNewest() const;
    // A message that is no part of any run.
    boolean16 AskTemperature() const;

    // A sequence comes out whole and right.
    void ExpectWorks() const;

  private:
    support::SoftCameras cameras_;
    int16 handle_ = -1;
    std::deque<Listener> listeners_;
    std::vector<uns8> ring_;  // outlives every run, also one whose start failed
};
