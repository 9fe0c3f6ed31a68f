#include "platform/append_file.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace platform {

namespace {

// The system sends both to the thread that writes.
constexpr std::array write_signals = {SIGPIPE, SIGXFSZ};

thread_local unsigned quiet_depth = 0;

template <class Holds>
sigset_t SetOf(Holds holds) {
    sigset_t set;
    sigemptyset(&set);
    for (size_t i = 0; i < write_signals.size(); ++i)
        if (holds(1u << i)) sigaddset(&set, write_signals[i]);
    return set;
}

unsigned BitsOf(const sigset_t& set) {
    unsigned bits = 0;
    for (size_t i = 0; i < write_signals.size(); ++i)
        if (sigismember(&set, write_signals[i]) == 1) bits |= 1u << i;
    return bits;
}

}  // namespace

NoWriteSignals::NoWriteSignals() {
    if (quiet_depth++ > 0) return;
    sigset_t pending;
    sigpending(&pending);
    pending_ = BitsOf(pending);
    const sigset_t all = SetOf([](unsigned) { return true; });
    sigset_t former;
    pthread_sigmask(SIG_BLOCK, &all, &former);
    unblocked_ = ~BitsOf(former);
}

NoWriteSignals::~NoWriteSignals() {
    if (--quiet_depth > 0) return;
    const sigset_t raised = SetOf([&](unsigned bit) { return (pending_ & bit) == 0; });
    const timespec at_once{};
    while (sigtimedwait(&raised, nullptr, &at_once) > 0 || errno == EINTR) {
    }
    const sigset_t freed = SetOf([&](unsigned bit) { return (unblocked_ & bit) != 0; });
    pthread_sigmask(SIG_UNBLOCK, &freed, nullptr);
}

bool AppendFile::Open(const char* path) {
    constexpr mode_t for_everybody = 0666;
    Close();
    handle_ = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY, for_everybody);
    return IsOpen();
}

void AppendFile::Close() {
    if (IsOpen()) close(static_cast<int>(handle_));
    handle_ = no_handle;
}

void AppendFile::Append(std::string_view lines) {
    const NoWriteSignals quiet;
    std::string behind_torn;
    if (torn_) {
        behind_torn.append("\n").append(lines);
        lines = behind_torn;
    }
    const size_t whole = lines.size();
    while (!lines.empty()) {
        const ssize_t written = write(static_cast<int>(handle_), lines.data(), lines.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) break;
        lines.remove_prefix(static_cast<size_t>(written));
    }
    // Of what was refused as a whole there is nothing to see.
    if (lines.size() < whole) torn_ = !lines.empty();
}

}  // namespace platform
