/**
 * @file orvex_protocol.h
 * Protocol between the library and the firmware of a camera, for C99 and C++: message classes, host
 * commands, script operations and bridge commands. Needed by writers of driver modules that speak
 * for a camera; applications have no use for it.
 *
 * A frame on the wire is one class byte, a 16-bit payload length (high byte first, not counting
 * these three bytes) and the payload. The payload of the host and plug-in classes is a run of
 * commands: an id byte and its write data, whose size the id defines. Replies gather in a status
 * buffer, which CLEAR_STAT_BUF empties and SEND_STAT_BUF sends; its 2-byte argument is the number
 * of bytes wanted.
 */
#ifndef ORVEX_PROTOCOL_H
#define ORVEX_PROTOCOL_H

/** Class bytes of frames. */
#define ORVEX_MESSAGE_CLASSES(X) \
    X(CLASS_BRIDGE_COMMANDS, 35) \
    X(CLASS_SIMPLIFIED_CCL, 38)  \
    X(CLASS_PLUGIN_COMMANDS, 49) \
    X(CLASS_CCL_SCRIPT, 61)      \
    X(CLASS_HOST_COMMANDS, 63)

/** Encodings of write data and replies. */
enum orvex_hc_encoding { HC_BIG_ENDIAN = 0, HC_RAW = 1, HC_STRING = 2, HC_NONE = 3 };
/** Sizes that depend on the request, or of commands that the library never sends. */
enum orvex_hc_size { HC_VARIABLE = -1, HC_UNSENT = -2 };

/** Host commands, X(name, id, write bytes, write encoding, reply bytes, reply encoding). */
#define ORVEX_HOST_COMMANDS(X)                                                        \
    X(SPD_BIT_DEPTH, 0, 0, HC_NONE, 1, HC_BIG_ENDIAN)                                 \
    X(SPD_MAX_GAIN, 1, 0, HC_NONE, 1, HC_BIG_ENDIAN)                                  \
    X(SPD_SPEED, 2, 0, HC_NONE, 2, HC_BIG_ENDIAN)                                     \
    X(CAM_SER_NUM, 3, 0, HC_NONE, 2, HC_BIG_ENDIAN)                                   \
    X(COOLING, 4, 0, HC_NONE, 1, HC_BIG_ENDIAN)                                       \
    X(CHIP_NAME, 5, 0, HC_NONE, 16, HC_RAW)                                           \
    X(CLEAR_CYCLES, 6, HC_UNSENT, HC_NONE, HC_UNSENT, HC_NONE)                        \
    X(CUR_CCD_TEMP, 7, 0, HC_NONE, 2, HC_BIG_ENDIAN)                                  \
    X(FRAME_CAP, 8, 0, HC_NONE, 1, HC_BIG_ENDIAN)                                     \
    X(FULL_WELL_CAP, 9, 0, HC_NONE, 2, HC_BIG_ENDIAN)                                 \
    X(MPP_CAP, 10, 0, HC_NONE, 1, HC_BIG_ENDIAN)                                      \
    X(PAR_SIZE, 11, 0, HC_NONE, 2, HC_BIG_ENDIAN)                                     \
    X(PAR_PIX_SIZE, 12, 0, HC_NONE, 2, HC_BIG_ENDIAN)                                 \
    X(PAR_PIX_SPACE, 13, 0, HC_NONE, 2, HC_BIG_ENDIAN)                                \
    X(SER_PIX_SIZE, 14, 0, HC_NONE, 2, HC_BIG_ENDIAN)                                 \
    X(SER_PIX_SPACE, 15, 0, HC_NONE, 2, HC_BIG_ENDIAN)                                \
    X(POST_MASK, 16, 0, HC_NONE, 2, HC_BIG_ENDIAN)                                    \
    X(POSTSCAN, 17, 0, HC_NONE, 1, HC_BIG_ENDIAN)                                     \
    X(PRE_MASK, 18, 0, HC_NONE, 2, HC_BIG_ENDIAN)                                     \
    X(PREAMP_DELAY, 19, 0, HC_NONE, 2, HC_BIG_ENDIAN)                                 \
    X(PRE_FLASH, 20, 0, HC_NONE, 2, HC_BIG_ENDIAN)                                    \
    X(PRESCAN, 21, 0, HC_NONE, 1, HC_BIG_ENDIAN)                                      \
    X(SER_SIZE, 22, 0, HC_NONE, 2, HC_BIG_ENDIAN)                                     \
    X(SUM_WELL_PRESENT, 23, 0, HC_NONE, 1, HC_BIG_ENDIAN)                             \
    X(TEMP_RANGE, 24, 0, HC_NONE, 4, HC_RAW)                                          \
    X(TOTAL_SPD, 25, 0, HC_NONE, 1, HC_BIG_ENDIAN)                                    \
    X(TOTAL_PORTS, 26, 0, HC_NONE, 1, HC_BIG_ENDIAN)                                  \
    X(SPD_USER_GAIN, 27, 0, HC_NONE, 1, HC_BIG_ENDIAN)                                \
    X(ERROR_LOG, 28, HC_UNSENT, HC_NONE, HC_UNSENT, HC_NONE)                          \
    X(STAT_TABLE, 29, 0, HC_NONE, HC_VARIABLE, HC_BIG_ENDIAN)                         \
    X(STAT_TABLE_SIZE, 30, 0, HC_NONE, 1, HC_BIG_ENDIAN)                              \
    X(SH_OPEN_DELAY, 31, 0, HC_NONE, 2, HC_BIG_ENDIAN)                                \
    X(SH_CLOSE_DELAY, 32, 0, HC_NONE, 2, HC_BIG_ENDIAN)                               \
    X(SUBSYS_ID, 33, 1, HC_BIG_ENDIAN, 3, HC_RAW)                                     \
    X(SUBSYS_NAME, 34, 1, HC_BIG_ENDIAN, 128, HC_STRING)                              \
    X(CCD_TEMP_SET, 35, 0, HC_NONE, 2, HC_BIG_ENDIAN)                                 \
    X(FIRMWARE_VER, 36, 0, HC_NONE, 1, HC_BIG_ENDIAN)                                 \
    X(READ_PORT_NUM, 37, 0, HC_NONE, 1, HC_BIG_ENDIAN)                                \
    X(CLEAR_STAT_BUF, 38, 0, HC_NONE, 0, HC_NONE)                                     \
    X(STAT_BUF_SIZE, 39, HC_UNSENT, HC_NONE, HC_UNSENT, HC_NONE)                      \
    X(SEND_STAT_BUF, 40, 2, HC_BIG_ENDIAN, 0, HC_NONE)                                \
    X(CUR_SPD, 41, 0, HC_NONE, 1, HC_BIG_ENDIAN)                                      \
    X(SET_TIME_PER_PIX, 42, 2, HC_BIG_ENDIAN, 0, HC_NONE)                             \
    X(SELECT_SPD, 43, 1, HC_BIG_ENDIAN, 0, HC_NONE)                                   \
    X(SET_SPD_GAIN, 44, 1, HC_BIG_ENDIAN, 0, HC_NONE)                                 \
    X(SET_TEMP, 45, 2, HC_BIG_ENDIAN, 0, HC_NONE)                                     \
    X(EXECUTE_CCL, 46, 0, HC_NONE, 0, HC_NONE)                                        \
    X(SUBSYS_DIAG, 47, 1, HC_BIG_ENDIAN, 2, HC_BIG_ENDIAN)                            \
    X(SET_SH_OPEN_DELAY, 48, 2, HC_BIG_ENDIAN, 0, HC_NONE)                            \
    X(SET_SH_CLOSE_DELAY, 49, 2, HC_BIG_ENDIAN, 0, HC_NONE)                           \
    X(CLEAR_ERROR_LOG, 50, HC_UNSENT, HC_NONE, HC_UNSENT, HC_NONE)                    \
    X(STOP_CCS, 51, 2, HC_BIG_ENDIAN, 0, HC_NONE)                                     \
    X(DEBUG_CMD, 52, HC_VARIABLE, HC_RAW, HC_VARIABLE, HC_STRING)                     \
    X(GET_SER_REG_FULL_WELL, 53, HC_UNSENT, HC_NONE, HC_UNSENT, HC_NONE)              \
    X(GET_SUM_WELL_FULL_WELL, 54, HC_UNSENT, HC_NONE, HC_UNSENT, HC_NONE)             \
    X(GET_CCL_SCRIPT_WORDS, 55, 0, HC_NONE, 2, HC_BIG_ENDIAN)                         \
    X(FIRMWARE_MINOR_VER, 56, 0, HC_NONE, 1, HC_BIG_ENDIAN)                           \
    X(SET_EXP_TIME, 57, 2, HC_BIG_ENDIAN, 0, HC_NONE)                                 \
    X(EXP_TIME, 58, 0, HC_NONE, 2, HC_BIG_ENDIAN)                                     \
    X(SEND_CAPABILITIES, 59, 0, HC_NONE, 8, HC_RAW)                                   \
    X(GET_OFFSET, 60, 0, HC_NONE, 2, HC_BIG_ENDIAN)                                   \
    X(SET_OFFSET, 61, 2, HC_BIG_ENDIAN, 0, HC_NONE)                                   \
    X(AVL_RESOLTNS, 62, 0, HC_NONE, 1, HC_BIG_ENDIAN)                                 \
    X(MIN_RESOLTN, 63, 0, HC_NONE, 2, HC_BIG_ENDIAN)                                  \
    X(SEND_RESOLUTIONS, 64, HC_UNSENT, HC_NONE, HC_UNSENT, HC_NONE)                   \
    X(SEND_AVA_PORTS, 65, 0, HC_NONE, 1, HC_BIG_ENDIAN)                               \
    X(SEND_PORTS_RESL, 66, 2, HC_BIG_ENDIAN, 1, HC_BIG_ENDIAN)                        \
    X(SEND_PORTS_MIN, 67, 2, HC_BIG_ENDIAN, 2, HC_BIG_ENDIAN)                         \
    X(SEND_PORTS_MAX, 68, 2, HC_BIG_ENDIAN, 2, HC_BIG_ENDIAN)                         \
    X(SEND_PORTS_DIR, 69, 2, HC_BIG_ENDIAN, 2, HC_BIG_ENDIAN)                         \
    X(SEND_PORTS_TYPE, 70, 2, HC_BIG_ENDIAN, 2, HC_BIG_ENDIAN)                        \
    X(GET_CURRENT_PORT_ST, 71, 2, HC_BIG_ENDIAN, 2, HC_BIG_ENDIAN)                    \
    X(SET_CURRENT_PORT_ST, 72, 4, HC_RAW, 0, HC_NONE)                                 \
    X(SEND_STAT_BUFFER_MAX_SIZE, 73, HC_UNSENT, HC_NONE, HC_UNSENT, HC_NONE)          \
    X(SET_DIRECTION, 74, 4, HC_RAW, 0, HC_NONE)                                       \
    X(SEND_PORTS_ATTRIBUTES, 75, 2, HC_BIG_ENDIAN, 2, HC_BIG_ENDIAN)                  \
    X(ALPHA_SER_NUM, 76, 0, HC_NONE, 32, HC_STRING)                                   \
    X(SET_PAR_SIZE, 77, HC_UNSENT, HC_NONE, HC_UNSENT, HC_NONE)                       \
    X(SET_SER_SIZE, 78, HC_UNSENT, HC_NONE, HC_UNSENT, HC_NONE)                       \
    X(SET_PRE_MASK, 79, HC_UNSENT, HC_NONE, HC_UNSENT, HC_NONE)                       \
    X(SET_POST_MASK, 80, HC_UNSENT, HC_NONE, HC_UNSENT, HC_NONE)                      \
    X(SET_PRESCAN, 81, HC_UNSENT, HC_NONE, HC_UNSENT, HC_NONE)                        \
    X(SET_POSTSCAN, 82, HC_UNSENT, HC_NONE, HC_UNSENT, HC_NONE)                       \
    X(GET_MAX_GAIN_MULT_FACTOR, 83, 0, HC_NONE, 2, HC_BIG_ENDIAN)                     \
    X(GET_GAIN_MULT_FACTOR, 84, 0, HC_NONE, 2, HC_BIG_ENDIAN)                         \
    X(SET_GAIN_MULT_FACTOR, 85, 2, HC_BIG_ENDIAN, 0, HC_NONE)                         \
    X(SET_OUTPUT_PORT, 86, 2, HC_BIG_ENDIAN, 0, HC_NONE)                              \
    X(GET_OUTPUT_PORT, 87, 0, HC_NONE, 2, HC_BIG_ENDIAN)                              \
    X(FULL_FIRMWARE_NUMBER, 88, 0, HC_NONE, 32, HC_STRING)                            \
    X(ENTER_PROG_MODE, 89, HC_UNSENT, HC_NONE, HC_UNSENT, HC_NONE)                    \
    X(SET_PADDING_PIXS_NUM, 90, HC_UNSENT, HC_NONE, HC_UNSENT, HC_NONE)               \
    X(SET_DEMO_MODE, 91, HC_UNSENT, HC_NONE, HC_UNSENT, HC_NONE)                      \
    X(SET_PP_FEATURE_IDX, 92, 2, HC_BIG_ENDIAN, 0, HC_NONE)                           \
    X(GET_PP_FEATURE_IDX, 93, 0, HC_NONE, 2, HC_BIG_ENDIAN)                           \
    X(GET_PP_FEATURE_NAME, 94, 0, HC_NONE, 32, HC_STRING)                             \
    X(SET_PP_PARAM_IDX, 95, 2, HC_BIG_ENDIAN, 0, HC_NONE)                             \
    X(GET_PP_PARAM_IDX, 96, 0, HC_NONE, 2, HC_BIG_ENDIAN)                             \
    X(GET_PP_PARAM_NAME, 97, 0, HC_NONE, 32, HC_STRING)                               \
    X(SET_PP_PARAM, 98, 4, HC_BIG_ENDIAN, 0, HC_NONE)                                 \
    X(GET_PP_PARAM, 99, 0, HC_NONE, 4, HC_BIG_ENDIAN)                                 \
    X(GET_ACTUAL_GAIN, 100, 0, HC_NONE, 2, HC_BIG_ENDIAN)                             \
    X(GET_READ_NOISE, 101, 0, HC_NONE, 2, HC_BIG_ENDIAN)                              \
    X(RESET_PP, 102, 0, HC_NONE, 0, HC_NONE)                                          \
    X(GET_PP_PARAM_MIN, 103, 0, HC_NONE, 4, HC_BIG_ENDIAN)                            \
    X(GET_PP_PARAM_MAX, 104, 0, HC_NONE, 4, HC_BIG_ENDIAN)                            \
    X(GET_PP_PARAM_DEFAULT, 105, 0, HC_NONE, 4, HC_BIG_ENDIAN)                        \
    X(GET_PP_FEATURE_ID, 106, 0, HC_NONE, 4, HC_BIG_ENDIAN)                           \
    X(GET_PP_PARAM_ID, 107, 0, HC_NONE, 4, HC_BIG_ENDIAN)                             \
    X(GET_TIDAL_STREAM_MODE, 108, 0, HC_NONE, 2, HC_BIG_ENDIAN)                       \
    X(GET_TIDAL_STREAM_EXP_PARAMS, 109, 0, HC_NONE, HC_VARIABLE, HC_RAW)              \
    X(SET_TIDAL_STREAM_EXP_PARAMS, 110, HC_VARIABLE, HC_RAW, 0, HC_NONE)              \
    X(SET_TIDAL_STREAM_MODE, 111, 2, HC_BIG_ENDIAN, 0, HC_NONE)                       \
    X(SET_TIDAL_STREAM_ENABLED, 112, 2, HC_BIG_ENDIAN, 0, HC_NONE)                    \
    X(GET_TIDAL_STREAM_ENABLED, 113, 0, HC_NONE, 2, HC_BIG_ENDIAN)                    \
    X(GET_TIDAL_STREAM_EXP_COUNT, 114, 0, HC_NONE, 2, HC_BIG_ENDIAN)                  \
    X(GET_TIDAL_STREAM_DLY_PARAMS, 115, 0, HC_NONE, HC_VARIABLE, HC_RAW)              \
    X(SET_TIDAL_STREAM_DLY_PARAMS, 116, HC_VARIABLE, HC_RAW, 0, HC_NONE)              \
    X(GET_TIDAL_STREAM_DLY_COUNT, 117, 0, HC_NONE, 2, HC_BIG_ENDIAN)                  \
    X(GET_TIDAL_STREAM_MAX_EXP_COUNT, 118, 0, HC_NONE, 2, HC_BIG_ENDIAN)              \
    X(SEND_TIDAL_STREAM_CAPABILITIES, 119, HC_UNSENT, HC_NONE, HC_UNSENT, HC_NONE)    \
    X(GET_IMAGE_SENSOR_READOUT_TIME, 120, 0, HC_NONE, 4, HC_BIG_ENDIAN)               \
    X(GET_EXTENDED_CAPABILITIES_SIZE, 121, 0, HC_NONE, 4, HC_BIG_ENDIAN)              \
    X(GET_EXTENDED_CAPABILITIES, 122, 0, HC_NONE, HC_VARIABLE, HC_RAW)                \
    X(GET_EXTENDED_CAPABILITIES_VERSION, 123, HC_UNSENT, HC_NONE, HC_UNSENT, HC_NONE) \
    X(SET_SENSOR_CORRECTION_STATE, 124, 2, HC_BIG_ENDIAN, 0, HC_NONE)                 \
    X(GET_SENSOR_CORRECTION_STATE, 125, 0, HC_NONE, 2, HC_BIG_ENDIAN)                 \
    X(GET_EXTENDED_TRIG_MODES_SIZE, 126, 0, HC_NONE, 4, HC_BIG_ENDIAN)                \
    X(GET_EXTENDED_TRIGGERING_MODES, 127, 0, HC_NONE, HC_VARIABLE, HC_RAW)            \
    X(GET_EXPOSE_OUT_BEHAVE_SIZE, 128, 0, HC_NONE, 4, HC_BIG_ENDIAN)                  \
    X(GET_EXPOSE_OUT_BEHAVE_MODES, 129, 0, HC_NONE, HC_VARIABLE, HC_RAW)              \
    X(GET_SYSTEM_NAME, 130, 0, HC_NONE, 32, HC_STRING)                                \
    X(GET_VENDOR_NAME, 131, 0, HC_NONE, 32, HC_STRING)                                \
    X(PAR_PORT_NUM, 132, 0, HC_NONE, 2, HC_BIG_ENDIAN)                                \
    X(SER_PORT_NUM, 133, 0, HC_NONE, 2, HC_BIG_ENDIAN)                                \
    X(GET_EXTENDED_READOUT_PORTS_SIZE, 134, 0, HC_NONE, 4, HC_BIG_ENDIAN)             \
    X(GET_EXTENDED_READOUT_PORTS, 135, 0, HC_NONE, HC_VARIABLE, HC_RAW)               \
    X(GET_FAN_SPEED_SETPOINT, 136, 0, HC_NONE, 2, HC_BIG_ENDIAN)                      \
    X(SET_FAN_SPEED_SETPOINT, 137, 2, HC_BIG_ENDIAN, 0, HC_NONE)                      \
    X(GET_METADATA_ENABLED, 138, 0, HC_NONE, 2, HC_BIG_ENDIAN)                        \
    X(SET_METADATA_ENABLED, 139, 2, HC_BIG_ENDIAN, 0, HC_NONE)                        \
    X(GET_EXT_METADATA_SIZE, 140, 0, HC_NONE, 4, HC_RAW)                              \
    X(GET_ROI_COUNT_MAX, 141, 0, HC_NONE, 2, HC_BIG_ENDIAN)                           \
    X(SET_CENTROIDS_ENABLED, 142, 2, HC_BIG_ENDIAN, 0, HC_NONE)                       \
    X(GET_CENTROIDS_ENABLED, 143, 0, HC_NONE, 2, HC_BIG_ENDIAN)                       \
    X(GET_CENTROIDS_RADIUS_RANGE, 144, 0, HC_NONE, 4, HC_RAW)                         \
    X(SET_CENTROIDS_RADIUS, 145, 2, HC_BIG_ENDIAN, 0, HC_NONE)                        \
    X(GET_CENTROIDS_RADIUS, 146, 0, HC_NONE, 2, HC_BIG_ENDIAN)                        \
    X(GET_CENTROIDS_COUNT_RANGE, 147, 0, HC_NONE, 4, HC_RAW)                          \
    X(SET_CENTROIDS_COUNT, 148, 2, HC_BIG_ENDIAN, 0, HC_NONE)                         \
    X(GET_CENTROIDS_COUNT, 149, 0, HC_NONE, 2, HC_BIG_ENDIAN)                         \
    X(GET_FAN_SPEEDS_SIZE, 150, 0, HC_NONE, 4, HC_BIG_ENDIAN)                         \
    X(GET_FAN_SPEEDS, 151, 0, HC_NONE, HC_VARIABLE, HC_RAW)                           \
    X(GET_GAIN_NAME, 152, 0, HC_NONE, 32, HC_STRING)                                  \
    X(GET_BINARY_BLOB_SIZE, 153, HC_VARIABLE, HC_RAW, 4, HC_BIG_ENDIAN)               \
    X(GET_BINARY_BLOB, 154, HC_VARIABLE, HC_RAW, HC_VARIABLE, HC_RAW)                 \
    X(SET_BINARY_BLOB, 155, HC_VARIABLE, HC_RAW, 2, HC_BIG_ENDIAN)                    \
    X(GET_TRIGTAB_SIGNALS_SIZE, 156, 0, HC_NONE, 4, HC_BIG_ENDIAN)                    \
    X(GET_TRIGTAB_SIGNALS, 157, 0, HC_NONE, HC_VARIABLE, HC_RAW)                      \
    X(GET_TRIGTAB_SIGNAL, 158, 0, HC_NONE, 2, HC_BIG_ENDIAN)                          \
    X(SET_TRIGTAB_SIGNAL, 159, 2, HC_BIG_ENDIAN, 0, HC_NONE)                          \
    X(GET_LAST_MUXED_SIGNAL_MAX, 160, 0, HC_NONE, 1, HC_BIG_ENDIAN)                   \
    X(GET_LAST_MUXED_SIGNAL, 161, 0, HC_NONE, 1, HC_BIG_ENDIAN)                       \
    X(SET_LAST_MUXED_SIGNAL, 162, 1, HC_BIG_ENDIAN, 0, HC_NONE)                       \
    X(GET_SENSOR_MASK_TYPE, 163, 0, HC_NONE, 1, HC_BIG_ENDIAN)                        \
    X(GET_PRODUCT_NAME, 164, 0, HC_NONE, 32, HC_STRING)                               \
    X(GET_CAM_PART_NUM, 165, 0, HC_NONE, 32, HC_STRING)                               \
    X(GET_MAX_FRAME_TIMEOUT, 166, HC_UNSENT, HC_NONE, HC_UNSENT, HC_NONE)             \
    X(GET_CLEARING_TIME, 167, 0, HC_NONE, 8, HC_BIG_ENDIAN)                           \
    X(GET_EXPOSURE_TIME, 168, 0, HC_NONE, 8, HC_BIG_ENDIAN)                           \
    X(GET_POST_TRIGGER_DELAY, 169, 0, HC_NONE, 8, HC_BIG_ENDIAN)                      \
    X(GET_PRE_TRIGGER_DELAY, 170, 0, HC_NONE, 8, HC_BIG_ENDIAN)                       \
    X(GET_POST_ABORT_DELAY, 171, 0, HC_NONE, 8, HC_BIG_ENDIAN)                        \
    X(GET_CAM_IFC_TYPE_CURRENT, 172, 0, HC_NONE, 4, HC_BIG_ENDIAN)                    \
    X(GET_CENTROIDS_MODES_SIZE, 173, 0, HC_NONE, 4, HC_BIG_ENDIAN)                    \
    X(GET_CENTROIDS_MODES, 174, 0, HC_NONE, HC_VARIABLE, HC_RAW)                      \
    X(SET_CENTROIDS_MODE, 175, 2, HC_BIG_ENDIAN, 0, HC_NONE)                          \
    X(GET_CENTROIDS_MODE_CURRENT, 176, 0, HC_NONE, 2, HC_BIG_ENDIAN)                  \
    X(GET_CENTROIDS_BG_COUNTS_SIZE, 177, 0, HC_NONE, 4, HC_BIG_ENDIAN)                \
    X(GET_CENTROIDS_BG_COUNTS, 178, 0, HC_NONE, HC_VARIABLE, HC_RAW)                  \
    X(SET_CENTROIDS_BG_COUNT, 179, 2, HC_BIG_ENDIAN, 0, HC_NONE)                      \
    X(GET_CENTROIDS_BG_COUNT_CURRENT, 180, 0, HC_NONE, 2, HC_BIG_ENDIAN)              \
    X(SET_CENTROIDS_THRESHOLD, 181, 4, HC_BIG_ENDIAN, 0, HC_NONE)                     \
    X(GET_CENTROIDS_THRESHOLD, 182, 0, HC_NONE, 4, HC_BIG_ENDIAN)                     \
    X(GET_FRAME_DELIVERY_MODES_SIZE, 183, 0, HC_NONE, 4, HC_BIG_ENDIAN)               \
    X(GET_FRAME_DELIVERY_MODES, 184, 0, HC_NONE, HC_VARIABLE, HC_RAW)                 \
    X(SET_FRAME_DELIVERY_MODE, 185, 2, HC_BIG_ENDIAN, 0, HC_NONE)                     \
    X(GET_FRAME_DELIVERY_MODE_CURRENT, 186, 0, HC_NONE, 2, HC_BIG_ENDIAN)             \
    X(GET_CLEAR_MODES_SIZE, 187, 0, HC_NONE, 4, HC_BIG_ENDIAN)                        \
    X(GET_CLEAR_MODES, 188, 0, HC_NONE, HC_VARIABLE, HC_RAW)                          \
    X(STOP_ACQUISITION, 189, 4, HC_BIG_ENDIAN, 4, HC_BIG_ENDIAN)                      \
    X(LAST_HOST_CMD, 190, HC_UNSENT, HC_NONE, HC_UNSENT, HC_NONE)

/** What STOP_CCS does beside halting; bits. */
#define ORVEX_HC_CCS(X)     \
    X(HC_CCS_NONE, 0)       \
    X(HC_CCS_CONT_CLEAR, 1) \
    X(HC_CCS_CLOSE_SHTR, 2) \
    X(HC_CCS_OPEN_SHTR, 4)

/** Operations of a full program; a record is a 16-bit argument, high byte first, and the operation.
 */
#define ORVEX_CCL_OPERATIONS(X) \
    X(OP_TERMINATE, 0)          \
    X(OP_DO_LOOP, 1)            \
    X(OP_END_DO, 2)             \
    X(OP_EXPOSE_SCALE, 3)       \
    X(OP_EXPOSE, 4)             \
    X(OP_OPEN_SHUTTER, 5)       \
    X(OP_CLOSE_SHUTTER, 6)      \
    X(OP_PARALLEL_DIS, 7)       \
    X(OP_PARALLEL_BIN, 8)       \
    X(OP_PARALLEL_ALT_ON, 9)    \
    X(OP_CLAMPED_DISCARD, 10)   \
    X(OP_SERIAL_DISCARD, 11)    \
    X(OP_SET_SERIAL_BIN, 12)    \
    X(OP_SERIAL_CONVERT, 13)    \
    X(OP_CLEAR_UNTIL_TRIG, 14)  \
    X(OP_EXPOSE_UNTIL_TRIG, 15) \
    X(OP_EXPOSE_WHILE_TRIG, 16) \
    X(OP_EOF, 17)               \
    X(OP_CLEAR, 18)             \
    X(OP_SET_GAIN, 19)          \
    X(OP_PREAMP_ON, 20)         \
    X(OP_PREAMP_OFF, 21)        \
    X(OP_IMAGE_AND_STORAGE, 22) \
    X(OP_STORAGE_ONLY, 23)      \
    X(OP_MPP_ON, 24)            \
    X(OP_MPP_OFF, 25)           \
    X(OP_ANTIBLOOM_ON, 26)      \
    X(OP_ANTIBLOOM_OFF, 27)     \
    X(OP_FLASH, 28)             \
    X(OP_PARALLEL_ALT_OFF, 29)  \
    X(OP_SERIAL_LATCH, 30)      \
    X(OP_DIAGNOSTIC_CONV, 31)   \
    X(OP_EXPOSE_FAST, 32)       \
    X(OP_PORT_SELECT, 33)       \
    X(OP_SET_DAC, 34)           \
    X(OP_SET_PORT_TTL, 35)      \
    X(OP_PARALLEL_CLEAR, 36)

/** Settings of a simplified program; a record is the setting and a 32-bit value, high byte first.
 */
#define ORVEX_SCCL_OPERATIONS(X) \
    X(OP_EXPOSE_RESOLUTION, 0)   \
    X(OP_EXPOSURETIME, 1)        \
    X(OP_EXPOSUREMODE, 2)        \
    X(OP_FRAME_COUNT, 3)         \
    X(OP_MODE, 4)                \
    X(OP_SUB_ROI_COUNT, 5)       \
    X(OP_BIN_X, 6)               \
    X(OP_BIN_Y, 7)               \
    X(OP_IMGCOORD_TOPL_X, 8)     \
    X(OP_IMGCOORD_TOPL_Y, 9)     \
    X(OP_IMGCOORD_BOTR_X, 10)    \
    X(OP_IMGCOORD_BOTR_Y, 11)    \
    X(OP_SENSOR_CLEAR_MODE, 12)  \
    X(OP_SENSOR_CLEAR_COUNT, 13)

/** Commands to the bridge between host and camera head. */
#define ORVEX_BRIDGE_COMMANDS(X)                  \
    X(BRIDGE_OLD_INIT_CCL, 0)                     \
    X(OZ_DATA_GET_VERSION_INFO_LENGTH, 1)         \
    X(OZ_DATA_GET_VERSION_INFO, 2)                \
    X(OZ_DATA_GET_FRIENDLY_NAME, 3)               \
    X(OZ_DATA_READ_FIRMWARE_BLOCK, 4)             \
    X(OZ_DATA_START_FIRMWARE_UPDATE, 5)           \
    X(OZ_DATA_SEND_FIRMWARE_BLOCK, 6)             \
    X(OZ_DATA_APPLY_FIRMWARE_UPDATE, 7)           \
    X(OZ_DATA_READ_NV_MEMORY_SIZE, 8)             \
    X(OZ_DATA_READ_NV_MEMORY_BLOCK, 9)            \
    X(OZ_DATA_WRITE_NV_MEMORY_BLOCK, 10)          \
    X(OZ_CAM_BRIDGE_INIT_CCL, 11)                 \
    X(OZ_CAM_BRIDGE_ABORT_ACQUISITION, 12)        \
    X(OZ_CAM_BRIDGE_BYTE_ORDER, 13)               \
    X(OZ_CAM_SET_MAX_ISOCH_CHANNELS, 14)          \
    X(OZ_DATA_START_FIRMWARE_READ, 15)            \
    X(OZ_DATA_END_FIRMWARE_READ, 16)              \
    X(OZ_DATA_START_NV_MEMORY_READ, 17)           \
    X(OZ_DATA_END_NV_MEMORY_READ, 18)             \
    X(OZ_DATA_START_NV_MEMORY_UPDATE, 19)         \
    X(OZ_DATA_APPLY_NV_MEMORY_UPDATE, 20)         \
    X(OZ_DATA_READ_MFR_CHIP_ID_HIGH, 21)          \
    X(OZ_DATA_READ_CHIP_ID_LOW, 22)               \
    X(OZ_DATA_WRITE_MFR_CHIP_ID_HIGH, 23)         \
    X(OZ_DATA_WRITE_CHIP_ID_LOW, 24)              \
    X(OZ_CAM_BRIDGE_ACQ_PARMS, 25)                \
    X(OZ_CAM_BRIDGE_PREP_TRANSFER, 26)            \
    X(OZ_CAM_BRIDGE_READOUT_TIMEOUT, 27)          \
    X(OZ_CAM_BRIDGE_HCMD_RESPONSE_BYTE_COUNT, 28) \
    X(OZ_CAM_BRIDGE_SET_PIXEL_BIT_DEPTH, 29)      \
    X(OZ_CAM_BRIDGE_SET_TRANSFER_SPEED, 30)       \
    X(OZ_CAM_BRIDGE_ENABLE_PIXEL_TRANSFER, 31)

/** First bytes of the bridge's capability block. */
#define ORVEX_BRIDGE_CAPS_SIGNATURE 0xBA, 0xAD, 0xBA, 0xFE
/** Flags in the byte behind them. */
enum orvex_bridge_caps_flag { BRIDGE_CAPS_REPLY_STATUS = 1, BRIDGE_CAPS_BOOT_STATUS = 2 };

/** Makes one enumerator of a row of two. */
#define ORVEX_PROTOCOL_ENUMERATOR(name, value) name = value,
/** Makes one enumerator of a row of ORVEX_HOST_COMMANDS. */
#define ORVEX_HOST_COMMAND_ENUMERATOR(name, id, wb, we, rb, re) name = id,
enum orvex_message_class { ORVEX_MESSAGE_CLASSES(ORVEX_PROTOCOL_ENUMERATOR) };
enum orvex_host_command { ORVEX_HOST_COMMANDS(ORVEX_HOST_COMMAND_ENUMERATOR) };
enum orvex_hc_ccs { ORVEX_HC_CCS(ORVEX_PROTOCOL_ENUMERATOR) };
enum orvex_ccl_operation { ORVEX_CCL_OPERATIONS(ORVEX_PROTOCOL_ENUMERATOR) };
enum orvex_sccl_operation { ORVEX_SCCL_OPERATIONS(ORVEX_PROTOCOL_ENUMERATOR) };
enum orvex_bridge_command { ORVEX_BRIDGE_COMMANDS(ORVEX_PROTOCOL_ENUMERATOR) };

#endif
