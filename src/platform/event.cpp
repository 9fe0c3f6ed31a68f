#include "platform/event.h"

namespace platform {

bool Event::Create(const char* name, EventReset reset, bool signalled) {
    Close();
    return orvex_event_create(&event_, name, reset == EventReset::automatic, signalled) == 1;
}

void Event::Close() {
    orvex_event_close(&event_);
}

bool Event::Set() {
    return orvex_event_set(&event_) == 1;
}

bool Event::Reset() {
    return orvex_event_reset(&event_) == 1;
}

bool Event::Wait(uint32_t limit_ms) {
    return orvex_event_wait(&event_, limit_ms) == 1;
}

}  // namespace platform
