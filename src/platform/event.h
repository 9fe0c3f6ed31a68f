#pragma once

#include <cstdint>

#include "orvex/orvex_event.h"

namespace platform {

enum class EventReset { manual, automatic };

// A named or unnamed event, in the form that orvex_event.h shares with driver modules. Owns the
// object; destruction removes the name.
class Event {
  public:
    Event() = default;
    ~Event() { Close(); }
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    // A null or empty name makes an unnamed event. False when the system refuses; an event that
    // another process left behind is replaced, never inherited.
    bool Create(const char* name, EventReset reset, bool signalled);
    void Close();

    bool IsOpen() const { return orvex_event_is_open(&event_) == 1; }
    // False for an event whose name was taken by an object that this user can't remove.
    bool IsNamed() const { return orvex_event_is_named(&event_) == 1; }
    // What is passed to a driver; -1 when there is none.
    int64_t Handle() const { return IsOpen() ? event_.handle : -1; }

    bool Set();
    bool Reset();
    // True when signalled within the limit; an automatic event is taken by it.
    bool Wait(uint32_t limit_ms);

    static constexpr uint32_t no_limit = 0xFFFFFFFF;

  private:
    orvex_event event_{};
};

// Removes the named events that processes of this user left behind when they died.
void SweepEvents();

// An automatic or manual event that only threads of this process share; it spends no handle.
class LocalEvent {
  public:
    LocalEvent(EventReset reset, bool signalled) : reset_(reset), signalled_(signalled ? 1u : 0u) {}
    void Set();
    void Reset();
    bool Wait(uint32_t limit_ms);

  private:
    // Whether it is signalled; an automatic event is taken by asking.
    bool Poll();

    EventReset reset_;
    uint32_t signalled_;
};

}  // namespace platform
