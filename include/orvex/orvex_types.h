/**
 * @file orvex_types.h
 * Types and constants of the camera-control interface, for C99 and C++.
 *
 * Each enumeration is a list macro, X(name, value), from which the constants here and the texts of
 * the trace log are made. All values are part of the binary contract and never change.
 */
#ifndef ORVEX_TYPES_H
#define ORVEX_TYPES_H

/* Lists end with a comma, which the oldest dialects take with a warning. */
#if defined(__GNUC__) && defined(__cplusplus) && __cplusplus < 201103L
#pragma GCC system_header
#endif

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef int8_t int8;    /**< 1 byte, signed */
typedef uint8_t uns8;   /**< 1 byte */
typedef int16_t int16;  /**< 2 bytes, signed */
typedef uint16_t uns16; /**< 2 bytes */
typedef int32_t int32;  /**< 4 bytes, signed */
typedef uint32_t uns32; /**< 4 bytes */
typedef int64_t int64;  /**< 8 bytes, signed */
typedef uint64_t uns64; /**< 8 bytes */
typedef float flt32;    /**< 4 bytes */
typedef double flt64;   /**< 8 bytes */
/** 0 is false or failed, 1 is true or succeeded. */
typedef uint16_t boolean16;

/** Bytes that ox_cam_get_name() writes. */
#define CAM_NAME_LEN 32
/** Bytes that ox_error_message() writes at most, terminator included. */
#define ERROR_MSG_LEN 255

/** A rectangle of the sensor. Coordinates count unbinned pixels from 0, both ends inclusive. */
typedef struct rgn_type {
    uns16 s1;   /**< first column (serial) */
    uns16 s2;   /**< last column */
    uns16 sbin; /**< columns summed into one pixel */
    uns16 p1;   /**< first row (parallel) */
    uns16 p2;   /**< last row */
    uns16 pbin; /**< rows summed into one pixel */
} rgn_type;

/** Leading identifier of a FRAME_INFO; created zero and never written. */
typedef struct FRAME_INFO_TAG {
    uns8 bytes[16]; /**< all zero */
} FRAME_INFO_TAG;

/** What is known of one delivered frame. Time stamps are in the unit of the driver. */
typedef struct FRAME_INFO {
    FRAME_INFO_TAG FrameInfoTag; /**< kept by the library */
    int16 hCam;                  /**< camera that delivered the frame */
    int32 FrameNr;               /**< number of the frame, from 1; 0 is no frame yet */
    int64 TimeStampEOF;          /**< end of the frame */
    int32 ReadoutTime;           /**< end minus begin, cut to 32 bits */
    int64 TimeStampBOF;          /**< begin of the frame */
} FRAME_INFO;

/** A counted list of exposure or delay times. */
typedef struct tidal_stream_type {
    uns16 entries; /**< values in params */
    uns32* params; /**< the values */
} tidal_stream_type;

/** Makes one enumerator of a list row. */
#define ORVEX_ENUMERATOR(name, value) name = value,

/** Types of parameter values; the upper byte of a parameter id. */
#define ORVEX_TYPES(X)                                            \
    X(TYPE_INT16, 1)                  /* 2 bytes */               \
    X(TYPE_INT32, 2)                  /* 4 bytes */               \
    X(TYPE_FLT64, 4)                  /* 8 bytes */               \
    X(TYPE_UNS8, 5)                   /* 1 byte */                \
    X(TYPE_UNS16, 6)                  /* 2 bytes */               \
    X(TYPE_UNS32, 7)                  /* 4 bytes */               \
    X(TYPE_UNS64, 8)                  /* 8 bytes */               \
    X(TYPE_ENUM, 9)                   /* 4 bytes */               \
    X(TYPE_BOOLEAN, 11)               /* 2 bytes, 0 or 1 */       \
    X(TYPE_INT8, 12)                  /* 1 byte */                \
    X(TYPE_CHAR_PTR, 13)              /* text with terminator */  \
    X(TYPE_VOID_PTR, 14)              /* address */               \
    X(TYPE_VOID_PTR_PTR, 15)          /* address of an address */ \
    X(TYPE_INT64, 16)                 /* 8 bytes */               \
    X(TYPE_TIDAL_STREAM_TYPE, 17)     /* record */                \
    X(TYPE_TIDAL_STREAM_TYPE_PTR, 18) /* address of a record */   \
    X(TYPE_FLT32, 19)                 /* 4 bytes */
enum orvex_type { ORVEX_TYPES(ORVEX_ENUMERATOR) };

/** Ways of opening a camera; also selects the table that an error code is read with. */
#define ORVEX_OPEN_MODES(X)                    \
    X(EXT_OPEN_EXCLUSIVE, 0) /* for all use */ \
    X(EXT_OPEN_FW_UPDATE, 1) /* for the bridge alone */
enum orvex_open_mode { ORVEX_OPEN_MODES(ORVEX_ENUMERATOR) };

/** What ox_get_param() is asked about a parameter. */
#define ORVEX_ATTRIBUTES(X)                                                  \
    X(ATTR_CURRENT, 0)   /* the value */                                     \
    X(ATTR_COUNT, 1)     /* entries, bytes of a text, 1, or 0 for a range */ \
    X(ATTR_TYPE, 2)      /* TYPE_ code */                                    \
    X(ATTR_MIN, 3)       /* lowest value */                                  \
    X(ATTR_MAX, 4)       /* highest value */                                 \
    X(ATTR_DEFAULT, 5)   /* the default */                                   \
    X(ATTR_INCREMENT, 6) /* step, 0 for none */                              \
    X(ATTR_ACCESS, 7)    /* ACC_ code */                                     \
    X(ATTR_AVAIL, 8)     /* 1 when the camera has the parameter */
enum orvex_attribute { ORVEX_ATTRIBUTES(ORVEX_ENUMERATOR) };

/** Answers of ATTR_ACCESS. */
#define ORVEX_ACCESSES(X)                                 \
    X(ACC_READ_ONLY, 1)        /* can't be set */         \
    X(ACC_READ_WRITE, 2)       /* can be set */           \
    X(ACC_EXIST_CHECK_ONLY, 3) /* a fact, can't be set */ \
    X(ACC_WRITE_ONLY, 4)       /* an action, done by setting */
enum orvex_access { ORVEX_ACCESSES(ORVEX_ENUMERATOR) };

/** When the sensor is cleared of charge. */
#define ORVEX_CLEAR_MODES(X)                                                    \
    X(CLEAR_NEVER, 0)                 /* not at all */                          \
    X(CLEAR_PRE_EXPOSURE, 1)          /* before each exposure */                \
    X(CLEAR_PRE_SEQUENCE, 2)          /* once, before the first */              \
    X(CLEAR_POST_SEQUENCE, 3)         /* once, after the last */                \
    X(CLEAR_PRE_POST_SEQUENCE, 4)     /* before the first and after the last */ \
    X(CLEAR_PRE_EXPOSURE_POST_SEQ, 5) /* before each and after the last */
enum orvex_clear_mode { ORVEX_CLEAR_MODES(ORVEX_ENUMERATOR) };

/** When the shutter opens. */
#define ORVEX_SHUTTER_OPEN_MODES(X)                      \
    X(OPEN_NEVER, 0)        /* stays closed */           \
    X(OPEN_PRE_EXPOSURE, 1) /* for each exposure */      \
    X(OPEN_PRE_SEQUENCE, 2) /* for the whole sequence */ \
    X(OPEN_PRE_TRIGGER, 3)  /* before the trigger */     \
    X(OPEN_NO_CHANGE, 4)    /* stays as it is */
enum orvex_shutter_open_mode { ORVEX_SHUTTER_OPEN_MODES(ORVEX_ENUMERATOR) };

/** State of the shutter. */
#define ORVEX_SHUTTER_STATES(X) \
    X(SHTR_FAULT, 0)            \
    X(SHTR_OPENING, 1)          \
    X(SHTR_OPEN, 2)             \
    X(SHTR_CLOSING, 3)          \
    X(SHTR_CLOSED, 4)           \
    X(SHTR_UNKNOWN, 5)
enum orvex_shutter_state { ORVEX_SHUTTER_STATES(ORVEX_ENUMERATOR) };

/** Parallel mode: frame transfer, multi-pinned phase, alternate clocking. */
#define ORVEX_PMODES(X)    \
    X(PMODE_NORMAL, 0)     \
    X(PMODE_FT, 1)         \
    X(PMODE_MPP, 2)        \
    X(PMODE_FT_MPP, 3)     \
    X(PMODE_ALT_NORMAL, 4) \
    X(PMODE_ALT_FT, 5)     \
    X(PMODE_ALT_MPP, 6)    \
    X(PMODE_ALT_FT_MPP, 7)
enum orvex_pmode { ORVEX_PMODES(ORVEX_ENUMERATOR) };

/** Colour filter of the sensor. */
#define ORVEX_COLOR_MODES(X) \
    X(COLOR_NONE, 0)         \
    X(COLOR_RESERVED, 1)     \
    X(COLOR_RGGB, 2)         \
    X(COLOR_GRBG, 3)         \
    X(COLOR_GBRG, 4)         \
    X(COLOR_BGGR, 5)
enum orvex_color_mode { ORVEX_COLOR_MODES(ORVEX_ENUMERATOR) };

/** Cooling of the sensor. */
#define ORVEX_COOLINGS(X) \
    X(NORMAL_COOL, 0)     \
    X(CRYO_COOL, 1)       \
    X(NO_COOL, 2)
enum orvex_cooling { ORVEX_COOLINGS(ORVEX_ENUMERATOR) };

/** Whether the multi-pinned phase can be chosen. */
#define ORVEX_MPP_CAPABILITIES(X) \
    X(MPP_UNKNOWN, 0)             \
    X(MPP_ALWAYS_OFF, 1)          \
    X(MPP_ALWAYS_ON, 2)           \
    X(MPP_SELECTABLE, 3)
enum orvex_mpp_capable { ORVEX_MPP_CAPABILITIES(ORVEX_ENUMERATOR) };

/** Kinds of I/O ports. */
#define ORVEX_IO_TYPES(X) \
    X(IO_TYPE_TTL, 0)     \
    X(IO_TYPE_DAC, 1)
enum orvex_io_type { ORVEX_IO_TYPES(ORVEX_ENUMERATOR) };

/** Directions of I/O ports. */
#define ORVEX_IO_DIRECTIONS(X) \
    X(IO_DIR_INPUT, 0)         \
    X(IO_DIR_OUTPUT, 1)        \
    X(IO_DIR_INPUT_OUTPUT, 2)
enum orvex_io_direction { ORVEX_IO_DIRECTIONS(ORVEX_ENUMERATOR) };

/** Whether the direction of an I/O port can change. */
#define ORVEX_IO_DIRECTION_ATTRIBUTES(X) \
    X(IO_ATTR_DIR_FIXED, 0)              \
    X(IO_ATTR_DIR_VARIABLE_ALWAYS_READ, 1)
enum orvex_io_direction_attribute { ORVEX_IO_DIRECTION_ATTRIBUTES(ORVEX_ENUMERATOR) };

/** Progress of an acquisition. FRAME_AVAILABLE is the name of value 3 in a continuous run. */
#define ORVEX_READ_STATUSES(X)                               \
    X(READOUT_NOT_ACTIVE, 0)      /* nothing runs */         \
    X(EXPOSURE_IN_PROGRESS, 1)    /* no byte yet */          \
    X(READOUT_IN_PROGRESS, 2)     /* bytes arrive */         \
    X(READOUT_COMPLETE, 3)        /* all frames are there */ \
    X(READOUT_FAILED, 4)          /* the driver gave up */   \
    X(ACQUISITION_IN_PROGRESS, 5) /* not used by the library */
enum orvex_read_status { ORVEX_READ_STATUSES(ORVEX_ENUMERATOR) FRAME_AVAILABLE = READOUT_COMPLETE };

/** What becomes of the camera when a run is aborted. */
#define ORVEX_CAMERA_STATES(X)                                      \
    X(CCS_NO_CHANGE, 0)        /* goes on */                        \
    X(CCS_HALT, 1)             /* halts */                          \
    X(CCS_HALT_CLOSE_SHTR, 2)  /* halts, shutter closed */          \
    X(CCS_CLEAR, 3)            /* clears the sensor continuously */ \
    X(CCS_CLEAR_CLOSE_SHTR, 4) /* clears, shutter closed */         \
    X(CCS_OPEN_SHTR, 5)        /* halts, shutter open */            \
    X(CCS_CLEAR_OPEN_SHTR, 6)  /* clears, shutter open */
enum orvex_camera_state { ORVEX_CAMERA_STATES(ORVEX_ENUMERATOR) };

/** Which frame interrupts the driver counts. */
#define ORVEX_FRAME_IRQS(X) \
    X(NO_FRAME_IRQS, 0)     \
    X(BEGIN_FRAME_IRQS, 1)  \
    X(END_FRAME_IRQS, 2)    \
    X(BEGIN_END_FRAME_IRQS, 3)
enum orvex_frame_irqs { ORVEX_FRAME_IRQS(ORVEX_ENUMERATOR) };

/** Continuous runs: whether new frames may replace unread ones. */
#define ORVEX_CIRCULAR_MODES(X)                     \
    X(CIRC_NONE, 0)         /* no continuous run */ \
    X(CIRC_OVERWRITE, 1)    /* they may */          \
    X(CIRC_NO_OVERWRITE, 2) /* C3_BUFFER_OVERRUN tells when they did */
enum orvex_circular_mode { ORVEX_CIRCULAR_MODES(ORVEX_ENUMERATOR) };

/** Unit of exposure times. */
#define ORVEX_EXPOSURE_RESOLUTIONS(X)             \
    X(EXP_RES_ONE_MILLISEC, 0) /* milliseconds */ \
    X(EXP_RES_ONE_MICROSEC, 1) /* microseconds */ \
    X(EXP_RES_ONE_SEC, 2)      /* seconds */
enum orvex_exposure_resolution { ORVEX_EXPOSURE_RESOLUTIONS(ORVEX_ENUMERATOR) };

/** Points in the life of a frame at which I/O ports can be driven. */
#define ORVEX_SCRIPT_LOCATIONS(X) \
    X(SCR_PRE_OPEN_SHTR, 0)       \
    X(SCR_POST_OPEN_SHTR, 1)      \
    X(SCR_PRE_FLASH, 2)           \
    X(SCR_POST_FLASH, 3)          \
    X(SCR_PRE_INTEGRATE, 4)       \
    X(SCR_POST_INTEGRATE, 5)      \
    X(SCR_PRE_READOUT, 6)         \
    X(SCR_POST_READOUT, 7)        \
    X(SCR_PRE_CLOSE_SHTR, 8)      \
    X(SCR_POST_CLOSE_SHTR, 9)
enum orvex_script_location { ORVEX_SCRIPT_LOCATIONS(ORVEX_ENUMERATOR) };

/** Events that an application can be called back on. */
#define ORVEX_CALLBACK_EVENTS(X)                                                 \
    X(OX_CALLBACK_BOF, 0)         /* begin of a frame */                         \
    X(OX_CALLBACK_EOF, 1)         /* end of a frame */                           \
    X(OX_CALLBACK_CHECK_CAMS, 2)  /* bus reset: cameras may have come or gone */ \
    X(OX_CALLBACK_CAM_REMOVED, 3) /* the camera is gone */                       \
    X(OX_CALLBACK_CAM_RESUMED, 4) /* back after a suspend of the system */
enum orvex_callback_event { ORVEX_CALLBACK_EVENTS(ORVEX_ENUMERATOR) OX_CALLBACK_MAX = 5 };

/** Forms of a callback, by the operation that registered it. */
#define ORVEX_CALLBACK_TYPES(X)                            \
    X(CB_TYPE_ORIG, 0) /* `void (*)(void)` */              \
    X(CB_TYPE_EX, 1)   /* `void (*)(void* context)` */     \
    X(CB_TYPE_EX2, 2)  /* `void (*)(const FRAME_INFO*)` */ \
    X(CB_TYPE_EX3, 3)  /* `void (*)(const FRAME_INFO*, void* context)` */
enum orvex_callback_type { ORVEX_CALLBACK_TYPES(ORVEX_ENUMERATOR) };

/** Exposure modes. From 256 on, the low byte is an expose-out mode. */
#define ORVEX_EXPOSURE_MODES(X)                                                  \
    X(TIMED_MODE, 0)              /* exposures follow one another */             \
    X(STROBED_MODE, 1)            /* a trigger starts each exposure */           \
    X(BULB_MODE, 2)               /* an exposure lasts as long as the trigger */ \
    X(TRIGGER_FIRST_MODE, 3)      /* a trigger starts the first exposure */      \
    X(FLASH_MODE, 4)              /* a flash in place of an exposure   */        \
    X(VARIABLE_TIMED_MODE, 5)     /* time of PARAM_EXP_TIME at each start */     \
    X(INT_STROBE_MODE, 6)         /* internal strobe */                          \
    X(EXT_TRIG_INTERNAL, 1792)    /* no trigger */                               \
    X(EXT_TRIG_TRIG_FIRST, 2048)  /* a trigger starts the first exposure */      \
    X(EXT_TRIG_EDGE_RISING, 2304) /* a rising edge starts each exposure */
enum orvex_exposure_mode { ORVEX_EXPOSURE_MODES(ORVEX_ENUMERATOR) };

/** Behaviour of the expose-out signal. */
#define ORVEX_EXPOSE_OUT_MODES(X) \
    X(EXPOSE_OUT_FIRST_ROW, 0)    \
    X(EXPOSE_OUT_ALL_ROWS, 1)     \
    X(EXPOSE_OUT_ANY_ROW, 2)      \
    X(EXPOSE_OUT_ROLLING_SHUTTER, 3)
enum orvex_expose_out_mode { ORVEX_EXPOSE_OUT_MODES(ORVEX_ENUMERATOR) };

/** Fan speeds. */
#define ORVEX_FAN_SPEEDS(X) \
    X(FAN_SPEED_HIGH, 0)    \
    X(FAN_SPEED_MEDIUM, 1)  \
    X(FAN_SPEED_LOW, 2)     \
    X(FAN_SPEED_OFF, 3)
enum orvex_fan_speed { ORVEX_FAN_SPEEDS(ORVEX_ENUMERATOR) };

/** Signals of the trigger table. */
#define ORVEX_TRIGTAB_SIGNALS(X) X(OX_TRIGTAB_SIGNAL_EXPOSE_OUT, 0)
enum orvex_trigtab_signal { ORVEX_TRIGTAB_SIGNALS(ORVEX_ENUMERATOR) };

/** Frame delivery modes. */
#define ORVEX_FRAME_DELIVERY_MODES(X)    \
    X(OX_FRAME_DELIVERY_MODE_MAX_FPS, 0) \
    X(OX_FRAME_DELIVERY_MODE_CONSTANT_INTERVALS, 1)
enum orvex_frame_delivery_mode { ORVEX_FRAME_DELIVERY_MODES(ORVEX_ENUMERATOR) };

/** Camera interface types. */
#define ORVEX_CAM_IFC_TYPES(X)         \
    X(OX_CAM_IFC_TYPE_UNKNOWN, 0)      \
    X(OX_CAM_IFC_TYPE_1394, 256)       \
    X(OX_CAM_IFC_TYPE_1394_A, 257)     \
    X(OX_CAM_IFC_TYPE_1394_B, 258)     \
    X(OX_CAM_IFC_TYPE_USB, 512)        \
    X(OX_CAM_IFC_TYPE_USB_1_1, 513)    \
    X(OX_CAM_IFC_TYPE_USB_2_0, 514)    \
    X(OX_CAM_IFC_TYPE_USB_3_0, 515)    \
    X(OX_CAM_IFC_TYPE_USB_3_1, 516)    \
    X(OX_CAM_IFC_TYPE_PCI, 1024)       \
    X(OX_CAM_IFC_TYPE_PCI_LVDS, 1025)  \
    X(OX_CAM_IFC_TYPE_PCIE, 2048)      \
    X(OX_CAM_IFC_TYPE_PCIE_LVDS, 2049) \
    X(OX_CAM_IFC_TYPE_PCIE_X1, 2050)   \
    X(OX_CAM_IFC_TYPE_PCIE_X4, 2051)   \
    X(OX_CAM_IFC_TYPE_VIRTUAL, 4096)   \
    X(OX_CAM_IFC_TYPE_ETHERNET, 8192)
enum orvex_cam_ifc_type { ORVEX_CAM_IFC_TYPES(ORVEX_ENUMERATOR) };

/** What the current interface of a camera can do. */
#define ORVEX_CAM_IFC_MODES(X)         \
    X(OX_CAM_IFC_MODE_UNSUPPORTED, 0)  \
    X(OX_CAM_IFC_MODE_CONTROL_ONLY, 1) \
    X(OX_CAM_IFC_MODE_IMAGING, 2)
enum orvex_cam_ifc_mode { ORVEX_CAM_IFC_MODES(ORVEX_ENUMERATOR) };

/** How centroids are found. */
#define ORVEX_CENTROIDS_MODES(X)   \
    X(OX_CENTROIDS_MODE_LOCATE, 0) \
    X(OX_CENTROIDS_MODE_TRACK, 1)
enum orvex_centroids_mode { ORVEX_CENTROIDS_MODES(ORVEX_ENUMERATOR) };

/** Modes of exposure cycling. */
#define ORVEX_TIDAL_MODES(X) X(TDLMODE_ARBITRARY_ALL, 0)
enum orvex_tidal_mode { ORVEX_TIDAL_MODES(ORVEX_ENUMERATOR) };

/** Binary objects stored in a camera. */
#define ORVEX_BLOB_IDS(X) X(OX_BLOB_ID_PIAV, 0)
enum orvex_blob_id { ORVEX_BLOB_IDS(ORVEX_ENUMERATOR) };

/* Records of frames that carry metadata. They hold pointers into the application's frame buffer,
 * which must outlive them. */

#pragma pack(push, 1)
/** Header of a metadata frame, as it lies in the buffer, little-endian, 48 bytes. */
typedef struct md_frame_header {
    uns32 signature;    /**< 0x005A4E4C, "LNZ" and a zero byte */
    uns8 reserved1[5];  /**< the camera's own */
    uns16 roiCount;     /**< region blocks that follow */
    uns8 reserved2[27]; /**< the camera's own */
    uns16 extMdSize;    /**< bytes of extended metadata behind the header */
    uns8 reserved3[8];  /**< the camera's own */
} md_frame_header;

/** Header of one region of a metadata frame, as it lies in the buffer, 32 bytes. */
typedef struct md_frame_roi_header {
    uns8 reserved1[10]; /**< the camera's own */
    rgn_type roi;       /**< the region, in sensor coordinates */
    uns8 flags;         /**< bit 0: the list ends here; bit 1: no pixels follow */
    uns16 extMdSize;    /**< bytes of extended metadata behind the header */
    uns8 reserved2[7];  /**< the camera's own */
} md_frame_roi_header;
#pragma pack(pop)

/** One decoded region. */
typedef struct md_frame_roi {
    md_frame_roi_header* header; /**< in the buffer, not aligned */
    void* data;                  /**< 16-bit pixels, row after row, or null */
    uns32 dataSize;              /**< bytes of pixels */
    void* extMdData;             /**< extended metadata of the region, or null */
    uns16 extMdDataSize;         /**< bytes of it */
} md_frame_roi;

/** A decoded frame. */
typedef struct md_frame {
    md_frame_header* header; /**< in the buffer, not aligned */
    void* extMdData;         /**< extended metadata of the frame, or null */
    uns16 extMdDataSize;     /**< bytes of it */
    rgn_type impliedRoi;     /**< bounding box of all regions, with the binning of the first */
    md_frame_roi* roiArray;  /**< the regions, in the order of the buffer */
    uns16 roiCapacity;       /**< entries that roiArray has room for */
    uns16 roiCount;          /**< regions decoded */
} md_frame;

/** What one tag of extended metadata holds. */
typedef struct md_ext_item_info {
    int32 tag;        /**< number of the tag: 0 to 2 */
    uns16 type;       /**< a TYPE_ code */
    uns16 size;       /**< bytes of the value */
    const char* name; /**< "Particle ID", "Particle M0" or "Particle M2" */
} md_ext_item_info;

/** One tagged value. */
typedef struct md_ext_item {
    const md_ext_item_info* tagInfo; /**< belongs to the library */
    void* value;                     /**< in the buffer, not aligned, little-endian */
} md_ext_item;

/** Most tagged values that a collection holds. */
#define MD_EXT_ITEMS_MAX 255

/** All tagged values of a block. */
typedef struct md_ext_item_collection {
    md_ext_item list[MD_EXT_ITEMS_MAX]; /**< in the order of the buffer */
    md_ext_item* map[MD_EXT_ITEMS_MAX]; /**< by tag; the last occurrence */
    uns16 count;                        /**< values in list */
} md_ext_item_collection;

#ifdef __cplusplus
}
#endif

#endif
