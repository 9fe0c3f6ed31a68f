#pragma once

#include <cstdint>

#include "orvex/orvex_ddi.h"
#include "orvex/orvex_event.h"

namespace engine {

// A view of one of the host's events, mapped while the device is open.
class EventView {
  public:
    EventView() { orvex_event_clear(&event_); }
    ~EventView() { orvex_event_close(&event_); }
    EventView(const EventView&) = delete;
    EventView& operator=(const EventView&) = delete;

    // A handle of -1 leaves it without effect.
    void Open(int64_t handle) {
        orvex_event_close(&event_);
        orvex_event_open_handle(&event_, handle);
    }
    void Set() {
        // A signal that stands already has woken whoever waited; no system call for it.
        if (orvex_event_is_open(&event_) && !orvex_event_is_signalled(&event_))
            orvex_event_set(&event_);
    }
    void Reset() { orvex_event_reset(&event_); }

  private:
    orvex_event event_;
};

// The events that DV_CAM_OPEN brings, and the one that the device record leads to.
struct DeviceEvents {
    EventView write_ack;
    EventView read_ack;
    EventView bof;
    EventView eof;
    EventView abort_ack;
    EventView flush_ack;

    void Open(const dv_open_record& record, const orvex_device& device) {
        write_ack.Open(record.write_ack);
        read_ack.Open(record.read_ack);
        bof.Open(record.bof);
        eof.Open(record.eof);
        abort_ack.Open(record.abort_ack);
        flush_ack.Open(device.flush_ack != nullptr ? device.flush_ack->handle : -1);
    }
};

}  // namespace engine
