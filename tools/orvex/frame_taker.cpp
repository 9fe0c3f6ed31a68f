#include "orvex/frame_taker.h"

#include <algorithm>

namespace orvex {

FrameTaker::FrameTaker(ContinuousRun& run, FrameFile* file, uint32_t frames)
    : run_(run), file_(file), wanted_(frames), thread_([this] { run_thread(); }) {}

FrameTaker::~FrameTaker() {
    stop_asked_ = true;
    if (thread_.joinable()) thread_.join();
}

void FrameTaker::finish() {
    stop_asked_ = true;
    thread_.join();
    if (problem_) std::rethrow_exception(problem_);
}

void FrameTaker::run_thread() {
    try {
        take_frames();
    } catch (...) {
        problem_ = std::current_exception();
    }
    done_ = true;
}

void FrameTaker::take_frames() {
    std::vector<uint8_t> copy(file_ ? run_.frame_bytes() : 0);
    while (wanted_ == 0 || frames_ < wanted_) {
        // Asked first, so that the last look into the ring comes after the stop.
        const bool stopped = stop_asked_;
        if (stopped) run_.stop();
        most_waiting_ = std::max(most_waiting_, run_.waiting());
        const std::optional<uint32_t> number = run_.copy_next(file_ ? copy.data() : nullptr);
        if (number) {
            if (file_) {
                file_->add(copy);
                numbers_.push_back(*number);
            }
            ++frames_;
            continue;
        }
        if (stopped || run_.overran()) break;
        run_.expect_running();
        run_.wait_for_frame(std::chrono::milliseconds(50));
    }
    run_.stop();
}

}  // namespace orvex
