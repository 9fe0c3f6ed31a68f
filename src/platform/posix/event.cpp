#include "platform/event.h"

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <linux/futex.h>
#include <string>

#include "platform/posix/descriptor.h"

namespace platform {

namespace {

void SweepEvent(const char* object) {
    const Descriptor left(shm_open(object, O_RDWR, 0));
    if (!left || !orvex_event_is_leftover(left.get())) return;
    // As the creator would have done, which leaves a name alone that has become another's.
    orvex_event dead{};
    dead.handle = left.get();
    dead.creator = getpid();
    std::snprintf(dead.object, sizeof dead.object, "%s", object);
    orvex_event_unlink(&dead);
}

}  // namespace

void SweepEvents() {
    std::error_code error;
    for (std::filesystem::directory_iterator entry("/dev/shm", error), end; entry != end;
         entry.increment(error)) {
        const std::string object = '/' + entry->path().filename().string();
        if (object.starts_with("/orvex.")) SweepEvent(object.c_str());
    }
}

void LocalEvent::Set() {
    std::atomic_ref<uint32_t>(signalled_).store(1, std::memory_order_release);
    syscall(SYS_futex, &signalled_, FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0);
}

void LocalEvent::Reset() {
    std::atomic_ref<uint32_t>(signalled_).store(0, std::memory_order_release);
}

bool LocalEvent::Poll() {
    std::atomic_ref<uint32_t> signalled(signalled_);
    if (signalled.load(std::memory_order_acquire) == 0) return false;
    return reset_ == EventReset::manual || signalled.exchange(0, std::memory_order_acq_rel) != 0;
}

bool LocalEvent::Wait(uint32_t limit_ms) {
    if (Poll()) return true;
    if (limit_ms == 0) return false;
    timespec deadline{};
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    const long nanoseconds = deadline.tv_nsec + static_cast<long>(limit_ms % 1000) * 1'000'000;
    deadline.tv_sec += static_cast<time_t>(limit_ms / 1000) + nanoseconds / 1'000'000'000;
    deadline.tv_nsec = nanoseconds % 1'000'000'000;
    for (;;) {
        const long result = syscall(SYS_futex, &signalled_, FUTEX_WAIT_BITSET_PRIVATE, 0u,
                                    limit_ms == Event::no_limit ? nullptr : &deadline, nullptr,
                                    FUTEX_BITSET_MATCH_ANY);
        const int reason = result == 0 ? 0 : errno;
        if (Poll()) return true;
        if (reason != 0 && reason != EAGAIN && reason != EINTR) return false;
    }
}

}  // namespace platform
