#include "api/module_entry.h"

#include <algorithm>

#include "log/argument.h"
#include "log/log.h"
#include "platform/system.h"
#include "state/call.h"

namespace {

constexpr uns32 timer_period_ms = 1;

uns16 systemTimerStarted = 0;
uns32 systemTimerPeriod = 0;

}  // namespace

void systemTimerInit() {
    bv::Call call("systemTimerInit");
    uns32 min_ms = 0;
    uns32 max_ms = 0;
    if (const int32 error = platform::TimerRange(min_ms, max_ms)) {
        call.warn("WinAPI call timeGetDevCaps() failed with err %d, ignored.", error);
        return;
    }
    const uns32 period = std::min(std::max(timer_period_ms, min_ms), max_ms);
    if (const int32 error = platform::BeginTimerPeriod(period)) {
        call.warn("WinAPI call timeBeginPeriod() failed with err %d, ignored.", error);
        return;
    }
    systemTimerStarted = 1;
    systemTimerPeriod = period;
    call.debug("System timer initialized with period %u.", period);
}

void systemTimerUninit() {
    bv::Call call("systemTimerUninit");
    if (systemTimerStarted != 1) {
        call.warn("System timer was not previously initialized. Nothing to uninit.");
        return;
    }
    if (const int32 error = platform::EndTimerPeriod(systemTimerPeriod)) {
        call.warn("WinAPI call timeEndPeriod() failed with err %d, ignored.", error);
        return;
    }
    call.debug("System timer uninitialized.");
}

int32 LibraryHook(void* library, platform::LibraryEvent event, void* reserved) {
    const bool attaches = event == platform::LibraryEvent::process_attach;
    const bool detaches = event == platform::LibraryEvent::process_detach;
    if (!attaches && !detaches) return 1;
    if (detaches) bv::Log::loaderLockMode = true;
    {
        bv::Call call("DllMain", bv::arg("hinstDll", library),
                      bv::arg("fdwReason", static_cast<uns32>(event)),
                      bv::arg("lpvReserved", reserved));
        if (detaches) systemTimerUninit();
        if (attaches) systemTimerInit();
        call.returns(bv::words("TRUE"));
    }
    if (attaches) bv::Log::loaderLockMode = false;
    return 1;
}
