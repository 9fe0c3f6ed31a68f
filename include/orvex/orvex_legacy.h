/**
 * @file orvex_legacy.h
 * Older functions of liborvex, kept so that old applications go on working; new ones use those of
 * orvex.h, which includes this file and tells the rules for results, errors and threads.
 *
 * Functions that stand for a parameter have the errors and the traffic of ox_get_param() and
 * ox_set_param(); values of enumerated parameters are 32 bits wide.
 */
#ifndef ORVEX_LEGACY_H
#define ORVEX_LEGACY_H

#include "orvex.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @name Cameras
 * @{ */

/** 1 when the handle is one of an open camera. Does not talk to the camera. */
ORVEX_API boolean16 ox_cam_check(int16 hcam);

/** As ox_cam_register_callback_ex3(), with a `void (*)(void)`. A null callback is not refused. */
ORVEX_API boolean16 ox_cam_register_callback(int16 hcam, int32 callback_event, void* callback);
/** As ox_cam_register_callback_ex3(), with a `void (*)(void* context)`. */
ORVEX_API boolean16 ox_cam_register_callback_ex(int16 hcam, int32 callback_event, void* callback,
                                                void* context);
/** As ox_cam_register_callback_ex3(), with a `void (*)(const FRAME_INFO* frame_info)`. */
ORVEX_API boolean16 ox_cam_register_callback_ex2(int16 hcam, int32 callback_event, void* callback);

/** Does nothing and succeeds. */
ORVEX_API boolean16 ox_cam_get_diags(int16 hcam);

/**
 * Identification of a board of the camera. Talks to the camera.
 * @param subsys_address number of the board, from 0
 * @param[out] subsys_id identification
 * @param[out] subsys_minor_version version
 */
ORVEX_API boolean16 ox_subsys_get_id(int16 hcam, uns8 subsys_address, uns16* subsys_id,
                                     uns8* subsys_minor_version);
/** Name of a board, from 0. Talks to the camera. @param[out] subsys_name room for 128 bytes */
ORVEX_API boolean16 ox_subsys_get_name(int16 hcam, uns8 subsys_address, char* subsys_name);
/** Self-test of a board, from 0. Talks to the camera. @param[out] err_code 0 for a healthy one */
ORVEX_API boolean16 ox_subsys_do_diag(int16 hcam, uns8 subsys_address, uns16* err_code);
/** @} */

/** @name Driver
 * These ask the driver, not the camera.
 * @{ */

/** Text about the driver. @param bytes room in text, with terminator */
ORVEX_API boolean16 ox_dd_get_info(int16 hcam, int16 bytes, char* text);
/** PARAM_DD_INFO_LENGTH, in bytes. */
ORVEX_API boolean16 ox_dd_get_info_length(int16 hcam, int16* bytes);
/** PARAM_DD_VERSION. */
ORVEX_API boolean16 ox_dd_get_ver(int16 hcam, uns16* dd_version);
/** PARAM_DD_RETRIES. */
ORVEX_API boolean16 ox_dd_get_retries(int16 hcam, uns16* max_retries);
/** PARAM_DD_RETRIES. */
ORVEX_API boolean16 ox_dd_set_retries(int16 hcam, uns16 max_retries);
/** PARAM_DD_TIMEOUT, in milliseconds. */
ORVEX_API boolean16 ox_dd_get_timeout(int16 hcam, uns16* m_sec);
/** PARAM_DD_TIMEOUT, in milliseconds. */
ORVEX_API boolean16 ox_dd_set_timeout(int16 hcam, uns16 m_sec);
/** Version of the driver module; not asked for, always 0. No camera function. */
ORVEX_API boolean16 ox_ddi_get_ver(uns16* ddi_version);
/** @} */

/** @name Sensor
 * Each stands for the parameter that it names.
 * @{ */

/** PARAM_ADC_OFFSET, in counts. */
ORVEX_API boolean16 ox_ccd_get_adc_offset(int16 hcam, int16* offset);
/** PARAM_ADC_OFFSET, in counts. */
ORVEX_API boolean16 ox_ccd_set_adc_offset(int16 hcam, int16 offset);
/** PARAM_CHIP_NAME. @param[out] chip_name room for 17 bytes */
ORVEX_API boolean16 ox_ccd_get_chip_name(int16 hcam, char* chip_name);
/** PARAM_CLEAR_CYCLES. */
ORVEX_API boolean16 ox_ccd_get_clear_cycles(int16 hcam, uns16* clear_cycles);
/** PARAM_CLEAR_CYCLES. */
ORVEX_API boolean16 ox_ccd_set_clear_cycles(int16 hcam, uns16 clear_cycles);
/** PARAM_CLEAR_MODE. */
ORVEX_API boolean16 ox_ccd_get_clear_mode(int16 hcam, int32* clear_mode);
/** PARAM_CLEAR_MODE. */
ORVEX_API boolean16 ox_ccd_set_clear_mode(int16 hcam, int32 clear_mode);
/** PARAM_COLOR_MODE. */
ORVEX_API boolean16 ox_ccd_get_color_mode(int16 hcam, int32* color_mode);
/** PARAM_COOLING_MODE. */
ORVEX_API boolean16 ox_ccd_get_cooling_mode(int16 hcam, int32* cooling);
/** PARAM_FRAME_CAPABLE. */
ORVEX_API boolean16 ox_ccd_get_frame_capable(int16 hcam, boolean16* frame_capable);
/** PARAM_FWELL_CAPACITY, in electrons. */
ORVEX_API boolean16 ox_ccd_get_fwell_capacity(int16 hcam, uns32* fwell_capacity);
/** PARAM_MPP_CAPABLE. */
ORVEX_API boolean16 ox_ccd_get_mpp_capable(int16 hcam, int32* mpp_capable);
/** PARAM_PREAMP_DELAY. */
ORVEX_API boolean16 ox_ccd_get_preamp_dly(int16 hcam, uns16* preamp_dly);
/** PARAM_PREAMP_OFF_CONTROL, in the unit of exposure times. */
ORVEX_API boolean16 ox_ccd_get_preamp_off_control(int16 hcam, uns32* preamp_off_control);
/** PARAM_PREAMP_OFF_CONTROL, in the unit of exposure times. */
ORVEX_API boolean16 ox_ccd_set_preamp_off_control(int16 hcam, uns32 preamp_off_control);
/** Ticks of light ahead of an exposure; there is no parameter to read it. */
ORVEX_API boolean16 ox_ccd_get_preflash(int16 hcam, uns16* preflash);
/** PARAM_PMODE. */
ORVEX_API boolean16 ox_ccd_get_pmode(int16 hcam, int32* pmode);
/** PARAM_PMODE. */
ORVEX_API boolean16 ox_ccd_set_pmode(int16 hcam, int32 pmode);
/** PARAM_PREMASK, in rows. */
ORVEX_API boolean16 ox_ccd_get_premask(int16 hcam, uns16* premask);
/** PARAM_PRESCAN, in columns. */
ORVEX_API boolean16 ox_ccd_get_prescan(int16 hcam, uns16* prescan);
/** PARAM_POSTMASK, in rows. */
ORVEX_API boolean16 ox_ccd_get_postmask(int16 hcam, uns16* postmask);
/** PARAM_POSTSCAN, in columns. */
ORVEX_API boolean16 ox_ccd_get_postscan(int16 hcam, uns16* postscan);
/** PARAM_PAR_SIZE, in rows. */
ORVEX_API boolean16 ox_ccd_get_par_size(int16 hcam, uns16* par_size);
/** PARAM_SER_SIZE, in columns. */
ORVEX_API boolean16 ox_ccd_get_ser_size(int16 hcam, uns16* ser_size);
/** PARAM_SERIAL_NUM. */
ORVEX_API boolean16 ox_ccd_get_serial_num(int16 hcam, uns16* serial_num);
/** State of the camera's control system, 0 to 3. Talks to the camera. */
ORVEX_API boolean16 ox_ccs_get_status(int16 hcam, int16* ccs_status);
/** PARAM_SUMMING_WELL. */
ORVEX_API boolean16 ox_ccd_get_summing_well(int16 hcam, boolean16* summing_well);
/** PARAM_TEMP, in hundredths of a degree Celsius. */
ORVEX_API boolean16 ox_ccd_get_tmp(int16 hcam, int16* cur_tmp);
/** Highest and lowest PARAM_TEMP_SETPOINT, in hundredths of a degree Celsius. */
ORVEX_API boolean16 ox_ccd_get_tmp_range(int16 hcam, int16* tmp_hi_val, int16* tmp_lo_val);
/** PARAM_TEMP_SETPOINT, in hundredths of a degree Celsius. */
ORVEX_API boolean16 ox_ccd_get_tmp_setpoint(int16 hcam, int16* tmp_setpoint);
/** PARAM_TEMP_SETPOINT, in hundredths of a degree Celsius. */
ORVEX_API boolean16 ox_ccd_set_tmp_setpoint(int16 hcam, int16 tmp_setpoint);
/** PARAM_PIX_PAR_DIST, in nanometres. */
ORVEX_API boolean16 ox_ccd_get_pix_par_dist(int16 hcam, uns16* pix_par_dist);
/** PARAM_PIX_PAR_SIZE, in nanometres. */
ORVEX_API boolean16 ox_ccd_get_pix_par_size(int16 hcam, uns16* pix_par_size);
/** PARAM_PIX_SER_DIST, in nanometres. */
ORVEX_API boolean16 ox_ccd_get_pix_ser_dist(int16 hcam, uns16* pix_ser_dist);
/** PARAM_PIX_SER_SIZE, in nanometres. */
ORVEX_API boolean16 ox_ccd_get_pix_ser_size(int16 hcam, uns16* pix_ser_size);
/** PARAM_ACCUM_CAPABLE. Does not talk to the camera. */
ORVEX_API boolean16 oz_ccd_get_accum_capable(int16 hcam, boolean16* accum_capable);
/** @} */

/** @name Speed table
 * The current row of the camera's table of readout speeds. All but ox_spdtab_get_entries() talk to
 * the camera; a camera without a table gives C2_NOT_AVAILABLE.
 * @{ */

/** Bits of a pixel. */
ORVEX_API boolean16 ox_spdtab_get_bits(int16 hcam, int16* spdtab_bits);
/** Gain of the row, from 1. */
ORVEX_API boolean16 ox_spdtab_get_gain(int16 hcam, int16* spdtab_gain);
/** Chooses a gain. @return 0 with C2_FAILED_TO_SET_VALUE when the camera keeps another */
ORVEX_API boolean16 ox_spdtab_set_gain(int16 hcam, int16 spdtab_gain);
/** Highest gain of the row. */
ORVEX_API boolean16 ox_spdtab_get_max_gain(int16 hcam, int16* spdtab_max_gain);
/** Number of the row, from 0. */
ORVEX_API boolean16 ox_spdtab_get_num(int16 hcam, int16* spdtab_num);
/** Chooses a row; the next start needs a new set-up. */
ORVEX_API boolean16 ox_spdtab_set_num(int16 hcam, int16 spdtab_num);
/** Number of rows. */
ORVEX_API boolean16 ox_spdtab_get_entries(int16 hcam, int16* spdtab_entries);
/** Readout port of the row. */
ORVEX_API boolean16 ox_spdtab_get_port(int16 hcam, int16* spdtab_port);
/** Number of readout ports. */
ORVEX_API boolean16 ox_spdtab_get_port_total(int16 hcam, int16* total_ports);
/** Nanoseconds a pixel. */
ORVEX_API boolean16 ox_spdtab_get_time(int16 hcam, uns16* spdtab_time);
/** @} */

/** @name Shutter
 * All but the open mode talk to the camera; delays are in milliseconds.
 * @{ */

/** Always leaves as a C++ exception std::system_error, as it always has. */
ORVEX_API boolean16 ox_shtr_get_close_dly(int16 hcam, uns16* shtr_close_dly);
/** Always leaves as a C++ exception std::system_error, as it always has. */
ORVEX_API boolean16 ox_shtr_set_close_dly(int16 hcam, uns16 shtr_close_dly);
/** Time that the shutter takes to open. */
ORVEX_API boolean16 ox_shtr_get_open_dly(int16 hcam, uns16* shtr_open_dly);
/** Time that the shutter takes to open. */
ORVEX_API boolean16 ox_shtr_set_open_dly(int16 hcam, uns16 shtr_open_dly);
/** PARAM_SHTR_OPEN_MODE. */
ORVEX_API boolean16 ox_shtr_get_open_mode(int16 hcam, int32* shtr_open_mode);
/** When the shutter opens; anything unknown counts as OPEN_PRE_EXPOSURE. */
ORVEX_API boolean16 ox_shtr_set_open_mode(int16 hcam, int32 shtr_open_mode);
/** SHTR_FAULT to SHTR_UNKNOWN. */
ORVEX_API boolean16 ox_shtr_get_status(int16 hcam, int16* shtr_status);
/** @} */

/** @name Acquisition
 * @{ */

/** Does nothing and succeeds. No camera function. */
ORVEX_API boolean16 ox_exp_init_seq(void);
/** Does nothing and succeeds. No camera function. */
ORVEX_API boolean16 ox_exp_uninit_seq(void);
/** Exposure time of VARIABLE_TIMED_MODE, in the unit of PARAM_EXP_RES. Talks to the camera. */
ORVEX_API boolean16 ox_exp_get_time_seq(int16 hcam, uns16* exp_time);
/** Exposure time of VARIABLE_TIMED_MODE for the next start. Does not talk to the camera. */
ORVEX_API boolean16 ox_exp_set_time_seq(int16 hcam, uns16 exp_time);
/** As ox_exp_check_status(), with READOUT_COMPLETE as soon as all frames have arrived. */
ORVEX_API boolean16 ox_exp_check_progress(int16 hcam, int16* status, uns32* bytes_arrived);
/** Stores the mode of the ring, CIRC_NONE to CIRC_NO_OVERWRITE, untested. No traffic. */
ORVEX_API boolean16 ox_exp_set_cont_mode(int16 hcam, int16 mode);
/** @return 0 with C2_NOT_AVAILABLE, always */
ORVEX_API boolean16 ox_exp_get_driver_buffer(int16 hcam, void** pixel_stream, uns32* byte_cnt);
/**
 * Copies the regions of a frame, which lie one behind the other, into an array each. No traffic.
 * @param exposure index of the wanted region, 65535 for all
 * @param pixel_stream the frame, of 16-bit pixels
 * @param rgn_total number of regions
 * @param rgn_array the regions of the set-up
 * @param array_list one array per region, where null skips it; a single one when `exposure` asks
 * for one region
 * @return 0 with C3_RGN_INVALID or C2_CANNOT_ALLOCATE_MEMORY
 */
ORVEX_API boolean16 ox_exp_unravel(int16 hcam, uns16 exposure, void* pixel_stream, uns16 rgn_total,
                                   const rgn_type* rgn_array, uns16** array_list);
/** Waits for the begin of a frame. Asks the driver. @param tlimit milliseconds */
ORVEX_API boolean16 ox_exp_wait_start_xfer(int16 hcam, uns32 tlimit);
/** Always leaves as a C++ exception std::system_error, as it always has. */
ORVEX_API boolean16 ox_exp_wait_end_xfer(int16 hcam, uns32 tlimit);
/** @} */

/** @name Buffers
 * The library has no image buffers of its own any more. These check their pointers, but for hbuf
 * of ox_buf_alloc(), and succeed without doing anything; outputs stay as they are. No camera
 * functions, no traffic.
 * @{ */
ORVEX_API boolean16 ox_buf_init(void);   /**< Does nothing. */
ORVEX_API boolean16 ox_buf_uninit(void); /**< Does nothing. */
/** Does nothing. */
ORVEX_API boolean16 ox_buf_alloc(int16* hbuf, uns16 exp_total, int16 bit_depth, uns16 rgn_total,
                                 const rgn_type* rgn_array);
/** Does nothing. */
ORVEX_API boolean16 ox_buf_get_exp_date(int16 hbuf, uns16 exp_num, uns16* year, uns8* month,
                                        uns8* day, uns8* hour, uns8* minute, uns8* second,
                                        uns16* millisecond);
/** Does nothing. */
ORVEX_API boolean16 ox_buf_set_exp_date(int16 hbuf, uns16 exp_num, uns16 year, uns8 month, uns8 day,
                                        uns8 hour, uns8 minute, uns8 second, uns16 millisecond);
/** Does nothing. */
ORVEX_API boolean16 ox_buf_get_exp_time(int16 hbuf, uns16 exp_num, uns32* exp_time);
/** Does nothing. */
ORVEX_API boolean16 ox_buf_get_exp_total(int16 hbuf, uns16* exp_total);
/** Does nothing. */
ORVEX_API boolean16 ox_buf_get_img_bin(int16 himg, uns16* sbin, uns16* pbin);
/** Does nothing. */
ORVEX_API boolean16 ox_buf_get_img_handle(int16 hbuf, uns16 exp_num, uns16 img_num, int16* himg);
/** Does nothing. */
ORVEX_API boolean16 ox_buf_get_img_ofs(int16 himg, uns16* s_ofs, uns16* p_ofs);
/** Does nothing. */
ORVEX_API boolean16 ox_buf_get_img_ptr(int16 himg, void** img_ptr);
/** Does nothing. */
ORVEX_API boolean16 ox_buf_get_img_size(int16 himg, uns16* s_size, uns16* p_size);
/** Does nothing. */
ORVEX_API boolean16 ox_buf_get_img_total(int16 hbuf, uns16* img_total);
/** Does nothing. */
ORVEX_API boolean16 ox_buf_get_size(int16 hbuf, uns32* buf_size);
ORVEX_API boolean16 ox_buf_free(int16 hbuf); /**< Does nothing. */
/** Does nothing. */
ORVEX_API boolean16 ox_buf_get_bits(int16 hbuf, int16* bit_depth);
/** @} */

/** @name Direct access
 * For tools that know the library's insides.
 * @{ */

/** Operations that fit in the camera's program memory. Talks to the camera. */
ORVEX_API boolean16 oz_cam_get_ccs_mem(int16 hcam, uns16* size);
/**
 * Sends a text to the console of the firmware. Talks to the camera.
 * @param debug_str 1 to 32700 characters
 * @param reply_len room in reply_str with terminator, at most 32768; 0 for no reply
 * @param[out] reply_str may be null when reply_len is 0
 * @return 0 with C0_SYS_ERR_SEND_BYTE, C0_SYS_ERR_READ_BYTE or C0_NULL_POINTER
 */
ORVEX_API boolean16 oz_cam_send_debug(int16 hcam, char* debug_str, uns16 reply_len,
                                      char* reply_str);
/**
 * One framed message. Stops a running acquisition and talks to the camera.
 * @param c_class class byte of the message
 * @param write_bytes bytes of write_array, 1 to 32768
 * @param write_array the payload; SEND_STAT_BUF and a length end it when a reply is wanted
 * @param[out] read_array room for the reply that the message asks for; null for none
 */
ORVEX_API boolean16 oz_cam_write_read(int16 hcam, uns8 c_class, uns16 write_bytes,
                                      void* write_array, void* read_array);
/** The same as oz_cam_write_read(). */
ORVEX_API boolean16 bv_cam_write_read(int16 hcam, uns8 c_class, uns16 write_bytes,
                                      void* write_array, void* read_array);
/** Reads everything that can be read once, unless done. Talks to the camera. */
ORVEX_API boolean16 oz_cam_do_reads(int16 hcam);
/** Stores the handle itself. No traffic. */
ORVEX_API boolean16 oz_cam_get_dev_handle(int16 hcam, int16* hdev);
/** Gives the driver a buffer of the size set before. @return 0 with C3_INVALID_SCRIPT */
ORVEX_API boolean16 oz_dd_active(int16 hcam, void* pixel_stream);
/** Bytes of the whole buffer. No traffic. */
ORVEX_API boolean16 oz_exp_get_bytes(int16 hcam, uns32* exp_bytes);
/** Sets frames and bytes of the buffer and gives it to the driver. */
ORVEX_API boolean16 oz_exp_set_bytes(int16 hcam, uns32 frame_count, uns32 seq_bytes,
                                     void* pixel_stream);
/** Frames in the buffer. No traffic. */
ORVEX_API boolean16 oz_exp_get_frames(int16 hcam, uns32* exp_frames);
/** Frames in the buffer. No traffic. @return 0 with C3_NOT_INITIALIZED */
ORVEX_API boolean16 oz_exp_set_frames(int16 hcam, uns32 exp_frames);
/** Whether the camera holds the program of the last set-up. No traffic. */
ORVEX_API boolean16 oz_exp_get_script(int16 hcam, boolean16* script_valid);
/** Declares the camera's program good or bad. No traffic. */
ORVEX_API boolean16 oz_exp_set_script(int16 hcam, boolean16 script_valid);
/** As ox_exp_check_status(). @param[out] frame_cnt number of the newest frame */
ORVEX_API boolean16 oz_exp_get_status(int16 hcam, int16* status, uns32* byte_cnt, uns32* frame_cnt);
/** Does nothing and succeeds. */
ORVEX_API boolean16 oz_exp_set_no_readout_timeout(int16 hcam);
/** Does nothing and succeeds. */
ORVEX_API boolean16 oz_exp_reset_no_readout_timeout(int16 hcam);
/**
 * Sets the hook that the next camera to be opened would take; the open clears it first. No lock.
 */
ORVEX_API boolean16 oz_script_set_hook(void* pfn);
/** @} */

/** @name Error state and heap
 * No lock, no traffic; `heap` is not used.
 * @{ */

/** Sets the error state to a code. @param omode table that the code belongs to, EXT_OPEN_ */
ORVEX_API boolean16 oz_set_error_code(int16 omode, int16 err_code);
/** Zeroed memory. @return null with C2_CANNOT_ALLOCATE_MEMORY */
ORVEX_API void* oz_malloc(uns32 size, uns16 heap);
/** Zeroed memory for nitems of size bytes. @return null with C2_CANNOT_ALLOCATE_MEMORY */
ORVEX_API void* oz_calloc(uns32 nitems, uns32 size, uns16 heap);
/**
 * Another size for a block of oz_malloc(); what is added has no defined content.
 * @return null with C2_CANNOT_ALLOCATE_MEMORY (the block stays) or C0_NULL_POINTER (no block)
 */
ORVEX_API void* oz_realloc(void* block, uns32 size, uns16 heap);
/** Frees a block. @return 0 with C0_NULL_POINTER when there is none */
ORVEX_API boolean16 oz_free(void* block, uns16 heap);
/** @} */

#ifdef __cplusplus
}
#endif

#endif
