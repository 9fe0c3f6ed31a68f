#pragma once

#include <algorithm>
#include <deque>
#include <functional>
#include <mutex>
#include <vector>

#include "notify/callbacks.h"
#include "support/scripted_driver.h"

namespace tests {

// How often a driver was told to give a request back.
inline size_t Flushes(const support::ScriptedCamera& camera) {
    const std::vector<uint32_t> codes = camera.ioctl_codes();
    return static_cast<size_t>(
        std::count(codes.begin(), codes.end(), uint32_t{DV_EVENT_NOTIFICATION_FLUSH}));
}

// What an application hears of one camera.
class HeardEvents {
  public:
    struct Heard {
        uns32 event;
        FRAME_INFO info;
    };

    // Registers itself; `then` runs inside each callback.
    boolean16 listen(int16 hcam, uns32 event, std::function<void()> then = nullptr) {
        contexts_.push_back({this, event, std::move(then)});
        return bv_cam_register_callback(hcam, event, reinterpret_cast<void*>(&hear),
                                        &contexts_.back(), CB_TYPE_EX3);
    }

    std::vector<Heard> all() const {
        const std::lock_guard guard(lock_);
        return heard_;
    }
    std::vector<uns32> events() const {
        std::vector<uns32> events;
        for (const Heard& heard : all()) events.push_back(heard.event);
        return events;
    }
    std::vector<int32> frames() const {
        std::vector<int32> frames;
        for (const Heard& heard : all()) frames.push_back(heard.info.FrameNr);
        return frames;
    }
    bool wait_for(size_t count) const {
        return support::eventually([&] { return all().size() >= count; });
    }

  private:
    struct Context {
        HeardEvents* owner = nullptr;
        uns32 event = 0;
        std::function<void()> then;
    };

    static void hear(FRAME_INFO* info, void* context) {
        auto& heard = *static_cast<Context*>(context);
        {
            const std::lock_guard guard(heard.owner->lock_);
            heard.owner->heard_.push_back({heard.event, *info});
        }
        if (heard.then) heard.then();
    }

    mutable std::mutex lock_;
    std::vector<Heard> heard_;
    std::deque<Context> contexts_;  // a former one may still be in use
};

}  // namespace tests
