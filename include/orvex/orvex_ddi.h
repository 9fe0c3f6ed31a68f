/**
 * @file orvex_ddi.h
 * Contract between the library and a driver module, for C99 and C++.
 *
 * A module is a shared object named orvexDDI.so that exports orvex_ddi_version(), orvex_ddi_init()
 * and orvex_ddi_uninit(). Everything here is a binary layout: little-endian, 64-bit pointers, fixed
 * offsets. All operations return 1 for success in the low 16 bits.
 */
#ifndef ORVEX_DDI_H
#define ORVEX_DDI_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct orvex_device orvex_device;
typedef struct orvex_ddi orvex_ddi;

/** Slots of orvex_ddi.devices. */
#define ORVEX_DDI_MAX_DEVICES 21
/** Characters of a camera name that are compared. */
#define ORVEX_DEVICE_NAME_LEN 32
/** Bytes of a device path, terminator included. */
#define ORVEX_DEVICE_PATH_LEN 256

/** An event as the library keeps it: the handle to use with orvex_event.h, and its name. */
typedef struct dv_event {
    int64_t handle; /**< -1 is none */
    char name[256]; /**< zero-terminated; empty for an unnamed event */
} dv_event;

/** Values of orvex_device.state. */
#define ORVEX_DEVICE_STATES(X) \
    X(DEVICE_CLOSED, 0)        \
    X(DEVICE_OPEN, 1)          \
    X(DEVICE_REMOVED, 2)       \
    X(DEVICE_SUSPENDED, 3)     \
    X(DEVICE_RESUMED, 4)

/** Transports; PCI and 1394 have their own way of taking a buffer, the others share one. */
#define ORVEX_DRIVER_TYPES(X) \
    X(DRIVER_TYPE_PCI, 0)     \
    X(DRIVER_TYPE_USB, 1)     \
    X(DRIVER_TYPE_PCIE, 2)    \
    X(DRIVER_TYPE_1394, 3)    \
    X(DRIVER_TYPE_SOFTWARE, 4)

/** Driver control codes, the second argument of orvex_device.ioctl. */
#define ORVEX_DV_CODES(X)                           \
    X(DV_CAM_CLOSE, 0x223e84)                       \
    X(DV_CAM_OPEN, 0x223e88)                        \
    X(DV_CAM_WRITE_READ, 0x223e8c)                  \
    X(DV_GET_IMAGE_DATA_STATUS, 0x223e94)           \
    X(DV_SET_IMAGE_DATA_IDLE, 0x223e98)             \
    X(DV_SET_IMAGE_DATA_ACTIVE, 0x223e9d)           \
    X(DV_GET_INFO_DUMP, 0x223ea0)                   \
    X(DV_GET_INFO_LENGTH, 0x223ea4)                 \
    X(DV_GET_PIXTIME, 0x223ea8)                     \
    X(DV_GET_RETRIES, 0x223eac)                     \
    X(DV_SET_RETRIES, 0x223eb0)                     \
    X(DV_GET_TIMEOUT, 0x223eb4)                     \
    X(DV_SET_TIMEOUT, 0x223eb8)                     \
    X(DV_GET_VER, 0x223ebc)                         \
    X(DV_ADD_TO_TABLE, 0x223ec1)                    \
    X(DV_FIX_TABLE, 0x223ec4)                       \
    X(DV_CLEAR_IRQS, 0x223edc)                      \
    X(DV_GET_IRQCOUNT, 0x223ee0)                    \
    X(DV_RESET_INTERFACE, 0x223ee8)                 \
    X(DV_CLEANUP_IMAGE_DATA_IDLE, 0x223ef0)         \
    X(DV_SEND_IMAGE_PARMS, 0x223ef8)                \
    X(DV_SET_IMAGE_DATA_ACTIVE_LARGE_BUF, 0x223eff) \
    X(DV_EVENT_NOTIFICATION_REQUEST, 0x223f00)      \
    X(DV_CAM_PREP_TRANSFER, 0x223f04)               \
    X(DV_EVENT_NOTIFICATION_FLUSH, 0x223f0c)        \
    X(DV_RECEIVE_IMAGE_DATA, 0x223f13)              \
    X(DV_GET_CURRENT_TIMESTAMP, 0x223f14)           \
    X(DV_GET_BRIDGE_CAPS_SIZE, 0x223f1c)            \
    X(DV_GET_BRIDGE_CAPS, 0x223f20)                 \
    X(DV_STOP_DATA_TRANSFER, 0x223f24)              \
    X(DV_GET_BRIDGE_CONSOLE_POS, 0x224654)          \
    X(DV_GET_BRIDGE_CONSOLE_BUFFER_SIZE, 0x224658)  \
    X(DV_GET_BRIDGE_CONSOLE_BUFFER, 0x22465c)       \
    X(DV_SET_BRIDGE_CONSOLE_VERBOSITY, 0x224660)    \
    X(DV_PUT_BRIDGE_CONSOLE_CHAR, 0x224664)         \
    X(DV_SET_DEBUGGING_LEVELS, 0x224668)            \
    X(DV_GET_QUADLET, 0x22466c)                     \
    X(DV_RAW_COMM, 0x224670)                        \
    X(DV_EVENT_SET_TRACE, 0x2247e0)                 \
    X(DV_EVENT_GET_TRACE, 0x2247e4)

/** Driver statuses of DV_GET_IMAGE_DATA_STATUS; any value but these means a failed readout. */
#define ORVEX_DRIVER_STATUSES(X)   \
    X(DRIVER_STATUS_NONE, 0)       \
    X(DRIVER_STATUS_EXPOSING, 100) \
    X(DRIVER_STATUS_INACTIVE, 101) \
    X(DRIVER_STATUS_READING, 102)  \
    X(DRIVER_STATUS_COMPLETE, 103)

/** Flags and statuses of a notification record. */
#define ORVEX_NOTIFICATIONS(X)         \
    X(NOTIFICATION_STATUS_SUCCESS, 0u) \
    X(NOTIFICATION_DEVICE_REMOVAL, 1u) \
    X(NOTIFICATION_BUS_RESET, 2u)      \
    X(NOTIFICATION_BOF, 4u)            \
    X(NOTIFICATION_EOF, 8u)            \
    X(NOTIFICATION_BOF_EOF, 12u)       \
    X(NOTIFICATION_SYS_SUSPEND, 16u)   \
    X(NOTIFICATION_COMPLETE, 32u)      \
    X(NOTIFICATION_FLUSH, 0x80000000u) \
    X(NOTIFICATION_STATUS_CANCELLED, 0xC0000001u)

/** Makes one enumerator of a list row. */
#define ORVEX_DDI_ENUMERATOR(name, value) name = value,
enum { ORVEX_DEVICE_STATES(ORVEX_DDI_ENUMERATOR) };
enum { ORVEX_DRIVER_TYPES(ORVEX_DDI_ENUMERATOR) };
enum { ORVEX_DV_CODES(ORVEX_DDI_ENUMERATOR) };
enum { ORVEX_DRIVER_STATUSES(ORVEX_DDI_ENUMERATOR) };
/** Makes one constant of a row: C enumerators are ints, too narrow for the two highest values. */
#define ORVEX_NOTIFICATION_CONSTANT(name, value) static const uint32_t name = value;
ORVEX_NOTIFICATIONS(ORVEX_NOTIFICATION_CONSTANT)

/** Arguments of one control operation, 48 bytes. */
typedef struct dv_ioctl_args {
    void* lpInBuffer;          /**< input of the operation; null for none */
    uint32_t nInBufferSize;    /**< bytes of it */
    uint32_t reserved1;        /**< 0 */
    void* lpOutBuffer;         /**< room for the output, or the application's buffer; may be null */
    uint32_t nOutBufferSize;   /**< bytes of it */
    uint32_t reserved2;        /**< 0 */
    uint32_t* lpBytesReturned; /**< receives the bytes of the output; never null */
    void* lpOverlapped;        /**< not used by an operation that the library waits for */
} dv_ioctl_args;

/** Input of DV_CAM_OPEN, 48 bytes: handles of the events that the driver signals; -1 is none. */
typedef struct dv_open_record {
    int16_t hcam;        /**< handle of the camera */
    uint8_t reserved[6]; /**< 0 */
    int64_t write_ack;   /**< the camera has taken a frame of commands */
    int64_t read_ack;    /**< a reply can be read */
    int64_t bof;         /**< a frame has begun */
    int64_t eof;         /**< a frame has ended */
    int64_t abort_ack;   /**< a transfer has been stopped */
} dv_open_record;

/** Output of DV_GET_IMAGE_DATA_STATUS, 40 bytes. */
typedef struct dv_status_record {
    uint32_t status;      /**< DRIVER_STATUS_ code */
    uint32_t bytes;       /**< received so far */
    uint8_t reserved[32]; /**< not read */
} dv_status_record;

/** Input of DV_SEND_IMAGE_PARMS and DV_FIX_TABLE, 16 bytes. */
typedef struct dv_image_parameters {
    uint32_t frame_bytes; /**< of one frame */
    uint32_t total_bytes; /**< of the whole buffer */
    uint32_t circular;    /**< 1 continuous, 0 sequence */
    uint32_t reserved;    /**< 3 for a PCI camera, else 0 */
} dv_image_parameters;

/** Input of DV_RECEIVE_IMAGE_DATA, 20 bytes. */
typedef struct dv_receive_parameters {
    uint32_t frame_bytes; /**< of one frame */
    uint32_t total_bytes; /**< of the whole buffer */
    uint32_t circular;    /**< 1 continuous, 0 sequence */
    uint32_t reserved;    /**< 0 */
    uint32_t timeout_ms;  /**< after which the driver may give up on a frame */
} dv_receive_parameters;

/** Output of DV_GET_VER. */
typedef struct dv_version_record {
    uint16_t version;      /**< PARAM_DD_VERSION */
    uint16_t capabilities; /**< bit 0: needs DV_FIX_TABLE; frame interrupts can be counted */
    uint16_t reserved;     /**< not read */
} dv_version_record;

/** Output of DV_GET_IRQCOUNT. */
typedef struct dv_irq_counts {
    uint32_t bof; /**< begins of frames since DV_CLEAR_IRQS */
    uint32_t eof; /**< ends of frames */
} dv_irq_counts;

/** Input of DV_EVENT_NOTIFICATION_REQUEST, 48 bytes. */
typedef struct dv_notification_request {
    uint32_t mask;        /**< NOTIFICATION_ bits that complete this request */
    uint8_t reserved[44]; /**< 0 */
} dv_notification_request;

/** Output of DV_EVENT_NOTIFICATION_REQUEST, 48 bytes: one report of a driver. */
typedef struct dv_notification_report {
    uint32_t reserved1;        /**< not read */
    uint32_t status;           /**< NOTIFICATION_STATUS_ code */
    uint32_t flags;            /**< NOTIFICATION_ bits */
    uint32_t reserved2;        /**< not read */
    uint32_t frame_number_eof; /**< of the frame that ended, from 1 */
    uint32_t frame_number_bof; /**< of the frame that began, from 1 */
    int64_t time_stamp_eof;    /**< of the end, in a unit of the driver's choice */
    uint32_t readout_time;     /**< FRAME_INFO.ReadoutTime */
    uint32_t reserved3;        /**< not read */
    int64_t time_stamp_bof;    /**< of the begin */
} dv_notification_report;

/* The device file. orvex_device.path names a Unix SOCK_SEQPACKET socket on which the driver listens
 * (or a character device with the same messages). All fields little-endian. Requests may still be
 * on their way when a DV_EVENT_NOTIFICATION_FLUSH arrives: each flush gives back one request with
 * NOTIFICATION_FLUSH, and one that finds none pending gives back the next to arrive, unless a
 * DV_FILE_CANCEL_ALL comes before it. */

enum { DV_FILE_SUBMIT = 1, DV_FILE_CANCEL_ALL = 2 };

/** Library to driver, 72 bytes. */
typedef struct dv_file_request {
    uint32_t operation;         /**< DV_FILE_SUBMIT or DV_FILE_CANCEL_ALL */
    uint32_t code;              /**< control code, DV_EVENT_NOTIFICATION_REQUEST */
    uint64_t id;                /**< chosen by the library, given back with the completion */
    uint32_t in_size;           /**< bytes of `in` that count */
    uint32_t out_size;          /**< bytes that the output may have */
    dv_notification_request in; /**< input of the operation */
} dv_file_request;

/** Driver to library, 64 bytes. */
typedef struct dv_file_completion {
    uint64_t id;                /**< of the request */
    uint32_t result;            /**< 0 success */
    uint32_t bytes;             /**< bytes of `out` that count */
    dv_notification_report out; /**< output of the operation */
} dv_file_completion;

/* The device file by calls. A module that runs in the library's process may export
 * orvex_ddi_open_file(): the library then calls where it would send or receive a message, which
 * spares both sides the system calls and the thread that serves the socket. Messages mean the same
 * on both ways. What the function refuses is opened by its path; a module without it loses nothing
 * but time. */

/** The library's end of a device file. Both may be called from any thread of the module, also
 * within dv_file_driver.submit, and one at a time with what the module changes meanwhile: the
 * library never calls the module from within. */
typedef struct dv_file_host {
    void* context; /**< first argument of both */
    /** Gives back one request; one that nobody waits for any more is ignored. */
    void (*complete)(void* context, const dv_file_completion* completion);
    /** The driver has gone: every request it had comes back as the removal of the camera. */
    void (*gone)(void* context);
} dv_file_host;

/** The module's end of a device file. */
typedef struct dv_file_driver {
    void* context; /**< first argument of both */
    /** Takes one message, from any thread of the library; 1, or 0 when the driver has gone. */
    uint16_t (*submit)(void* context, const dv_file_request* request);
    /** Ends the connection: when it returns, no function of the host runs or will be called. A
     * submission that comes later is refused. */
    void (*close)(void* context);
} dv_file_driver;

/** Of orvex_ddi_open_file(). */
typedef uint16_t (*dv_file_opener)(const char* path, const dv_file_host* host,
                                   dv_file_driver* driver);

/** Belongs to the module. The library reads `delivery` and calls `driver_type`, nothing else. */
typedef struct orvex_driver_desc {
    uint8_t module_data1[264]; /**< the module's own */
    uint32_t delivery; /**< 1: notification requests on the device file; other: orvex_delivery */
    uint8_t module_data2[28];      /**< the module's own */
    uint32_t (*driver_type)(void); /**< a DRIVER_TYPE_ value */
} orvex_driver_desc;

/** How a module that delivers events itself reaches the library: orvex_device.callbacks points to
 * this while the camera is open. Both may be called from any thread of the module, and return 0
 * before the library has started delivery and after it has ended it: an address that was read while
 * the camera was open stays good for that. */
typedef struct orvex_delivery {
    /** Sets what the frame functions and the next events report. */
    uint16_t (*set_latest_frame_info)(orvex_device* device, uint32_t frame_number,
                                      int64_t time_stamp_bof, int64_t time_stamp_eof);
    /** Queues one event (an OX_CALLBACK_ id) for the application. */
    uint16_t (*invoke)(orvex_device* device, uint32_t event);
} orvex_delivery;

/** One camera, 416 bytes; allocated and freed by the module, valid from init to uninit. */
struct orvex_device {
    int16_t hcam;         /**< library: camera handle, -1 after close */
    uint8_t reserved1[6]; /**< 0 */
    dv_event* write_ack;  /**< library: manual reset; the driver resets it */
    dv_event* read_ack;   /**< library: manual reset; the driver resets it */
    dv_event* bof;        /**< library: a frame has begun */
    dv_event* eof;        /**< library: a frame has ended */
    dv_event* abort_ack;  /**< library: a transfer has been stopped */
    dv_event*
        flush_ack;   /**< library: all events are delivered, for a module that delivers itself */
    void* callbacks; /**< library: begins with an orvex_delivery; null when closed */
    void* notifier;  /**< library */
    orvex_driver_desc* driver;        /**< module */
    char path[ORVEX_DEVICE_PATH_LEN]; /**< module: device file, zero-terminated */
    char name[ORVEX_DEVICE_NAME_LEN]; /**< module: camera name */
    uint32_t state;                   /**< both: a DEVICE_ value */
    uint32_t reserved2;               /**< 0 */
    /** Module: opens the device; the six events exist, no control operation came before. */
    uint16_t (*open)(orvex_device* device);
    /** Module: closes it, after DV_CAM_CLOSE; also when `open` or DV_CAM_OPEN failed before. */
    uint16_t (*close)(orvex_device* device);
    /** Module: fetches `length` reply bytes that read_ack announced. */
    uint16_t (*read)(orvex_device* device, void* buffer, uint16_t length, uint16_t* count);
    /** Module: sends `length` bytes to the camera; write_ack tells of the completion. */
    uint16_t (*write)(orvex_device* device, const void* buffer, uint16_t length, uint16_t* count);
    /** Module: one driver control operation; may be called beside a command exchange. */
    uint16_t (*ioctl)(orvex_device* device, uint32_t code, dv_ioctl_args* args);
};

/** The record that library and module share, 208 bytes. */
struct orvex_ddi {
    uint32_t reserved1;                           /**< 0 */
    int16_t camCount;                             /**< module: cameras found by init */
    uint16_t reserved2;                           /**< 0 */
    orvex_device* devices[ORVEX_DDI_MAX_DEVICES]; /**< module: the camera with handle i at i */
    void* module;                                 /**< library: the loaded module */
    void* version;                                /**< library: orvex_ddi_version */
    uint32_t (*init)(orvex_ddi* ddi);             /**< library: orvex_ddi_init */
    uint32_t (*uninit)(orvex_ddi* ddi);           /**< library: orvex_ddi_uninit */
};

/** Must be exported; the library looks it up and never calls it. */
uint16_t orvex_ddi_version(void);
/** Finds the cameras and fills the record; the low 16 bits of the result count. */
uint32_t orvex_ddi_init(orvex_ddi* ddi);
/** Frees everything; also called when init failed or never ran. */
uint32_t orvex_ddi_uninit(orvex_ddi* ddi);
/** Need not be exported: opens the device file that orvex_device.path names by calls in place of
 * messages, and takes the place of a connection before. Copies `host`, fills `driver`; 1, or 0 to
 * be asked by the path. */
uint16_t orvex_ddi_open_file(const char* path, const dv_file_host* host, dv_file_driver* driver);

#ifdef __cplusplus
}

#include <cstddef>
static_assert(sizeof(dv_ioctl_args) == 48 && offsetof(dv_ioctl_args, lpOutBuffer) == 16 &&
                  offsetof(dv_ioctl_args, lpBytesReturned) == 32,
              "binary contract");
static_assert(sizeof(dv_open_record) == 48 && offsetof(dv_open_record, write_ack) == 8,
              "binary contract");
static_assert(sizeof(dv_status_record) == 40 && sizeof(dv_image_parameters) == 16 &&
                  sizeof(dv_receive_parameters) == 20 && sizeof(dv_version_record) == 6 &&
                  sizeof(dv_irq_counts) == 8,
              "binary contract");
static_assert(sizeof(dv_notification_request) == 48 && sizeof(dv_notification_report) == 48 &&
                  offsetof(dv_notification_report, time_stamp_eof) == 24 &&
                  offsetof(dv_notification_report, time_stamp_bof) == 40,
              "binary contract");
static_assert(sizeof(dv_file_request) == 72 && sizeof(dv_file_completion) == 64, "binary contract");
static_assert(sizeof(dv_file_host) == 24 && sizeof(dv_file_driver) == 24, "binary contract");
static_assert(offsetof(orvex_driver_desc, delivery) == 264 &&
                  offsetof(orvex_driver_desc, driver_type) == 296,
              "binary contract");
static_assert(sizeof(orvex_device) == 416 && offsetof(orvex_device, write_ack) == 8 &&
                  offsetof(orvex_device, callbacks) == 56 && offsetof(orvex_device, driver) == 72 &&
                  offsetof(orvex_device, path) == 80 && offsetof(orvex_device, name) == 336 &&
                  offsetof(orvex_device, state) == 368 && offsetof(orvex_device, open) == 376 &&
                  offsetof(orvex_device, ioctl) == 408,
              "binary contract");
static_assert(sizeof(orvex_ddi) == 208 && offsetof(orvex_ddi, camCount) == 4 &&
                  offsetof(orvex_ddi, devices) == 8 && offsetof(orvex_ddi, module) == 176 &&
                  offsetof(orvex_ddi, uninit) == 200,
              "binary contract");
#endif

#endif
