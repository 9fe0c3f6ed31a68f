#pragma once

#include "orvex/orvex_ddi.h"
#include "orvex/orvex_types.h"

// Opening and closing devices, and the events through which a driver signals the library.

// Stores the handle as soon as the name is known, also when the open then fails.
boolean16 dv_cam_open(const char* ApCamName, int16* pHcam);
// Always 1; every failure inside is only logged.
boolean16 dv_cam_close(int16 hcam);

// The handle of a camera name, compared over at most ORVEX_DEVICE_NAME_LEN characters; -1 when
// there is none.
int16 GetHcam(const char* camName);
// 1 for an open or removed device. Waits up to five seconds for a suspended one to come back.
boolean16 CamIsOpen(int16 hcam);

boolean16 create_camera_events(orvex_device* device);
void close_camera_events(orvex_device* device);
boolean16 driver_open_camera(orvex_device* device);
boolean16 start_callbacks(orvex_device* device);
void stop_callbacks(orvex_device* device);

// Fills an empty slot. The name is kept, cut to 255 characters; null or empty is an unnamed event.
boolean16 dv_event_create(dv_event** slot, boolean16 initial_state, boolean16 auto_reset,
                          const char* name);
void dv_event_close(dv_event** slot);
// These take only events that dv_event_create made; 0 for null.
boolean16 dv_event_set(dv_event* event);
boolean16 dv_event_reset(dv_event* event);
// 1 when the event was signalled within the limit.
boolean16 dv_event_wait(dv_event* event, uns32 limit_ms);
// -1 for null.
int64 dv_event_get_handle(const dv_event* event);
