/**
 * @file orvex_event.h
 * Named events, for C99 and C++: how library and driver module signal each other. Header-only,
 * needs nothing but what the system's C library brings. What an event is made of stands in the half
 * of this header for the system, orvex_event_posix.h or orvex_event_windows.h.
 *
 * The handle that the library passes to a driver (dv_open_record, dv_event) belongs to the library,
 * which closes it when the camera closes: a driver opens the event with orvex_event_open_handle()
 * while it is valid, and can use its view of it for as long as it likes.
 *
 * All functions may be called from any thread on one open record, beside each other, but for the
 * ones that open and close it. Those that return int give 1 for success and 0 for failure.
 */
#ifndef ORVEX_EVENT_H
#define ORVEX_EVENT_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Time limit of a wait without limit. */
#define ORVEX_EVENT_NO_LIMIT 0xFFFFFFFFu

/**
 * One side's view of an event; all zero is a closed one. Its member `int64_t handle` is what a
 * driver is passed, -1 when there is none to pass; the others are for the functions below.
 */
typedef struct orvex_event orvex_event;

/** Forgets everything of a record without touching the system. */
static inline void orvex_event_clear(orvex_event* event);

/** Whether the record is a view of an event. */
static inline int orvex_event_is_open(const orvex_event* event);

/** Whether this record created an event that others can open by its name. */
static inline int orvex_event_is_named(const orvex_event* event);

/**
 * Opens an event by the handle that the library passed inside this process, which may be closed
 * afterwards.
 */
static inline int orvex_event_open_handle(orvex_event* event, int64_t handle);

/** Opens an event by the name it was created with; any process of the same user can. */
static inline int orvex_event_open_name(orvex_event* event, const char* name);

/**
 * Creates an event; a null or empty name makes an unnamed one. An event of the same name that
 * somebody left behind is replaced, its state never inherited; where it can't be, the event is
 * unnamed. 0 when the system has no memory or no handle left.
 */
static inline int orvex_event_create(orvex_event* event, const char* name, int auto_reset,
                                     int signalled);

/**
 * Closes this side's view, and removes the name when this process created it; other sides keep
 * theirs. Waiters of this record must be gone. A closed record is accepted.
 */
static inline void orvex_event_close(orvex_event* event);

/** Signals the event and wakes all waiters. 0 for a closed record. */
static inline int orvex_event_set(orvex_event* event);

/** Takes the signal back. 0 for a closed record. */
static inline int orvex_event_reset(orvex_event* event);

/**
 * Whether the event is known to be signalled already, so that setting it would change nothing; the
 * signal is not taken by asking, and the system is not called. 0 for a closed record, and where it
 * can't be known.
 */
static inline int orvex_event_is_signalled(const orvex_event* event);

/**
 * Waits until the event is signalled: 1 when it was within `limit_ms` milliseconds, 0 when the time
 * ran out or the record is closed. A wait on an automatic event takes the signal, so that one
 * signal lets one waiter through; a manual event stays signalled until it is reset.
 * ORVEX_EVENT_NO_LIMIT waits for ever, 0 only asks.
 */
static inline int orvex_event_wait(orvex_event* event, uint32_t limit_ms);

#ifdef __cplusplus
}
#endif

#ifdef _WIN32
#include "orvex/orvex_event_windows.h"
#else
#include "orvex/orvex_event_posix.h"
#endif

#endif
