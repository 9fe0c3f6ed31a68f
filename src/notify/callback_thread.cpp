#include "notify/callback_thread.h"

#include <algorithm>

namespace bv {

CallbackThread::CallbackThread() {
    thread_.emplace([state = state_] { state->Run(); });
}

CallbackThread::~CallbackThread() {
    {
        const std::lock_guard guard(state_->lock);
        state_->stop = true;
        state_->wake.notify_one();
    }
    thread_->Finish();
}

void CallbackThread::Reset(uns32 limit) {
    const std::lock_guard guard(state_->lock);
    std::erase_if(state_->queue,
                  [this](const auto& queued) { return state_->CountersOf(queued.event); });
    state_->bof = {.limit = limit};
    state_->eof = {.limit = limit};
}

void CallbackThread::Enqueue(const CallbackEvent& event) {
    const std::lock_guard guard(state_->lock);
    if (Counters* counters = state_->CountersOf(event.event)) state_->Account(*counters, event);
    state_->queue.push_back(event);
    state_->wake.notify_one();
}

CallbackThread::Counters CallbackThread::Bof() const {
    const std::lock_guard guard(state_->lock);
    return state_->bof;
}

CallbackThread::Counters CallbackThread::Eof() const {
    const std::lock_guard guard(state_->lock);
    return state_->eof;
}

// Null for events that are neither counted nor dropped.
CallbackThread::Counters* CallbackThread::State::CountersOf(uns32 event) {
    if (event == OX_CALLBACK_BOF) return &bof;
    if (event == OX_CALLBACK_EOF) return &eof;
    return nullptr;
}

void CallbackThread::State::Account(Counters& counters, const CallbackEvent& event) {
    const auto frame = static_cast<uns32>(event.frame_info.FrameNr);
    const uns32 skipped = frame - counters.last - 1;
    counters.last = frame;
    // A single skipped frame is no loss worth counting.
    if (skipped > 1) counters.missed += skipped;

    if (counters.queued == counters.limit) {
        const auto oldest = std::find_if(queue.begin(), queue.end(), [&](const auto& queued) {
            return queued.event == event.event;
        });
        if (oldest != queue.end()) {
            queue.erase(oldest);
            --counters.queued;
        }
        ++counters.dropped;
    }
    ++counters.queued;
}

void CallbackThread::State::Run() {
    std::unique_lock guard(lock);
    for (;;) {
        wake.wait(guard, [this] { return stop || !queue.empty(); });
        if (stop) return;
        CallbackEvent event = queue.front();
        queue.pop_front();
        if (Counters* counters = CountersOf(event.event)) {
            counters->dropped = 0;
            --counters->queued;
        }
        guard.unlock();
        callbacks.Deliver(event);
        guard.lock();
    }
}

}  // namespace bv
