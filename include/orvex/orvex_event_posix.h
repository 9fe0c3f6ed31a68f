/**
 * @file orvex_event_posix.h
 * The half of orvex_event.h for Linux: events in shared memory. A strictly conforming C mode
 * (-std=c99) needs _GNU_SOURCE or _DEFAULT_SOURCE defined before the first include.
 *
 * The object is a POSIX shared-memory object of 64 bytes, mode 0600, named "/orvex." and the name
 * of the event with every '/' turned into '_'; an unnamed event has no name, and neither has one
 * whose name is taken by an object that can't be removed, as one of another user. At offset 0
 * stands `uint32_t signalled` (0 or 1), at offset 4 `uint32_t auto_reset` (1 automatic, 0 manual),
 * the rest is zero. Waiters sleep on a shared futex at offset 0.
 *
 * Who creates a named object holds a shared flock() on it by the descriptor that it keeps. The
 * system drops it with the last descriptor, so that an object that lets itself be locked
 * exclusively was left behind by a process that died, and orvex_event_is_leftover() tells it from
 * others.
 *
 * The handle that a driver is passed is the descriptor of the object, which the driver maps.
 */
#ifndef ORVEX_EVENT_POSIX_H
#define ORVEX_EVENT_POSIX_H

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <string.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include "orvex/orvex_event.h"

#if !defined(__cplusplus) && !defined(_GNU_SOURCE) && !defined(_DEFAULT_SOURCE)
#error "define _GNU_SOURCE before the first include of a strictly conforming C program"
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* NOLINTBEGIN(modernize-use-nullptr): C99 has none. */

/** Bytes of the shared object. */
#define ORVEX_EVENT_SIZE 64
/** Room for the name of a shared object, with terminator. */
#define ORVEX_EVENT_OBJECT_NAME 257

struct orvex_event {
    int64_t handle;  /**< descriptor that this record owns; -1 when it only maps the object */
    uint32_t* state; /**< the mapped object: signalled, auto_reset; null when closed */
    int64_t creator; /**< process that created the name and removes it at close; 0 for none */
    char object[ORVEX_EVENT_OBJECT_NAME]; /**< name of the object when this record created it */
};

/**
 * Writes the name of the shared object of an event: "/orvex." and the name, at most 256
 * characters. A name longer than 249 characters doesn't fit a file name; its first 232 characters
 * are kept, followed by '~' and 16 hexadecimal digits of the FNV-1a hash of all of it, so that long
 * names that differ at their end remain different.
 */
static inline void orvex_event_object_name(const char* name, char object[ORVEX_EVENT_OBJECT_NAME]) {
    static const char prefix[] = "/orvex.";
    const size_t prefix_length = sizeof(prefix) - 1;
    const size_t longest = 255 - (prefix_length - 1);
    const size_t hash_length = 17;
    size_t length = strlen(name);
    size_t kept = length <= longest ? length : longest - hash_length;
    size_t at = prefix_length;
    size_t i;
    memcpy(object, prefix, prefix_length);
    for (i = 0; i < kept; ++i) object[at++] = name[i] == '/' ? '_' : name[i];
    if (kept < length) {
        uint64_t hash = 0xcbf29ce484222325u;
        for (i = 0; i < length; ++i) hash = (hash ^ (uint8_t)name[i]) * 0x100000001b3u;
        object[at++] = '~';
        for (i = 16; i-- > 0;) object[at++] = "0123456789abcdef"[(hash >> (4 * i)) & 15u];
    }
    object[at] = '\0';
}

/** Maps the object behind a descriptor; null when it isn't an event's. */
static inline uint32_t* orvex_event_map(int descriptor) {
    struct stat status;
    void* mapped;
    /* A shorter object would end the process at the first access. */
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size < ORVEX_EVENT_SIZE)
        return NULL;
    mapped = mmap(NULL, ORVEX_EVENT_SIZE, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    return mapped == MAP_FAILED ? NULL : (uint32_t*)mapped;
}

static inline void orvex_event_clear(orvex_event* event) {
    memset(event, 0, sizeof(*event));
    event->handle = -1;
}

static inline int orvex_event_is_open(const orvex_event* event) {
    return event->state != NULL;
}

static inline int orvex_event_is_named(const orvex_event* event) {
    return event->creator != 0;
}

/* The descriptor is neither duplicated nor taken over: the record spends none of its own. */
static inline int orvex_event_open_handle(orvex_event* event, int64_t handle) {
    orvex_event_clear(event);
    if (handle < 0 || handle > INT_MAX) return 0;
    event->state = orvex_event_map((int)handle);
    return event->state != NULL;
}

static inline int orvex_event_open_name(orvex_event* event, const char* name) {
    char object[ORVEX_EVENT_OBJECT_NAME];
    int descriptor;
    orvex_event_clear(event);
    if (name == NULL || name[0] == '\0') return 0;
    orvex_event_object_name(name, object);
    descriptor = shm_open(object, O_RDWR, 0);
    if (descriptor < 0) return 0;
    event->state = orvex_event_map(descriptor);
    close(descriptor);
    return event->state != NULL;
}

/**
 * Whether the object behind a descriptor that was opened by its name is an event of this user whose
 * creator has died; it is locked then, until the descriptor is closed.
 */
static inline int orvex_event_is_leftover(int descriptor) {
    struct stat status;
    /* One that is being created has no size before it is locked. */
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
           status.st_uid == geteuid() && status.st_size == ORVEX_EVENT_SIZE &&
           flock(descriptor, LOCK_EX | LOCK_NB) == 0;
}

/**
 * Creates the object of a name; -1 when it can't be had, and `taken` says whether that is because
 * of an object that is there.
 */
static inline int orvex_event_create_object(const char* object, int* taken) {
    int attempts = 8; /* another process that creates the same name at the same time */
    *taken = 0;
    while (attempts-- > 0) {
        int descriptor = shm_open(object, O_RDWR | O_CREAT | O_EXCL, 0600);
        if (descriptor >= 0) {
            flock(descriptor, LOCK_SH | LOCK_NB);
            return descriptor;
        }
        *taken = errno == EEXIST;
        if (!*taken || (shm_unlink(object) != 0 && errno != ENOENT)) break;
    }
    return -1;
}

/** Sizes an object so that its memory is there: without it the first access ends the process. */
static inline int orvex_event_reserve(int descriptor) {
    int error;
    do {
        error = posix_fallocate(descriptor, 0, ORVEX_EVENT_SIZE);
    } while (error == EINTR);
    return error == 0;
}

static inline int orvex_event_create(orvex_event* event, const char* name, int auto_reset,
                                     int signalled) {
    int descriptor = -1;
    int unnamed = name == NULL || name[0] == '\0';
    orvex_event_clear(event);
    if (!unnamed) {
        orvex_event_object_name(name, event->object);
        descriptor = orvex_event_create_object(event->object, &unnamed);
        if (descriptor >= 0)
            event->creator = (int64_t)getpid();
        else
            event->object[0] = '\0';
    }
    /* 1 is MFD_CLOEXEC */
    if (descriptor < 0 && unnamed) descriptor = (int)syscall(SYS_memfd_create, "orvex.event", 1u);
    if (descriptor < 0) return 0;
    if (orvex_event_reserve(descriptor)) event->state = orvex_event_map(descriptor);
    if (event->state == NULL) {
        close(descriptor);
        if (event->creator != 0) shm_unlink(event->object);
        orvex_event_clear(event);
        return 0;
    }
    event->handle = descriptor;
    __atomic_store_n(&event->state[1], auto_reset ? 1u : 0u, __ATOMIC_RELAXED);
    __atomic_store_n(&event->state[0], signalled ? 1u : 0u, __ATOMIC_RELEASE);
    return 1;
}

/** Removes the name of an event that this process created, unless it has become another's. */
static inline void orvex_event_unlink(const orvex_event* event) {
    struct stat own, named;
    int descriptor;
    if (event->creator == 0 || event->creator != (int64_t)getpid()) return;
    descriptor = shm_open(event->object, O_RDONLY, 0);
    if (descriptor < 0) return;
    if (fstat(descriptor, &named) == 0 && fstat((int)event->handle, &own) == 0 &&
        own.st_dev == named.st_dev && own.st_ino == named.st_ino)
        shm_unlink(event->object);
    close(descriptor);
}

static inline void orvex_event_close(orvex_event* event) {
    if (event->state == NULL) return;
    orvex_event_unlink(event);
    munmap(event->state, ORVEX_EVENT_SIZE);
    if (event->handle >= 0) close((int)event->handle);
    orvex_event_clear(event);
}

static inline int orvex_event_is_signalled(const orvex_event* event) {
    return event->state != NULL && __atomic_load_n(event->state, __ATOMIC_ACQUIRE) != 0;
}

static inline int orvex_event_set(orvex_event* event) {
    if (event->state == NULL) return 0;
    __atomic_store_n(event->state, 1u, __ATOMIC_RELEASE);
    /* 1 is FUTEX_WAKE, shared between processes */
    syscall(SYS_futex, event->state, 1, INT_MAX, NULL, NULL, 0);
    return 1;
}

static inline int orvex_event_reset(orvex_event* event) {
    if (event->state == NULL) return 0;
    __atomic_store_n(event->state, 0u, __ATOMIC_RELEASE);
    return 1;
}

/** Whether the event is signalled; an automatic one is taken by asking. */
static inline int orvex_event_poll(orvex_event* event) {
    if (__atomic_load_n(event->state, __ATOMIC_ACQUIRE) == 0) return 0;
    if (__atomic_load_n(&event->state[1], __ATOMIC_RELAXED) == 0) return 1;
    return __atomic_exchange_n(event->state, 0u, __ATOMIC_ACQ_REL) != 0;
}

static inline int orvex_event_wait(orvex_event* event, uint32_t limit_ms) {
    struct timespec deadline;
    if (event->state == NULL) return 0;
    if (orvex_event_poll(event)) return 1;
    if (limit_ms == 0) return 0;
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_sec += (time_t)(limit_ms / 1000u);
    deadline.tv_nsec += (long)(limit_ms % 1000u) * 1000000L;
    if (deadline.tv_nsec >= 1000000000L) {
        deadline.tv_nsec -= 1000000000L;
        deadline.tv_sec += 1;
    }
    for (;;) {
        /* 9 is FUTEX_WAIT_BITSET, which takes an absolute deadline on the monotonic clock */
        long result = syscall(SYS_futex, event->state, 9, 0u,
                              limit_ms == ORVEX_EVENT_NO_LIMIT ? (struct timespec*)NULL : &deadline,
                              NULL, 0xFFFFFFFFu);
        int reason = result == 0 ? 0 : errno;
        if (orvex_event_poll(event)) return 1;
        if (reason != 0 && reason != EAGAIN && reason != EINTR) return 0;
    }
}

/* NOLINTEND(modernize-use-nullptr) */

#ifdef __cplusplus
}
#endif

#endif
