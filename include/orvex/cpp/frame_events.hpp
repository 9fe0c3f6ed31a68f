/**
 * @file frame_events.hpp
 * How runs hear of their frames.
 */
#ifndef ORVEX_CPP_FRAME_EVENTS_HPP
#define ORVEX_CPP_FRAME_EVENTS_HPP

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <utility>

#include "camera.hpp"

namespace orvex {

/** Memory that belongs to somebody else, in the way of std::span. */
template <class T>
class View {
  public:
    View() = default;
    View(T* data, size_t size) : data_(data), size_(size) {}

    T* data() const { return data_; }
    size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    T* begin() const { return data_; }
    T* end() const { return data_ + size_; }
    T& operator[](size_t index) const { return data_[index]; }

  private:
    T* data_ = nullptr;
    size_t size_ = 0;
};

using Pixels = View<const uns16>;
using Bytes = View<const uns8>;

namespace detail {

/** Hears of the ends of frames for as long as it exists. */
class FrameEvents {
  public:
    FrameEvents(OpenCamera& camera, EventFunction also) : camera_(camera), also_(std::move(also)) {
        camera.require(ox_cam_register_callback_ex3(camera.handle, OX_CALLBACK_EOF,
                                                    reinterpret_cast<void*>(&on_end), this),
                       "cannot hear of frames");
    }
    ~FrameEvents() { ox_cam_deregister_callback(camera_.handle, OX_CALLBACK_EOF); }
    FrameEvents(const FrameEvents&) = delete;
    FrameEvents& operator=(const FrameEvents&) = delete;

    OpenCamera& camera() const { return camera_; }
    /** Number of the newest frame that was told of since the start; 0 for none. */
    uns32 newest() const { return newest_; }
    /** Before a start, whose first frame is number 1 again. */
    void restart() { newest_ = 0; }

    /** Waits until a frame beyond this one is told of; false when the time is over. */
    template <class Duration>
    bool wait_beyond(uns32 number, Duration limit) {
        std::unique_lock<std::mutex> hold(lock_);
        return told_.wait_for(hold, limit, [&] { return newest_ > number; });
    }

  private:
    static void on_end(const FRAME_INFO* info, void* context) noexcept {
        auto& events = *static_cast<FrameEvents*>(context);
        if (events.also_) events.also_(*info);
        const std::lock_guard<std::mutex> hold(events.lock_);
        events.newest_ = std::max(events.newest_.load(), static_cast<uns32>(info->FrameNr));
        events.told_.notify_all();
    }

    OpenCamera& camera_;
    const EventFunction also_;
    std::mutex lock_;
    std::condition_variable told_;
    std::atomic<uns32> newest_{0};
};

}  // namespace detail

}  // namespace orvex

#endif
