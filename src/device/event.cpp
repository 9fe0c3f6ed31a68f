#include "platform/event.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "device/device_table.h"

namespace {

// The public record is what drivers see of an event; the mapping behind it is kept, so that a wait
// costs no system call to get there.
struct OwnedEvent : dv_event {
    platform::Event event;
};

platform::Event& owned(dv_event* event) {
    return static_cast<OwnedEvent*>(event)->event;
}

}  // namespace

boolean16 dv_event_create(dv_event** slot, boolean16 initial_state, boolean16 auto_reset,
                          const char* name) {
    if (!slot || *slot) return 0;
    std::unique_ptr<OwnedEvent> created(new (std::nothrow) OwnedEvent{});
    if (!created) return 0;
    if (name) {
        const size_t length = std::min(std::strlen(name), sizeof created->name - 1);
        std::memcpy(created->name, name, length);
        created->name[length] = '\0';
    }
    const auto reset = auto_reset ? platform::EventReset::automatic : platform::EventReset::manual;
    if (!created->event.Create(created->name, reset, initial_state == 1)) return 0;
    created->handle = created->event.Handle();
    *slot = created.release();
    return 1;
}

void dv_event_close(dv_event** slot) {
    if (!slot || !*slot) return;
    delete static_cast<OwnedEvent*>(*slot);
    *slot = nullptr;
}

bool dv_event_has_its_name(const dv_event* event) {
    return static_cast<const OwnedEvent*>(event)->event.IsNamed() || event->name[0] == '\0';
}

boolean16 dv_event_set(dv_event* event) {
    return event && owned(event).Set();
}

boolean16 dv_event_reset(dv_event* event) {
    return event && owned(event).Reset();
}

boolean16 dv_event_wait(dv_event* event, uns32 limit_ms) {
    return event && owned(event).Wait(limit_ms);
}

int64 dv_event_get_handle(const dv_event* event) {
    return event ? event->handle : -1;
}
