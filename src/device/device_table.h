#pragma once

#include <mutex>

#include "orvex/orvex_ddi.h"
#include "orvex/orvex_types.h"

#include "platform/mutex.h"

// Opening and closing devices, and the events through which a driver signals the library.

// Stores the handle as soon as the name is known, also when the open then fails. From the moment
// that the device is known to be closed, `camera` holds the mutex of the camera, if one is given.
// What a failed open has opened it closes, but for the events of a device that refused to open.
boolean16 dv_cam_open(const char* ApCamName, int16* pHcam,
                      std::unique_lock<platform::ErrorCheckingMutex>* camera = nullptr);
// Always 1; every failure inside is only logged.
boolean16 dv_cam_close(int16 hcam);
// Closing clears the error; what went wrong before is what the caller wants to know.
void dv_close_keeping_error(int16 hcam, boolean16 (*close)(int16));

// The handle of a camera name, compared over at most ORVEX_DEVICE_NAME_LEN characters; -1 when
// there is none among the cameras that were counted at initialisation.
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
// False for an event that had to do without the name that it was given.
bool dv_event_has_its_name(const dv_event* event);
// These take only events that dv_event_create made; 0 for null.
boolean16 dv_event_set(dv_event* event);
boolean16 dv_event_reset(dv_event* event);
// 1 when the event was signalled within the limit.
boolean16 dv_event_wait(dv_event* event, uns32 limit_ms);
// -1 for null.
int64 dv_event_get_handle(const dv_event* event);
