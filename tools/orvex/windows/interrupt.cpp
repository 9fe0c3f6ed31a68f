#include "orvex/interrupt.h"

#include <atomic>
#include <csignal>
#include <windows.h>

namespace orvex {

namespace {

std::atomic<int> came = 0;
HANDLE has_come = nullptr;

// Runs on a thread of the system. A second signal is left to it, which ends the program.
BOOL WINAPI on_control(DWORD kind) {
    const bool from_keyboard = kind == CTRL_C_EVENT || kind == CTRL_BREAK_EVENT;
    int none = 0;
    if (!came.compare_exchange_strong(none, from_keyboard ? SIGINT : SIGTERM)) return FALSE;
    SetEvent(has_come);
    // A process whose window closes is ended when this returns, so the camera is stopped meanwhile.
    if (!from_keyboard) Sleep(INFINITE);
    return TRUE;
}

}  // namespace

int end_signal() {
    return came;
}

void hold_end_signals() {
    has_come = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(on_control, TRUE);
}

bool interrupted_within(std::chrono::milliseconds limit) {
    return WaitForSingleObject(has_come, static_cast<DWORD>(limit.count())) == WAIT_OBJECT_0;
}

}  // namespace orvex
