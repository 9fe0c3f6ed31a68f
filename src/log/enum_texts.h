#pragma once

#include "orvex/orvex_ddi.h"
#include "orvex/orvex_params.h"
#include "orvex/orvex_types.h"

// Names of enumeration values for the trace log; "<UNKNOWN>" for a value that has none. Nothing is
// decided by them. They neither fail nor allocate and may be called from any thread.

// One text function per list, X(function, type of the value, list).
#define ORVEX_ENUM_TEXTS(X)                                       \
    X(bv_text_open_mode, int32, ORVEX_OPEN_MODES)                 \
    X(bv_text_type, int32, ORVEX_TYPES)                           \
    X(bv_text_attribute, int32, ORVEX_ATTRIBUTES)                 \
    X(bv_text_access, int32, ORVEX_ACCESSES)                      \
    X(bv_text_clear_mode, int32, ORVEX_CLEAR_MODES)               \
    X(bv_text_shutter_open_mode, int32, ORVEX_SHUTTER_OPEN_MODES) \
    X(bv_text_shutter_status, int32, ORVEX_SHUTTER_STATES)        \
    X(bv_text_pmode, int32, ORVEX_PMODES)                         \
    X(bv_text_color, int32, ORVEX_COLOR_MODES)                    \
    X(bv_text_cooling, int32, ORVEX_COOLINGS)                     \
    X(bv_text_mpp, int32, ORVEX_MPP_CAPABILITIES)                 \
    X(bv_text_io_type, int32, ORVEX_IO_TYPES)                     \
    X(bv_text_io_dir, int32, ORVEX_IO_DIRECTIONS)                 \
    X(bv_text_io_attr_dir, int32, ORVEX_IO_DIRECTION_ATTRIBUTES)  \
    X(bv_text_ccs, int32, ORVEX_CAMERA_STATES)                    \
    X(bv_text_frame_irqs, int32, ORVEX_FRAME_IRQS)                \
    X(bv_text_circ, int32, ORVEX_CIRCULAR_MODES)                  \
    X(bv_text_exp_res, int32, ORVEX_EXPOSURE_RESOLUTIONS)         \
    X(bv_text_script_location, int32, ORVEX_SCRIPT_LOCATIONS)     \
    X(bv_text_callback_event, int32, ORVEX_CALLBACK_EVENTS)       \
    X(bv_text_callback_type, int32, ORVEX_CALLBACK_TYPES)         \
    X(bv_text_exp_mode, int32, ORVEX_EXPOSURE_MODES)              \
    X(bv_text_expose_out, int32, ORVEX_EXPOSE_OUT_MODES)          \
    X(bv_text_fan_speed, int32, ORVEX_FAN_SPEEDS)                 \
    X(bv_text_trigtab_signal, int32, ORVEX_TRIGTAB_SIGNALS)       \
    X(bv_text_frame_delivery, int32, ORVEX_FRAME_DELIVERY_MODES)  \
    X(bv_text_ifc_type, int32, ORVEX_CAM_IFC_TYPES)               \
    X(bv_text_ifc_mode, int32, ORVEX_CAM_IFC_MODES)               \
    X(bv_text_centroids_mode, int32, ORVEX_CENTROIDS_MODES)       \
    X(bv_text_tidal_mode, int32, ORVEX_TIDAL_MODES)               \
    X(bv_text_blob_id, int32, ORVEX_BLOB_IDS)                     \
    X(bv_text_notification, uns32, ORVEX_NOTIFICATIONS)

#define ORVEX_DECLARE_ENUM_TEXT(function, type, list) const char* function(type value);
ORVEX_ENUM_TEXTS(ORVEX_DECLARE_ENUM_TEXT)
#undef ORVEX_DECLARE_ENUM_TEXT

// Value 3 carries the names that it has in a sequence and in a continuous run.
const char* bv_text_read_status(int32 value);

const char* bv_text_param_id(uns32 value);

// From 256 on "trigger mode|expose-out mode". Valid until the calling thread's next call.
const char* bv_text_exp_mode_combined(uns16 value);
