/**
 * @file orvex_errors.h
 * Error codes, for C99 and C++: ox_error_code() returns one, ox_error_message() its text.
 */
#ifndef ORVEX_ERRORS_H
#define ORVEX_ERRORS_H

/* Lists end with a comma, which the oldest dialects take with a warning. */
#if defined(__GNUC__) && defined(__cplusplus) && __cplusplus < 201103L
#pragma GCC system_header
#endif

/**
 * Errors of the library, X(name, code, text); the message is the text and the name in parentheses.
 */
#define ORVEX_ERRORS(X)                                                                      \
    X(C0_UNKNOWN_ERROR, 1, "Unexpected, unanticipated, or undocumented")                     \
    X(C0_BAD_DEV_NAME, 2, "No driver found with the specified name")                         \
    X(C0_DRIVER_IN_USE, 3, "This driver is already in use by another user")                  \
    X(C0_CABLE_DISCONNECTED, 4, "Camera is not reliably connected to computer")              \
    X(C0_MEM_LOCK_FAILED, 5, "Device driver could not lock pages in RAM")                    \
    X(C0_SYS_ERR_READ_BYTE, 6, "Error during preparation or execution of camera read")       \
    X(C0_SYS_ERR_SEND_BYTE, 7, "Error during preparation or execution of camera write")      \
    X(C0_SYS_ERR_IM_ABORT, 8, "System error in dv_driver_set_image_data_idle")               \
    X(C0_UNKNOWN_READ_BYTE, 9, "Unknown error in dv_cam_write_read, read")                   \
    X(C0_UNKNOWN_IM_STATUS, 10, "Unknown error in dv_driver_get_image_data_status")          \
    X(C0_INVALID_HANDLE, 11, "This is not the handle of an open camera")                     \
    X(C0_CAM_ALREADY_OPEN, 12, "This user has already opened this camera")                   \
    X(C0_CAM_NAME_OUT_OF_RNG, 13, "The number must be in the range 0<=num<totl_cams")        \
    X(C0_CAM_NAME_NOT_FOUND, 14, "This is not a valid name for opening the camera")          \
    X(C0_NULL_POINTER, 15, "Input pointer is null, it must be a legal address")              \
    X(C0_NO_IMG_DATA, 16, "Can't collect data: expected data is zero bytes")                 \
    X(C0_OPEN_MODE_UNAVAIL, 17, "Camera may not be opened in the mode specified")            \
    X(C0_WRONG_READ_CLASS, 18, "Read operations require the HOST_COMMANDS class")            \
    X(C0_ERR_OPEN_CAM, 19, "Error occured in opening camera")                                \
    X(C2_ORVEX_ALREADY_INITED, 20, "Init_orvex has been called twice without closing")       \
    X(C2_ORVEX_NOT_INITED, 21, "The ORVEX library was never initialized")                    \
    X(C2_FAILED_TO_SET_VALUE, 22, "The camera did not accept the new setting")               \
    X(C2_NEED_POSITIVE_VAL, 23, "The input value must be greater than zero")                 \
    X(C2_NEED_ZERO_OR_MORE, 24, "The input value must be zero or above")                     \
    X(C2_NOT_AVAILABLE, 25, "Attribute requested not available")                             \
    X(C2_INDEX_OUT_OF_RANGE, 26, "The requested parameter index is out of range")            \
    X(C2_IO_TYPE_INVALID, 27, "The requested I/O port type is not supported")                \
    X(C2_ADDR_OUT_OF_RANGE, 28, "The I/O address is out of range")                           \
    X(C2_ACCESS_ATTR_INVALID, 29, "The I/O port returned access attribute is invalid")       \
    X(C2_IO_DIRECTION_INVALID, 30, "The returned direction for the I/O port is invalid")     \
    X(C2_CANNOT_ALLOCATE_MEMORY, 31, "Memory allocation failure")                            \
    X(C3_INVALID_SCRIPT, 32, "CCL program is not loaded or is invalid")                      \
    X(C3_RGN_INVALID, 33, "Invalid region")                                                  \
    X(C3_NOT_INITIALIZED, 34, "Orvex has not been initialized properly")                     \
    X(C3_INVALID_CAPABILITIES, 35, "Camera reported incorrect capabilities")                 \
    X(C3_EVENT_NOT_SUPPORTED, 36, "Specified event is not supported")                        \
    X(C3_CIRC_NOT_ENABLED, 37, "Circular buffer not enabled properly")                       \
    X(C3_ILLEGAL_BUFFER_SIZE, 38, "Buffer must be integer-multiple of frame size")           \
    X(C3_FRAME_NOT_RETURNED, 39, "Specified frame could not be returned")                    \
    X(C3_BUFFER_OVERRUN, 40, "Data Buffer is full no place to xfer data")                    \
    X(C7_GEN_COM_ERROR, 41, "General communication issue")                                   \
    X(C7_DRIVER_COM_ERROR, 42, "Communication with device driver failed")                    \
    X(C32_CCL_TOO_COMPLEX, 43, "Too many script entries")                                    \
    X(C32_CCL_CANT_FRAME_TRANSFER, 44, "No frame transfer hardware support")                 \
    X(C0_BUFFER_TOO_SMALL, 45, "Buffer size is too small")                                   \
    X(C0_INVALID_DATA, 46, "Data is not in an expected format")                              \
    X(C0_EXPOSURE_OUT_OF_RANGE, 47, "Exposure value is out of range")                        \
    X(C0_BINNING_INVALID, 48, "Binning value is not valid for current camera configuration") \
    X(C0_ACQ_NOT_CONFIGURED, 49, "Camera has not been configured for acquisition")           \
    X(C0_RESOURCE_ALLOCATION_FAILED, 50, "Resource allocation failed")

/**
 * Statuses of a camera's bridge, X(name, code, text); the message is the name, blanks up to column
 * 30, and the text.
 */
#define ORVEX_BRIDGE_STATUSES(X)                                                          \
    X(BC_STATUS_INVALID_BLOCK_NUM, 1, "Trying to upload/download invalid block index")    \
    X(BC_UNSUPPORTED_TARGET, 2, "Trying to communicate with an invalid target")           \
    X(BC_INVALID_TARGET, 3, "Trying to communicate with an invalid target")               \
    X(BC_TIMEOUT, 4, "Timeout during transmission")                                       \
    X(BC_INVALID_OPCODE, 5, "Bridge command is not recognized by this camera")            \
    X(BC_INVALID_LENGTH, 6, "Payload is not the right length")                            \
    X(BC_INVALID_PARAMETER, 7, "Payload is described in a way camera doesn't understand") \
    X(BC_INVALID_CAM_SPEED, 8, "A mis-configuration of interface bus has occurred")       \
    X(BC_NO_MEMORY, 9, "Camera does not have enough resources for transaction")           \
    X(BC_LOCK_FAILED, 10, "Camera configuration lock is present")                         \
    X(BC_CHANNEL_USED, 11, "A mis-configuration of interface bus has occurred")           \
    X(BC_INVALID_CHANNEL, 12, "A mis-configuration of interface bus has occurred")        \
    X(BC_NO_ISO_CHANNEL, 13, "A mis-configuration of interface bus has occurred")         \
    X(BC_NO_ISO_BANDWIDTH, 14, "A mis-configuration of interface bus has occurred")       \
    X(BC_INVALID_SPEED, 15, "A mis-configuration of interface bus has occurred")          \
    X(BC_UNKNOWN_ERROR, 16, "Unknown, undocumented, and unexpected error has occurred")   \
    X(BC_PROGRAMMING_FAILED, 17, "Upload of payload has failed")                          \
    X(BC_PARAMETER_PERMISSION, 18, "Parameter permission does not allow that operation")

/** Makes one enumerator of a list row. */
#define ORVEX_ERROR_CONSTANT(name, code, text) name = code,
enum orvex_error { ORVEX_ERRORS(ORVEX_ERROR_CONSTANT) };
enum orvex_bridge_status { BC_STATUS_SUCCESS = 0, ORVEX_BRIDGE_STATUSES(ORVEX_ERROR_CONSTANT) };

#endif
