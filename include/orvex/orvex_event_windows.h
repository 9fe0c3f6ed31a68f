/**
 * @file orvex_event_windows.h
 * The events of orvex_event.h on Windows: the system's own, named in the session of the user. The
 * name of the object is the name of the event with every '\' turned into '_'; one of more than 255
 * characters makes an unnamed event, and so does one that any living process has taken, since two
 * that signal through one object would wake each other's waiters. The system removes an object
 * with its last handle, so that nobody leaves one behind.
 *
 * A view of a handle or of a name holds a handle of its own.
 *
 * Includes nothing of the system, and may stand before or behind <windows.h>.
 */
#ifndef ORVEX_EVENT_WINDOWS_H
#define ORVEX_EVENT_WINDOWS_H

#ifndef ORVEX_EVENT_H
#error "include orvex/orvex_event.h"
#endif

#include <stddef.h>
#include <string.h>

#ifdef __cplusplus
extern "C" {
#endif

/* NOLINTBEGIN(modernize-use-nullptr): C99 has none. */

/* As <windows.h> declares them. */
struct _SECURITY_ATTRIBUTES;
__declspec(dllimport) void* __stdcall CreateEventA(struct _SECURITY_ATTRIBUTES*, int, int,
                                                   const char*);
__declspec(dllimport) void* __stdcall OpenEventA(unsigned long, int, const char*);
__declspec(dllimport) int __stdcall SetEvent(void*);
__declspec(dllimport) int __stdcall ResetEvent(void*);
__declspec(dllimport) unsigned long __stdcall WaitForSingleObject(void*, unsigned long);
__declspec(dllimport) int __stdcall CloseHandle(void*);
__declspec(dllimport) int __stdcall DuplicateHandle(void*, void*, void*, void**, unsigned long, int,
                                                    unsigned long);
__declspec(dllimport) void* __stdcall GetCurrentProcess(void);
__declspec(dllimport) unsigned long __stdcall GetLastError(void);

/** Room for the name of an object, with terminator. */
#define ORVEX_EVENT_OBJECT_NAME 256

struct orvex_event {
    int64_t handle; /**< of the event that this record created; -1 for a view of another's */
    void* object;   /**< this record's own handle; null when closed */
    int named;      /**< 1 when this record created the name */
};

/** Writes the name of the object of an event; 0 for one that is too long. */
static inline int orvex_event_object_name(const char* name, char object[ORVEX_EVENT_OBJECT_NAME]) {
    const size_t length = strlen(name);
    size_t i;
    if (length >= ORVEX_EVENT_OBJECT_NAME) return 0;
    for (i = 0; i <= length; ++i) object[i] = name[i] == '\\' ? '_' : name[i];
    return 1;
}

static inline void orvex_event_clear(orvex_event* event) {
    memset(event, 0, sizeof(*event));
    event->handle = -1;
}

static inline int orvex_event_is_open(const orvex_event* event) {
    return event->object != NULL;
}

static inline int orvex_event_is_named(const orvex_event* event) {
    return event->named;
}

static inline int orvex_event_open_handle(orvex_event* event, int64_t handle) {
    void* const process = GetCurrentProcess();
    orvex_event_clear(event);
    if (handle <= 0) return 0;
    /* 0x00100002 is SYNCHRONIZE | EVENT_MODIFY_STATE, which what is no event does not grant. */
    if (!DuplicateHandle(process, (void*)(intptr_t)handle, process, &event->object, 0x00100002ul, 0,
                         0))
        event->object = NULL;
    return event->object != NULL;
}

static inline int orvex_event_open_name(orvex_event* event, const char* name) {
    char object[ORVEX_EVENT_OBJECT_NAME];
    orvex_event_clear(event);
    if (name == NULL || name[0] == '\0' || !orvex_event_object_name(name, object)) return 0;
    event->object = OpenEventA(0x00100002ul, 0, object);
    return event->object != NULL;
}

static inline int orvex_event_create(orvex_event* event, const char* name, int auto_reset,
                                     int signalled) {
    char object[ORVEX_EVENT_OBJECT_NAME];
    orvex_event_clear(event);
    if (name != NULL && name[0] != '\0' && orvex_event_object_name(name, object)) {
        event->object = CreateEventA(NULL, !auto_reset, signalled != 0, object);
        /* 183 is ERROR_ALREADY_EXISTS: somebody else's, with a state and waiters of its own. */
        event->named = event->object != NULL && GetLastError() != 183;
        if (event->object != NULL && !event->named) {
            CloseHandle(event->object);
            event->object = NULL;
        }
    }
    if (event->object == NULL)
        event->object = CreateEventA(NULL, !auto_reset, signalled != 0, NULL);
    if (event->object != NULL) event->handle = (int64_t)(intptr_t)event->object;
    return event->object != NULL;
}

static inline void orvex_event_close(orvex_event* event) {
    if (event->object == NULL) return;
    CloseHandle(event->object);
    orvex_event_clear(event);
}

static inline int orvex_event_set(orvex_event* event) {
    return event->object != NULL && SetEvent(event->object) != 0;
}

static inline int orvex_event_reset(orvex_event* event) {
    return event->object != NULL && ResetEvent(event->object) != 0;
}

/* Only the system knows, and asking it for an automatic event would take the signal. */
static inline int orvex_event_is_signalled(const orvex_event* event) {
    (void)event;
    return 0;
}

static inline int orvex_event_wait(orvex_event* event, uint32_t limit_ms) {
    return event->object != NULL && WaitForSingleObject(event->object, limit_ms) == 0;
}

/* NOLINTEND(modernize-use-nullptr) */

#ifdef __cplusplus
}
#endif

#endif
