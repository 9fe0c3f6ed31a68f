/**
 * @file orvex.h
 * Camera control for scientific cameras: the functions of liborvex, for C99 and C++.
 *
 * Results: unless a comment says otherwise a function returns 1 for success and 0 for failure, and
 * after a failure ox_error_code() tells the reason and ox_error_message() its text. A successful
 * call leaves code 0. An output is written on success only, unless a comment says otherwise. A null
 * pointer where none is allowed fails with C0_NULL_POINTER.
 *
 * Camera functions are those that begin with a camera handle. They fail with C2_ORVEX_NOT_INITED
 * outside of ox_orvex_init() and ox_orvex_uninit(), and with C0_INVALID_HANDLE when the handle is
 * not one of an open camera; both failures leave the outputs alone and the call is not made.
 * Whatever says that it talks to the camera can also fail with C7_DRIVER_COM_ERROR, when the
 * driver refuses, the camera does not answer within 3 seconds or has been unplugged. It also ends a
 * running acquisition of either kind, except for the raw access of the Service group; what asks the
 * driver alone does not.
 *
 * Threads: every function may be called from any thread.
 * - Camera functions hold the mutex of their camera for the whole call: calls on one camera take
 *   turns, calls on different cameras run side by side.
 * - All other functions hold one global mutex, so that they take turns among themselves but not
 *   with camera functions. ox_cam_open() and ox_orvex_uninit() are of this kind: no thread but
 *   those of callbacks may use a camera while the library shuts down.
 * - The functions of the error state, the heap and the script hook (ox_error_code(),
 *   ox_error_message(), oz_set_error_code(), oz_malloc(), oz_calloc(), oz_realloc(), oz_free(),
 *   oz_script_set_hook()) hold no mutex.
 * - The error state is one for the process. An application that needs exact errors from several
 *   threads serialises its calls.
 * - The mutexes are not recursive. A callback runs on a thread of the library, and a function that
 *   it calls on its camera waits for the call that is in progress there.
 * - A failing system mutex leaves a function as the C++ exception std::system_error.
 */
#ifndef ORVEX_H
#define ORVEX_H

#include "orvex_errors.h"
#include "orvex_params.h"
#include "orvex_types.h"

/** Marks what the shared library exports. */
#if defined(__GNUC__)
#define ORVEX_API __attribute__((visibility("default")))
#else
#define ORVEX_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** @name Library
 * None of these talks to a camera, except that ox_orvex_uninit() closes what is open.
 * @{ */

/**
 * Version of the installed library; works before ox_orvex_init().
 * @param[out] orvex_version bits 15-8 major, bits 7-4 minor, bits 3-0 patch
 * @return 0 with C0_UNKNOWN_ERROR when the installation does not tell its version
 */
ORVEX_API boolean16 ox_orvex_get_ver(uns16* orvex_version);

/**
 * Starts the library: loads the driver module and counts the cameras. A machine without cameras
 * starts, too.
 * @return 0 with C2_ORVEX_ALREADY_INITED, C7_DRIVER_COM_ERROR (no usable driver module) or
 * C2_CANNOT_ALLOCATE_MEMORY; it may be tried again
 */
ORVEX_API boolean16 ox_orvex_init(void);

/**
 * Stops the library: closes all open cameras and flushes the trace log. It may be started again.
 * @return 0 with C2_ORVEX_NOT_INITED
 */
ORVEX_API boolean16 ox_orvex_uninit(void);
/** @} */

/** @name Cameras
 * @{ */

/**
 * Number of cameras found by ox_orvex_init(). Does not talk to a camera.
 * @param[out] totl_cams the number, 0 or more
 * @return 0 with C2_ORVEX_NOT_INITED
 */
ORVEX_API boolean16 ox_cam_get_total(int16* totl_cams);

/**
 * Name of a camera, as ox_cam_open() takes it. Does not talk to a camera.
 * @param cam_num 0 to the number of cameras minus 1
 * @param[out] cam_name room for #CAM_NAME_LEN bytes
 * @return 0 with C2_ORVEX_NOT_INITED or C0_CAM_NAME_OUT_OF_RNG
 */
ORVEX_API boolean16 ox_cam_get_name(int16 cam_num, char* cam_name);

/**
 * Opens a camera, learns what it can do and applies default settings. Talks to the camera.
 * @param cam_name name of the camera, terminated
 * @param[out] hcam handle of the camera for all other calls
 * @param o_mode EXT_OPEN_EXCLUSIVE, or EXT_OPEN_FW_UPDATE to reach nothing but the bridge
 * @return 0 with C2_ORVEX_NOT_INITED, C0_OPEN_MODE_UNAVAIL, C0_CAM_NAME_NOT_FOUND,
 * C0_CAM_ALREADY_OPEN, C0_ERR_OPEN_CAM or C7_DRIVER_COM_ERROR
 */
ORVEX_API boolean16 ox_cam_open(char* cam_name, int16* hcam, int16 o_mode);

/**
 * Stops any run and closes the camera. Talks to the camera; whatever goes wrong on the way is
 * forgotten, so that a valid handle is always closed.
 */
ORVEX_API boolean16 ox_cam_close(int16 hcam);

/**
 * Asks to be called back on an event of the camera, in place of an earlier callback for it.
 * Does not talk to the camera, but waits until events in progress are delivered. After success the
 * earlier callback does not run, unless it is the one that makes this call, and is never called
 * again: its context may go. To that end this call leaves the camera to others, the callback among
 * them, while it waits for the callback; one that takes longer than 5 seconds can make it fail.
 * @param callback_event OX_CALLBACK_BOF to OX_CALLBACK_CAM_RESUMED
 * @param callback a `void (*)(const FRAME_INFO* frame_info, void* context)`, called on a thread of
 * the library; the record is valid during the call only
 * @param context handed to the callback; may be null
 * @return 0 with C3_EVENT_NOT_SUPPORTED or C7_GEN_COM_ERROR
 */
ORVEX_API boolean16 ox_cam_register_callback_ex3(int16 hcam, int32 callback_event, void* callback,
                                                 void* context);

/**
 * Ends the callbacks on an event, as ox_cam_register_callback_ex3() ends an earlier one. Does not
 * talk to the camera.
 * @param callback_event OX_CALLBACK_BOF to OX_CALLBACK_CAM_RESUMED
 * @return 0 with C3_EVENT_NOT_SUPPORTED or C7_GEN_COM_ERROR
 */
ORVEX_API boolean16 ox_cam_deregister_callback(int16 hcam, int32 callback_event);
/** @} */

/** @name Errors
 * They hold no lock, never talk to a camera, and change the error state only where they say so.
 * @{ */

/** Code of the last failure, 0 for none; not a boolean. */
ORVEX_API int16 ox_error_code(void);

/**
 * Text of an error code, read by the table that the last failure belongs to: that of the library
 * or that of a camera's bridge.
 * @param err_code usually the answer of ox_error_code()
 * @param[out] msg room for #ERROR_MSG_LEN bytes; written in every case, always terminated
 * @return 0 when the code is unknown, the text is "Unknown error" then; 0 with C0_NULL_POINTER,
 * which takes the place of the error that was asked about
 */
ORVEX_API boolean16 ox_error_message(int16 err_code, char* msg);
/** @} */

/** @name Parameters
 * Numbered features of a camera; see orvex_params.h. Most values were learnt at open and cost no
 * traffic; temperatures, speed table, post-processing and the like are asked of the camera.
 * @{ */

/**
 * Value or attribute of a parameter. May talk to the camera.
 * @param param_id a PARAM_ id
 * @param param_attribute ATTR_CURRENT to ATTR_AVAIL
 * @param[out] param_value for ATTR_COUNT an uns32, for ATTR_TYPE, ATTR_ACCESS and ATTR_AVAIL an
 * uns16, otherwise a value of the parameter's type; a text has at most ATTR_COUNT bytes
 * @return 0 with C2_NOT_AVAILABLE, or C0_ACQ_NOT_CONFIGURED for what exists after a set-up only
 */
ORVEX_API boolean16 ox_get_param(int16 hcam, uns32 param_id, int16 param_attribute,
                                 void* param_value);

/**
 * Sets a parameter. May talk to the camera; a value that the camera takes is read back.
 * @param param_id a PARAM_ id
 * @param param_value the new value, in the parameter's type
 * @return 0 with C2_NOT_AVAILABLE, C2_FAILED_TO_SET_VALUE (read-only, or the camera kept another
 * value) or C2_INDEX_OUT_OF_RANGE
 */
ORVEX_API boolean16 ox_set_param(int16 hcam, uns32 param_id, void* param_value);

/**
 * One entry of an enumerated parameter. May talk to the camera.
 * @param param_id a PARAM_ id
 * @param index 0 to ATTR_COUNT minus 1
 * @param[out] value what ox_set_param() takes; differs from the index in general
 * @param[out] desc display text, cut to the length and terminated; may be null
 * @param length bytes that desc has room for; 0 for none
 * @return 0 with C2_NOT_AVAILABLE or C2_INDEX_OUT_OF_RANGE
 */
ORVEX_API boolean16 ox_get_enum_param(int16 hcam, uns32 param_id, uns32 index, int32* value,
                                      char* desc, uns32 length);

/**
 * Bytes that the display text of an entry needs, terminator included. May talk to the camera.
 * @return 0 with C2_NOT_AVAILABLE or C2_INDEX_OUT_OF_RANGE
 */
ORVEX_API boolean16 ox_enum_str_length(int16 hcam, uns32 param_id, uns32 index, uns32* length);

/**
 * Sets all post-processing features back to their defaults. Talks to a camera that has some.
 * @return 0 with C2_NOT_AVAILABLE
 */
ORVEX_API boolean16 ox_pp_reset(int16 hcam);
/** @} */

/** @name Records
 * Heap records for other calls; nothing here talks to a camera.
 * @{ */

/**
 * Makes a list of exposure or delay times, all zero.
 * @param[out] array the list, null after a failure
 * @param entries number of times
 * @return 1 also when memory ran out, which ox_error_code() tells (C2_CANNOT_ALLOCATE_MEMORY); 0
 * only for a null pointer
 */
ORVEX_API boolean16 ox_create_tidal_stream_struct(tidal_stream_type** array, uns16 entries);

/** Releases a list and clears the pointer to it; a list that is null already is fine. */
ORVEX_API boolean16 ox_release_tidal_stream_struct(tidal_stream_type** array);

/**
 * Makes a zeroed frame information record.
 * @return 0 with C2_CANNOT_ALLOCATE_MEMORY
 */
ORVEX_API boolean16 ox_create_frame_info_struct(FRAME_INFO** pNewFrame);

/** Releases a frame information record. */
ORVEX_API boolean16 ox_release_frame_info_struct(FRAME_INFO* pFrameInfo);
/** @} */

/** @name Sequences
 * A fixed number of exposures into one buffer of the application.
 * @{ */

/**
 * Sets up a sequence. Ends a running acquisition, then talks to the camera unless the set-up equals
 * the last one.
 * @param exp_total number of exposures, 1 or more
 * @param rgn_total number of regions, 1 or more
 * @param rgn_array the regions, in sensor coordinates
 * @param exp_mode an exposure mode and an expose-out mode added together
 * @param exposure_time in the unit of PARAM_EXP_RES
 * @param[out] exp_bytes bytes of the whole sequence, the size of the buffer to provide
 * @return 0 with C2_NEED_POSITIVE_VAL, C3_RGN_INVALID, C0_BINNING_INVALID, C0_EXPOSURE_OUT_OF_RANGE
 * or C32_CCL_TOO_COMPLEX
 */
ORVEX_API boolean16 ox_exp_setup_seq(int16 hcam, uns16 exp_total, uns16 rgn_total,
                                     const rgn_type* rgn_array, int16 exp_mode, uns32 exposure_time,
                                     uns32* exp_bytes);

/**
 * Starts the sequence that was set up, as often as wanted. Talks to the camera.
 * @param pixel_stream buffer of the size that the set-up told; belongs to the camera until the
 * sequence is finished or aborted
 * @return 0 with C3_INVALID_SCRIPT, C0_NO_IMG_DATA or C0_EXPOSURE_OUT_OF_RANGE
 */
ORVEX_API boolean16 ox_exp_start_seq(int16 hcam, void* pixel_stream);

/**
 * Progress of a sequence. Asks the driver, not the camera.
 * @param[out] status READOUT_NOT_ACTIVE to READOUT_COMPLETE
 * @param[out] bytes_arrived bytes in the buffer so far
 * @return 0 with C0_NO_IMG_DATA when no buffer was started, with C7_DRIVER_COM_ERROR when the
 * readout failed
 */
ORVEX_API boolean16 ox_exp_check_status(int16 hcam, int16* status, uns32* bytes_arrived);

/**
 * Ends a sequence and applies the host's post-processing to its frames. Talks to the camera if the
 * sequence still runs.
 * @param pixel_stream the buffer that was started
 * @param hbuf not used
 */
ORVEX_API boolean16 ox_exp_finish_seq(int16 hcam, void* pixel_stream, int16 hbuf);

/**
 * Stops an acquisition of either kind; harmless when none runs. Talks to the camera. After success
 * nothing is written into the buffer any more. When the camera or the driver refuses to stop, the
 * run goes on, and the next abort tries again; ox_cam_close() takes the buffer away in any case.
 * @param cam_state what becomes of the camera, CCS_NO_CHANGE to CCS_CLEAR_OPEN_SHTR
 */
ORVEX_API boolean16 ox_exp_abort(int16 hcam, int16 cam_state);
/** @} */

/** @name Continuous acquisition
 * Frames without end into a ring buffer of the application.
 * @{ */

/**
 * Sets up a continuous acquisition; arguments and errors as of ox_exp_setup_seq().
 * @param[out] exp_bytes bytes of one frame
 * @param buffer_mode CIRC_OVERWRITE, or CIRC_NO_OVERWRITE to be told of frames that were lost
 */
ORVEX_API boolean16 ox_exp_setup_cont(int16 hcam, uns16 rgn_total, const rgn_type* rgn_array,
                                      int16 exp_mode, uns32 exposure_time, uns32* exp_bytes,
                                      int16 buffer_mode);

/**
 * Starts a continuous acquisition. Talks to the camera. A run that is on is ended first; frames of
 * it that were not told of yet are dropped.
 * @param pixel_stream the ring; belongs to the camera until the run is stopped
 * @param size bytes of the ring, a multiple of a frame
 * @return 0 with C3_CIRC_NOT_ENABLED, C3_INVALID_SCRIPT or C3_ILLEGAL_BUFFER_SIZE
 */
ORVEX_API boolean16 ox_exp_start_cont(int16 hcam, void* pixel_stream, uns32 size);

/**
 * Progress of a continuous acquisition. Asks the driver, not the camera.
 * @param[out] status FRAME_AVAILABLE when there is a frame newer than those taken
 * @param[out] byte_cnt bytes from the start of the ring to the place of the next frame
 * @param[out] buffer_cnt how often the ring was filled
 * @return 0 with C3_ILLEGAL_BUFFER_SIZE
 */
ORVEX_API boolean16 ox_exp_check_cont_status(int16 hcam, int16* status, uns32* byte_cnt,
                                             uns32* buffer_cnt);

/** As ox_exp_check_cont_status(). @param[out] frame_info what is known of the newest frame */
ORVEX_API boolean16 ox_exp_check_cont_status_ex(int16 hcam, int16* status, uns32* byte_cnt,
                                                uns32* buffer_cnt, FRAME_INFO* frame_info);

/**
 * Newest frame; all older ones count as taken. Asks the driver, not the camera; copies nothing.
 * @param[out] frame address in the ring, or what a plug-in for post-processing gave; written also
 * when the call ends with C3_BUFFER_OVERRUN
 * @return 0 with C0_NO_IMG_DATA, C3_FRAME_NOT_RETURNED (none yet) or, in CIRC_NO_OVERWRITE,
 * C3_BUFFER_OVERRUN
 */
ORVEX_API boolean16 ox_exp_get_latest_frame(int16 hcam, void** frame);

/** As ox_exp_get_latest_frame(). @param[out] frame_info what is known of the newest frame */
ORVEX_API boolean16 ox_exp_get_latest_frame_ex(int16 hcam, void** frame, FRAME_INFO* frame_info);

/**
 * Oldest frame not yet taken; ox_exp_unlock_oldest_frame() takes it. Whether there is one,
 * ox_exp_check_cont_status() tells: with all frames taken this gives the place of the next one.
 * Errors as of ox_exp_get_latest_frame().
 * @param[out] frame address in the ring
 */
ORVEX_API boolean16 ox_exp_get_oldest_frame(int16 hcam, void** frame);

/** As ox_exp_get_oldest_frame(). @param[out] frame_info what is known of the newest frame, too */
ORVEX_API boolean16 ox_exp_get_oldest_frame_ex(int16 hcam, void** frame, FRAME_INFO* frame_info);

/** Counts the oldest frame as taken, untested whether there is one. Does not talk to the camera. */
ORVEX_API boolean16 ox_exp_unlock_oldest_frame(int16 hcam);

/** Stops a continuous acquisition; the same as ox_exp_abort(). Talks to the camera. */
ORVEX_API boolean16 ox_exp_stop_cont(int16 hcam, int16 cam_state);
/** @} */

/** @name I/O ports in an acquisition
 * @{ */

/**
 * Adds a port action that the next set-up puts into the camera's program. May talk to the camera.
 * @param addr port, 0 to the number of ports minus 1
 * @param state value for the port: 0 or 1 of a digital one, volts of an analogue one
 * @param location when in the life of a frame, SCR_PRE_OPEN_SHTR to SCR_POST_CLOSE_SHTR
 * @return 0 with C2_ADDR_OUT_OF_RANGE, C2_NOT_AVAILABLE or C2_CANNOT_ALLOCATE_MEMORY
 */
ORVEX_API boolean16 ox_io_script_control(int16 hcam, uns16 addr, flt64 state, uns32 location);

/** Drops all port actions. Does not talk to the camera. */
ORVEX_API boolean16 ox_io_clear_script_control(int16 hcam);
/** @} */

/** @name Frames with metadata
 * Pure work on memory: no camera, no ox_orvex_init(). The records point into the frame buffer,
 * which must outlive them and must not be written during a call.
 * @{ */

/**
 * Makes a record with room for a number of regions, to decode frames into again and again.
 * @param[out] pFrame the record
 * @param roiCount most regions of a frame
 * @return 0 with C2_CANNOT_ALLOCATE_MEMORY
 */
ORVEX_API boolean16 ox_md_create_frame_struct_cont(md_frame** pFrame, uns16 roiCount);

/**
 * Makes a record that fits a frame; decodes nothing yet.
 * @param[out] pFrame the record
 * @param pSrcBuf the frame
 * @param srcBufSize bytes of the frame
 * @return 0 with C0_BUFFER_TOO_SMALL, C0_INVALID_DATA or C2_CANNOT_ALLOCATE_MEMORY
 */
ORVEX_API boolean16 ox_md_create_frame_struct(md_frame** pFrame, void* pSrcBuf, uns32 srcBufSize);

/** Releases a record. @return 0 with C0_NULL_POINTER when it has no room for regions */
ORVEX_API boolean16 ox_md_release_frame_struct(md_frame* pFrame);

/**
 * Finds headers, regions and pixels in a frame, copying none.
 * @param[out] pDstFrame empty, with roiCount 0, after a failure in the regions
 * @param pSrcBuf the frame; the record points into it
 * @param srcBufSize bytes of the frame
 * @return 0 with C0_BUFFER_TOO_SMALL or C0_INVALID_DATA
 */
ORVEX_API boolean16 ox_md_frame_decode(md_frame* pDstFrame, void* pSrcBuf, uns32 srcBufSize);

/**
 * Paints the regions of a decoded frame into an image of 16-bit pixels; the rest of it stays.
 * @param[in,out] pDstBuf the image, dstWidth times dstHeight pixels
 * @param offX,offY place of the regions' bounding box in the image, in binned pixels
 * @param dstWidth,dstHeight size of the image in pixels
 * @param pSrcFrame the decoded frame
 * @return 0 with C0_BUFFER_TOO_SMALL or C0_INVALID_DATA
 */
ORVEX_API boolean16 ox_md_frame_recompose(void* pDstBuf, uns16 offX, uns16 offY, uns16 dstWidth,
                                          uns16 dstHeight, md_frame* pSrcFrame);

/**
 * Reads the tagged values of a frame's or region's extended metadata.
 * @param[out] pOutput the values; the record is 6 KiB large
 * @param pExtMdData the metadata, extMdData of a decoded frame or region
 * @param extMdDataSize bytes of the metadata
 * @return 0 with C2_INDEX_OUT_OF_RANGE (unknown tag) or C0_INVALID_DATA
 */
ORVEX_API boolean16 ox_md_read_extended(md_ext_item_collection* pOutput, void* pExtMdData,
                                        uns32 extMdDataSize);
/** @} */

/** @name Service
 * Raw access for tools that know the camera's protocols; all talk to the camera. Null pointers are
 * the caller's own affair here, and lengths are in bytes.
 * @{ */

/**
 * One exchange of a complete frame; answers are awaited for 15 seconds each. A running acquisition
 * goes on.
 * @param write_bytes bytes of write_array: class, length and payload
 * @param write_array the frame
 * @param read_bytes bytes of the reply; 0 for none
 * @param[out] read_array receives the reply
 * @return 0 with C7_DRIVER_COM_ERROR
 */
ORVEX_API boolean16 ox_internal_cam_write_read_passthrough(int16 hcam, uns16 write_bytes,
                                                           void* write_array, uns16 read_bytes,
                                                           void* read_array);

/**
 * One command to the bridge between host and camera.
 * @param node_id node on the bus, 0 is the interface
 * @param bridge_command code of the command, OZ_DATA_ or OZ_CAM_
 * @param send_data_length bytes of send_data
 * @param send_data data of the command
 * @param recv_data_length bytes of the reply
 * @param[out] recv_data receives the reply
 * @return 0 with C7_DRIVER_COM_ERROR, or with a status of the bridge (orvex_bridge_status), whose
 * text ox_error_message() gives until the next call
 */
ORVEX_API boolean16 ox_internal_bridge_command(int16 hcam, uns8 node_id, uns8 bridge_command,
                                               uns16 send_data_length, void* send_data,
                                               uns16 recv_data_length, void* recv_data);

/** The same as ox_internal_bridge_command(). */
ORVEX_API boolean16 oz_bridge_command(int16 hcam, uns8 node_id, uns8 bridge_command,
                                      uns16 send_data_length, void* send_data,
                                      uns16 recv_data_length, void* recv_data);
/** @} */

#ifdef __cplusplus
}
#endif

#include "orvex_legacy.h"

#endif
