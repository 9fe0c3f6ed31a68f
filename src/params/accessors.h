#pragma once

#include "orvex/orvex_protocol.h"
#include "orvex/orvex_types.h"

#include "state/camera_tables.h"

// Direct access to the values behind the parameters. All are traced and return 1 or 0.

// Reads of one value, X(function, type of the value, log word, host command). One exchange with
// the camera each; the reply has the size of the type.
#define BV_SINGLE_READS(X)                                                          \
    X(bv_ccd_get_tmp, int16, cur_tmp, CUR_CCD_TEMP)                                 \
    X(bv_ccd_get_tmp_setpoint, int16, tmp_setpoint, CCD_TEMP_SET)                   \
    X(bv_ccd_get_adc_offset, int16, offset, GET_OFFSET)                             \
    X(bv_ccd_get_gain_mult_factor, uns16, factor, GET_GAIN_MULT_FACTOR)             \
    X(bv_ccd_get_max_gain_mult_factor, uns16, max_factor, GET_MAX_GAIN_MULT_FACTOR) \
    X(bv_ccd_get_readout_port, uns16, port, GET_OUTPUT_PORT)                        \
    X(bv_ccd_get_readout_time, uns32, readout_time, GET_IMAGE_SENSOR_READOUT_TIME)  \
    X(bv_ccd_get_clearing_time, int64, clearing_time, GET_CLEARING_TIME)            \
    X(bv_ccd_get_pre_trigger_delay, int64, delay, GET_PRE_TRIGGER_DELAY)            \
    X(bv_ccd_get_post_trigger_delay, int64, delay, GET_POST_TRIGGER_DELAY)          \
    X(bv_ccd_get_exposure_time, uns64, exposure_time, GET_EXPOSURE_TIME)            \
    X(bv_ccd_get_post_abort_delay, int64, delay, GET_POST_ABORT_DELAY)              \
    X(bv_ccd_get_sensor_color_mask_type, uns8, mask_type, GET_SENSOR_MASK_TYPE)     \
    X(bv_ccd_get_fan_speed_setpoint, uns16, value, GET_FAN_SPEED_SETPOINT)          \
    X(bv_ccd_get_roi_count_max, uns16, count, GET_ROI_COUNT_MAX)                    \
    X(bv_ccd_get_centroids_radius, uns16, radius, GET_CENTROIDS_RADIUS)             \
    X(bv_ccd_get_centroids_count, uns16, count, GET_CENTROIDS_COUNT)                \
    X(bv_ccd_get_centroids_mode, uns16, mode, GET_CENTROIDS_MODE_CURRENT)           \
    X(bv_ccd_get_centroids_bg_count, uns16, count, GET_CENTROIDS_BG_COUNT_CURRENT)  \
    X(bv_ccd_get_centroids_threshold, uns32, threshold, GET_CENTROIDS_THRESHOLD)    \
    X(bv_ccd_get_frame_delivery_mode, uns16, mode, GET_FRAME_DELIVERY_MODE_CURRENT) \
    X(bv_ccd_get_actual_gain, uns16, gain, GET_ACTUAL_GAIN)                         \
    X(bv_ccd_get_read_noise, uns16, noise, GET_READ_NOISE)                          \
    X(bv_shtr_get_close_dly, uns16, shtr_close_dly, SH_CLOSE_DELAY)                 \
    X(bv_shtr_get_open_dly, uns16, shtr_open_dly, SH_OPEN_DELAY)                    \
    X(bv_io_get_trigtab_signal, uns16, value, GET_TRIGTAB_SIGNAL)                   \
    X(bv_io_get_last_muxed_signal_max, uns8, value, GET_LAST_MUXED_SIGNAL_MAX)      \
    X(bv_io_get_last_muxed_signal, uns8, value, GET_LAST_MUXED_SIGNAL)              \
    X(bv_cam_pp_get_num, uns16, pp_index, GET_PP_FEATURE_IDX)                       \
    X(bv_get_cam_pp_param_idx_current, uns16, param_index, GET_PP_PARAM_IDX)        \
    X(bv_get_cam_pp_param_min, uns32, param, GET_PP_PARAM_MIN)                      \
    X(bv_get_cam_pp_param_max, uns32, param, GET_PP_PARAM_MAX)                      \
    X(bv_get_cam_pp_param_default, uns32, param, GET_PP_PARAM_DEFAULT)              \
    X(bv_get_cam_pp_feat_id_current, uns32, feat_id, GET_PP_FEATURE_ID)             \
    X(bv_get_cam_pp_param_id_current, uns32, param_id, GET_PP_PARAM_ID)             \
    X(bv_get_tidal_stream_mode_id_current, uns16, mode, GET_TIDAL_STREAM_MODE)      \
    X(bv_get_tidal_stream_enabled_state, uns16, enabled, GET_TIDAL_STREAM_ENABLED)  \
    X(bv_get_tidal_stream_exp_count, uns16, count, GET_TIDAL_STREAM_EXP_COUNT)      \
    X(bv_get_tidal_stream_dly_count, uns16, count, GET_TIDAL_STREAM_DLY_COUNT)      \
    X(bv_get_tidal_stream_exp_mode_params_max, uns16, count, GET_TIDAL_STREAM_MAX_EXP_COUNT)

#define BV_DECLARE_SINGLE_READ(name, type, word, command) boolean16 name(int16 hcam, type* word);
BV_SINGLE_READS(BV_DECLARE_SINGLE_READ)
#undef BV_DECLARE_SINGLE_READ

// As above, with what the camera sends turned into 0 or 1.
#define BV_FLAG_READS(X)                                                      \
    X(bv_ccd_get_sensor_correction_state, state, GET_SENSOR_CORRECTION_STATE) \
    X(bv_ccd_get_metadata_enabled, enabled, GET_METADATA_ENABLED)             \
    X(bv_ccd_get_centroids_enabled, enabled, GET_CENTROIDS_ENABLED)

#define BV_DECLARE_FLAG_READ(name, word, command) boolean16 name(int16 hcam, boolean16* word);
BV_FLAG_READS(BV_DECLARE_FLAG_READ)
#undef BV_DECLARE_FLAG_READ

// As above, for texts; `word` has room for 32 bytes.
#define BV_TEXT_READS(X)                                                             \
    X(bv_ccd_get_head_ser_num_alpha, head_ser_num_alpha, ALPHA_SER_NUM)              \
    X(bv_cam_get_firmware_full_version_alpha, fw_full_version, FULL_FIRMWARE_NUMBER) \
    X(bv_cam_get_firmware_version_alpha, fw_version, FULL_FIRMWARE_NUMBER)           \
    X(bv_get_cam_pp_feat_name, name, GET_PP_FEATURE_NAME)                            \
    X(bv_get_cam_pp_param_name, name, GET_PP_PARAM_NAME)

#define BV_DECLARE_TEXT_READ(name, word, command) boolean16 name(int16 hcam, char* word);
BV_TEXT_READS(BV_DECLARE_TEXT_READ)
#undef BV_DECLARE_TEXT_READ

// Pairs in one reply: bytes of a frame's and of a region's extended metadata, and ranges.
boolean16 bv_ccd_get_ext_metadata_size(int16 hcam, uns16* frame_size, uns16* roi_size);
boolean16 bv_ccd_get_centroids_radius_range(int16 hcam, uns16* min, uns16* max);
boolean16 bv_ccd_get_centroids_count_range(int16 hcam, uns16* min, uns16* max);

// From what the camera told when it was opened.
boolean16 bv_ccd_get_accum_capable(int16 hcam, boolean16* accum_capable);

// Setters that write and read back in one exchange. A camera that answers another value fails the
// call with C2_FAILED_TO_SET_VALUE.
boolean16 bv_ccd_set_adc_offset(int16 hcam, int16 offset);
boolean16 bv_ccd_set_tmp_setpoint(int16 hcam, int16 tmp_setpoint);
boolean16 bv_ccd_set_gain_mult_factor(int16 hcam, uns16 factor);
boolean16 bv_ccd_set_sensor_correction_state(int16 hcam, boolean16 state);
boolean16 bv_ccd_set_fan_speed_setpoint(int16 hcam, int32 value);
boolean16 bv_ccd_set_metadata_enabled(int16 hcam, boolean16 enabled);
boolean16 bv_ccd_set_centroids_enabled(int16 hcam, boolean16 enabled);
boolean16 bv_ccd_set_centroids_radius(int16 hcam, uns16 radius);
boolean16 bv_ccd_set_centroids_count(int16 hcam, uns16 count);
boolean16 bv_ccd_set_centroids_mode(int16 hcam, int32 mode);
boolean16 bv_ccd_set_centroids_bg_count(int16 hcam, int32 count);
boolean16 bv_ccd_set_centroids_threshold(int16 hcam, uns32 threshold);
boolean16 bv_ccd_set_frame_delivery_mode(int16 hcam, int32 mode);
boolean16 bv_shtr_set_close_dly(int16 hcam, uns16 shtr_close_dly);
boolean16 bv_shtr_set_open_dly(int16 hcam, uns16 shtr_open_dly);
// Also renews the pixel time and the sensor sizes, which belong to the port.
boolean16 bv_ccd_set_readout_port(int16 hcam, uns16 port);

// Choices that are kept here for the next setup; the camera isn't spoken to.
boolean16 bv_ccd_set_clear_cycles(int16 hcam, uns16 clear_cycles);
boolean16 bv_ccd_set_clear_mode(int16 hcam, int32 clear_mode);
boolean16 bv_ccd_set_pmode(int16 hcam, int16 pmode);
boolean16 bv_ccd_set_preamp_off_control(int16 hcam, uns32 preamp_off_control);
boolean16 bv_ccd_set_premask(int16 hcam, uns16 premask);
boolean16 bv_ccd_set_prescan(int16 hcam, uns16 prescan);
boolean16 bv_ccd_set_postmask(int16 hcam, uns16 postmask);
boolean16 bv_ccd_set_postscan(int16 hcam, uns16 postscan);
boolean16 bv_ccd_set_par_size(int16 hcam, uns16 par_size);
boolean16 bv_ccd_set_ser_size(int16 hcam, uns16 ser_size);
boolean16 bv_shtr_set_open_mode(int16 hcam, int32 shtr_open_mode);
boolean16 bv_set_exp_res_index(int16 hcam, uns32 exp_res_index);

// From the camera's status table.
boolean16 bv_shtr_get_status(int16 hcam, int16* shtr_status);
boolean16 bv_ccs_get_status(int16 hcam, int16* ccs_status);

// Text about the driver, `bytes` at most with terminator.
boolean16 bv_dd_get_info(int16 hcam, int16 bytes, char* text);
