#include "orvex/interrupt.h"

#include <csignal>

namespace orvex {

namespace {

struct EndSignals {
    sigset_t set{};
    sigset_t before{};
    int came = 0;
};

EndSignals& end_signals() {
    static EndSignals signals;
    return signals;
}

}  // namespace

int end_signal() {
    return end_signals().came;
}

void hold_end_signals() {
    EndSignals& signals = end_signals();
    sigemptyset(&signals.set);
    for (const int signal : {SIGINT, SIGTERM}) sigaddset(&signals.set, signal);
    struct sigaction hang_up{};
    // Under nohup a terminal that goes away is of no concern.
    if (sigaction(SIGHUP, nullptr, &hang_up) == 0 && hang_up.sa_handler != SIG_IGN) {
        sigaddset(&signals.set, SIGHUP);
    }
    pthread_sigmask(SIG_BLOCK, &signals.set, &signals.before);
    // Output that nobody reads any more ends in an error, and not in a process that is gone.
    std::signal(SIGPIPE, SIG_IGN);
}

bool interrupted_within(std::chrono::milliseconds limit) {
    EndSignals& signals = end_signals();
    if (signals.came) return true;
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(limit);
    const timespec time{.tv_sec = seconds.count(),
                        .tv_nsec = std::chrono::nanoseconds(limit - seconds).count()};
    const int signal = sigtimedwait(&signals.set, nullptr, &time);
    if (signal <= 0) return false;
    signals.came = signal;
    sigdelset(&signals.before, signal);
    pthread_sigmask(SIG_SETMASK, &signals.before, nullptr);
    return true;
}

}  // namespace orvex
