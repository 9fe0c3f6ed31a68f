#include "listener.h"

#include "failure.h"

namespace endurance {
Listener::Listener() {
    for (Run& run : runs_) run.listener = this;
}

void Listener::begin(const FrameRing& ring, int16 hcam, Delivery delivery, uns32 in_flight) {
    const std::lock_guard hold(lock_);
    ++run_;
    runs_[run_ % runs_.size()].number = run_;
    ring_ = &ring;
    hcam_ = hcam;
    delivery_ = delivery;
    in_flight_ = in_flight;
    heard_ = {};
    last_time_ = 0;
}

void Listener::hear() {
    // A frame that the driver kept from an aborted run goes to the first request that comes, the
    // second registration takes all requests back, and the third waits until the library's thread
    // is through with what it had in hand then.
    for (int times = 0; times < 3; ++times) {
        expect(ox_cam_register_callback_ex3(hcam_, OX_CALLBACK_EOF,
                                            reinterpret_cast<void*>(&on_end_of_frame),
                                            &runs_[run_ % runs_.size()]),
               "registering a callback: error ", ox_error_code());
        restart(false);
    }
}

void Listener::restart(bool all_pending) {
    const std::lock_guard hold(lock_);
    all_pending_ = all_pending;
    heard_ = {};
    last_time_ = 0;
    problem_.clear();
}

Heard Listener::heard() const {
    const std::lock_guard hold(lock_);
    if (!problem_.empty()) throw Failure(problem_);
    return heard_;
}

void Listener::end() {
    const std::lock_guard hold(lock_);
    ring_ = nullptr;
}

void Listener::on_end_of_frame(const FRAME_INFO* info, void* context) {
    const Run& run = *static_cast<const Run*>(context);
    Listener& listener = *run.listener;
    const std::lock_guard hold(listener.lock_);
    if (run.number == listener.run_ && listener.ring_) listener.take(*info);
}

void Listener::complain(const std::string& text) {
    if (problem_.empty()) problem_ = text;
}

void Listener::take(const FRAME_INFO& info) {
    const auto number = static_cast<uns32>(info.FrameNr);
    if (info.hCam != hcam_ || number <= heard_.newest)
        return complain(text_of("a callback: expected a frame above ", heard_.newest, " of camera ",
                                hcam_, ", seen ", info.FrameNr, " of camera ", info.hCam));
    if (info.TimeStampBOF > info.TimeStampEOF || info.TimeStampEOF < last_time_)
        return complain(text_of("frame ", number, ": expected times in order after ", last_time_,
                                ", seen ", info.TimeStampBOF, " to ", info.TimeStampEOF));
    if (number != heard_.newest + 1) judge_gap(number);
    heard_.newest = number;
    last_time_ = info.TimeStampEOF;
    ++heard_.frames;
    switch (ring_->check(number)) {
        case Verdict::intact: ++heard_.intact; break;
        case Verdict::overtaken: ++heard_.overtaken; break;
        case Verdict::torn: complain(text_of("in a callback: ", ring_->describe(number)));
    }
}

void Listener::judge_gap(uns32 number) {
    const uns32 last = heard_.newest;
    heard_.passed_over += number - last - 1;
    // A queue that was full lost the frame before this one when as many newer ones were there.
    const bool allowed = delivery_ == Delivery::requests ? !all_pending_ || last >= in_flight_
                                                         : ring_->written(number - 1 + in_flight_);
    if (!allowed)
        complain(text_of("expected a callback for every frame while ", in_flight_,
                         " notifications are in flight; seen frame ", number, " after ", last));
}

}  // namespace endurance
