#include "platform/direct_channel.h"

#include <cerrno>
#include <chrono>

namespace platform {

using Use = RequestSlots::Use;

bool DirectChannel::Open(dv_file_opener opener, const char* path) {
    const dv_file_host host = {
        this,
        [](void* context, const dv_file_completion* message) {
            static_cast<DirectChannel*>(context)->Complete(*message);
        },
        [](void* context) { static_cast<DirectChannel*>(context)->Gone(); },
    };
    file_open_ = opener(path, &host, &driver_) == 1 && driver_.submit && driver_.close;
    return file_open_;
}

void DirectChannel::CloseFile() {
    {
        const std::lock_guard guard(lock_);
        if (!file_open_) return;
        file_open_ = false;
        ForgetLocked();
    }
    driver_.close(driver_.context);
}

bool DirectChannel::OpenPort(uint64_t key) {
    const std::lock_guard guard(lock_);
    if (!file_open_ || port_open_) return false;
    key_ = key;
    port_open_ = true;
    return true;
}

void DirectChannel::ClosePort() {
    {
        const std::lock_guard guard(lock_);
        port_open_ = false;
    }
    wake_.notify_all();
}

uint32_t DirectChannel::Submit(uint32_t code, OverlappedRequest& request) {
    dv_file_request message{};
    uint32_t slot = RequestSlots::no_slot;
    {
        const std::lock_guard guard(lock_);
        if (!file_open_) return EBADF;
        slot = slots_.Take(request, code);
        if (slot == RequestSlots::no_slot) return ENOMEM;
        if (dead_) return SubmitToNobody(slot);
        // The driver may complete it before it returns.
        slots_[slot].use = Use::sent;
        message = slots_.Message(slot);
    }
    if (Send(message)) return operation_in_progress;
    const std::lock_guard guard(lock_);
    // Whoever says that the driver has gone gives back what it had, this one too.
    if (dead_ || !slots_.IsSent(message.id)) return operation_in_progress;
    return SubmitToNobody(slot);
}

// The taking thread had all requests in hand when the driver went: the first that is submitted then
// tells it of the removal, as those would that the driver had.
uint32_t DirectChannel::SubmitToNobody(uint32_t slot) {
    if (removal_returned_ || slots_.InUse() != 1) {
        slots_.Release(slot);
        return EPIPE;
    }
    slots_.Append(orphaned_, slot, Use::orphaned);
    wake_.notify_one();
    return operation_in_progress;
}

bool DirectChannel::Send(const dv_file_request& message) {
    return driver_.submit(driver_.context, &message) == 1;
}

bool DirectChannel::CancelAll() {
    {
        const std::lock_guard guard(lock_);
        if (!file_open_ || dead_) return false;
    }
    dv_file_request message{};
    message.operation = DV_FILE_CANCEL_ALL;
    return Send(message);
}

void DirectChannel::Forget() {
    const std::lock_guard guard(lock_);
    ForgetLocked();
}

void DirectChannel::ForgetLocked() {
    completed_ = {};
    orphaned_ = {};
    slots_.ReleaseAll();
}

bool DirectChannel::Post(uint32_t bytes, uint64_t key) {
    {
        const std::lock_guard guard(lock_);
        if (!port_open_) return false;
        posted_.push_back({key, nullptr, bytes});
    }
    wake_.notify_one();
    return true;
}

void DirectChannel::Complete(const dv_file_completion& message) {
    {
        const std::lock_guard guard(lock_);
        const uint32_t slot = slots_.Accept(message);
        if (slot == RequestSlots::no_slot) return;
        slots_.Append(completed_, slot, Use::completed);
    }
    wake_.notify_one();
}

void DirectChannel::Gone() {
    {
        const std::lock_guard guard(lock_);
        dead_ = true;
        for (uint32_t slot = 0; slot < slots_.Size(); ++slot)
            if (slots_[slot].use == Use::sent) slots_.Append(orphaned_, slot, Use::orphaned);
    }
    wake_.notify_one();
}

// Posts come first, so that no flood of a driver can hold back the end of a thread.
size_t DirectChannel::TakeLocked(std::span<Completion> entries) {
    size_t taken = 0;
    while (taken < entries.size() && !posted_.empty()) {
        entries[taken++] = posted_.front();
        posted_.pop_front();
    }
    while (taken < entries.size() && completed_.count > 0)
        entries[taken++] = slots_.Return(slots_.RemoveFirst(completed_), key_);
    while (taken < entries.size() && orphaned_.count > 0) {
        entries[taken++] = slots_.ReturnRemoved(slots_.RemoveFirst(orphaned_), key_);
        removal_returned_ = true;
    }
    return taken;
}

size_t DirectChannel::Take(std::span<Completion> entries, uint32_t limit_ms) {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::milliseconds(limit_ms);
    std::unique_lock guard(lock_);
    for (bool in_time = true;; in_time = in_time && Clock::now() < deadline) {
        if (!port_open_) return 0;
        const size_t taken = TakeLocked(entries);
        if (taken > 0 || entries.empty() || !in_time) return taken;
        if (limit_ms == Event::no_limit) {
            wake_.wait(guard);
        } else {
            wake_.wait_until(guard, deadline);
        }
    }
}

size_t DirectChannel::Outstanding() {
    const std::lock_guard guard(lock_);
    return slots_.InUse();
}

bool DirectChannel::IsUntouched(size_t count) {
    const std::lock_guard guard(lock_);
    return !dead_ && slots_.InUse() == count && completed_.count + orphaned_.count == 0;
}

bool DirectChannel::HasMore() {
    const std::lock_guard guard(lock_);
    return completed_.count > 0;
}

}  // namespace platform
