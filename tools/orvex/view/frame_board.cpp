#include "orvex/view/frame_board.h"

#include <utility>

namespace orvex::view {

std::shared_ptr<Frame> FrameBoard::blank() {
    std::unique_ptr<Frame> frame;
    {
        const std::lock_guard hold(spare_->lock);
        if (!spare_->frames.empty()) {
            frame = std::move(spare_->frames.back());
            spare_->frames.pop_back();
        }
    }
    if (!frame) frame = std::make_unique<Frame>();
    frame->renew();
    // More than a few are not worth their memory.
    constexpr size_t most_spare = 3;
    return {frame.release(), [spare = spare_](Frame* done) {
                std::unique_ptr<Frame> back(done);
                const std::lock_guard hold(spare->lock);
                if (spare->frames.size() < most_spare) spare->frames.push_back(std::move(back));
            }};
}

void FrameBoard::show(std::shared_ptr<Frame> frame) {
    const std::lock_guard hold(lock_);
    frame->serial = ++serial_;
    newest_ = std::move(frame);
    shown_.notify_all();
}

bool FrameBoard::wanted() const {
    const std::lock_guard hold(lock_);
    return waiting_ > 0;
}

std::shared_ptr<const Frame> FrameBoard::newest() const {
    const std::lock_guard hold(lock_);
    return newest_;
}

std::shared_ptr<const Frame> FrameBoard::after(uint64_t serial, std::chrono::milliseconds limit) {
    std::unique_lock hold(lock_);
    const auto there = [&] { return closed_ || (newest_ && newest_->serial > serial); };
    if (!there()) {
        ++waiting_;
        shown_.wait_for(hold, limit, there);
        --waiting_;
    }
    return newest_ && newest_->serial > serial ? newest_ : nullptr;
}

void FrameBoard::close() {
    const std::lock_guard hold(lock_);
    closed_ = true;
    shown_.notify_all();
}

}  // namespace orvex::view
