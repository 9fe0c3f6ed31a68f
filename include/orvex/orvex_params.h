/**
 * @file orvex_params.h
 * Parameter ids, for C99 and C++.
 *
 * An id says what its value looks like: bits 31 to 24 are the TYPE_ code, bits 23 to 16 the class
 * (0 driver, 2 camera setting, 3 acquisition, 93 frame accumulation), bits 15 to 0 a number.
 */
#ifndef ORVEX_PARAMS_H
#define ORVEX_PARAMS_H

/** All parameters in order of their ids, as X(name, id). */
#define ORVEX_PARAMS(X)                            \
    X(PARAM_DD_INFO_LENGTH, 0x01000001)            \
    X(PARAM_ADC_OFFSET, 0x010200C3)                \
    X(PARAM_CCS_STATUS, 0x010201FE)                \
    X(PARAM_BIT_DEPTH, 0x010201FF)                 \
    X(PARAM_GAIN_INDEX, 0x01020200)                \
    X(PARAM_SPDTAB_INDEX, 0x01020201)              \
    X(PARAM_TEMP, 0x0102020D)                      \
    X(PARAM_TEMP_SETPOINT, 0x0102020E)             \
    X(PARAM_PP_INDEX, 0x0102021F)                  \
    X(PARAM_PP_PARAM_INDEX, 0x01020221)            \
    X(PARAM_CURRENT_OZTIME, 0x010300A7)            \
    X(PARAM_READOUT_TIME, 0x040200B3)              \
    X(PARAM_IO_STATE, 0x04020212)                  \
    X(PARAM_EXP_MIN_TIME, 0x04030003)              \
    X(PARAM_LAST_MUXED_SIGNAL, 0x050300B5)         \
    X(PARAM_DD_VERSION, 0x06000002)                \
    X(PARAM_DD_RETRIES, 0x06000003)                \
    X(PARAM_DD_TIMEOUT, 0x06000004)                \
    X(PARAM_PREMASK, 0x06020035)                   \
    X(PARAM_POSTMASK, 0x06020036)                  \
    X(PARAM_PRESCAN, 0x06020037)                   \
    X(PARAM_POSTSCAN, 0x06020038)                  \
    X(PARAM_PAR_SIZE, 0x06020039)                  \
    X(PARAM_SER_SIZE, 0x0602003A)                  \
    X(PARAM_PIX_SER_SIZE, 0x0602003E)              \
    X(PARAM_PIX_PAR_SIZE, 0x0602003F)              \
    X(PARAM_CLEAR_CYCLES, 0x06020061)              \
    X(PARAM_PIX_PAR_DIST, 0x060201F4)              \
    X(PARAM_PIX_SER_DIST, 0x060201F5)              \
    X(PARAM_PREAMP_DELAY, 0x060201F6)              \
    X(PARAM_SERIAL_NUM, 0x060201FC)                \
    X(PARAM_PIX_TIME, 0x06020204)                  \
    X(PARAM_SHTR_CLOSE_DELAY, 0x06020207)          \
    X(PARAM_SHTR_OPEN_DELAY, 0x06020208)           \
    X(PARAM_IO_ADDR, 0x0602020F)                   \
    X(PARAM_IO_BITDEPTH, 0x06020213)               \
    X(PARAM_CAM_FW_VERSION, 0x06020214)            \
    X(PARAM_PCI_FW_VERSION, 0x06020216)            \
    X(PARAM_GAIN_MULT_FACTOR, 0x06020219)          \
    X(PARAM_ACTUAL_GAIN, 0x06020220)               \
    X(PARAM_READ_NOISE, 0x06020224)                \
    X(PARAM_PP_FEAT_ID, 0x06020225)                \
    X(PARAM_PP_PARAM_ID, 0x06020226)               \
    X(PARAM_TIDAL_STREAM_MODE, 0x060202BD)         \
    X(PARAM_EXP_TIME, 0x06030001)                  \
    X(PARAM_EXP_RES_INDEX, 0x06030004)             \
    X(PARAM_ROI_COUNT, 0x060300A9)                 \
    X(PARAM_CENTROIDS_RADIUS, 0x060300AB)          \
    X(PARAM_CENTROIDS_COUNT, 0x060300AC)           \
    X(PARAM_ACCUM_FLAG, 0x065D0001)                \
    X(PARAM_PAIRED_FLAG, 0x065D0002)               \
    X(PARAM_FWELL_CAPACITY, 0x070201FA)            \
    X(PARAM_PREAMP_OFF_CONTROL, 0x070201FB)        \
    X(PARAM_PP_PARAM, 0x07020223)                  \
    X(PARAM_BOF_EOF_COUNT, 0x07030006)             \
    X(PARAM_CENTROIDS_THRESHOLD, 0x070300AF)       \
    X(PARAM_ACCUM_NUMBER, 0x075D0003)              \
    X(PARAM_EXPOSURE_TIME, 0x08030008)             \
    X(PARAM_FRAME_BUFFER_SIZE, 0x0803012C)         \
    X(PARAM_CAM_INTERFACE_TYPE, 0x0900000A)        \
    X(PARAM_CAM_INTERFACE_MODE, 0x0900000B)        \
    X(PARAM_COOLING_MODE, 0x090200D6)              \
    X(PARAM_MPP_CAPABLE, 0x090200E0)               \
    X(PARAM_READOUT_PORT, 0x090200F7)              \
    X(PARAM_COLOR_MODE, 0x090201F8)                \
    X(PARAM_SHTR_OPEN_MODE, 0x09020209)            \
    X(PARAM_SHTR_STATUS, 0x0902020A)               \
    X(PARAM_CLEAR_MODE, 0x0902020B)                \
    X(PARAM_PMODE, 0x0902020C)                     \
    X(PARAM_IO_TYPE, 0x09020210)                   \
    X(PARAM_IO_DIRECTION, 0x09020211)              \
    X(PARAM_EXPOSURE_MODE, 0x09020217)             \
    X(PARAM_EXPOSE_OUT_MODE, 0x09020230)           \
    X(PARAM_FAN_SPEED_SETPOINT, 0x090202C6)        \
    X(PARAM_EXP_RES, 0x09030002)                   \
    X(PARAM_BOF_EOF_ENABLE, 0x09030005)            \
    X(PARAM_BINNING_SER, 0x090300A5)               \
    X(PARAM_BINNING_PAR, 0x090300A6)               \
    X(PARAM_CENTROIDS_MODE, 0x090300AD)            \
    X(PARAM_CENTROIDS_BG_COUNT, 0x090300AE)        \
    X(PARAM_TRIGTAB_SIGNAL, 0x090300B4)            \
    X(PARAM_FRAME_DELIVERY_MODE, 0x09030190)       \
    X(PARAM_SUMMING_WELL, 0x0B0201F9)              \
    X(PARAM_FRAME_CAPABLE, 0x0B0201FD)             \
    X(PARAM_ACCUM_CAPABLE, 0x0B02021A)             \
    X(PARAM_FLASH_DWNLD_CAPABLE, 0x0B02021B)       \
    X(PARAM_GAIN_MULT_ENABLE, 0x0B02021D)          \
    X(PARAM_TIDAL_STREAM_MODE_ENABLED, 0x0B0202BC) \
    X(PARAM_SENSOR_CORRECTION_STATE, 0x0B0202C0)   \
    X(PARAM_BOF_EOF_CLR, 0x0B030007)               \
    X(PARAM_METADATA_ENABLED, 0x0B0300A8)          \
    X(PARAM_CENTROIDS_ENABLED, 0x0B0300AA)         \
    X(PARAM_CIRC_BUFFER, 0x0B03012B)               \
    X(PARAM_DD_INFO, 0x0D000005)                   \
    X(PARAM_CHIP_NAME, 0x0D020081)                 \
    X(PARAM_SYSTEM_NAME, 0x0D020082)               \
    X(PARAM_VENDOR_NAME, 0x0D020083)               \
    X(PARAM_PRODUCT_NAME, 0x0D020084)              \
    X(PARAM_CAMERA_PART_NUMBER, 0x0D020085)        \
    X(PARAM_GAIN_NAME, 0x0D020202)                 \
    X(PARAM_HEAD_SER_NUM_ALPHA, 0x0D020215)        \
    X(PARAM_CAM_FW_FULL_VERSION, 0x0D020216)       \
    X(PARAM_CAM_SYSTEMS_INFO, 0x0D020218)          \
    X(PARAM_PP_FEAT_NAME, 0x0D02021E)              \
    X(PARAM_PP_PARAM_NAME, 0x0D020222)             \
    X(PARAM_TIDAL_STREAM_EXP_PARAMS, 0x0E0202BE)   \
    X(PARAM_TIDAL_STREAM_DLY_PARAMS, 0x0E0202BF)   \
    X(PARAM_CLEARING_TIME, 0x100200B4)             \
    X(PARAM_POST_TRIGGER_DELAY, 0x100200B5)        \
    X(PARAM_PRE_TRIGGER_DELAY, 0x100200B6)

#define ORVEX_PARAM_CONSTANT(name, id) name = id,
enum orvex_param { ORVEX_PARAMS(ORVEX_PARAM_CONSTANT) };

#endif
