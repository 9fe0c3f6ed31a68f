/**
 * @file orvex_params.h
 * Parameter ids, for C99 and C++.
 *
 * An id says what its value looks like: bits 31 to 24 are the TYPE_ code, bits 23 to 16 the class
 * (0 driver, 2 camera setting, 3 acquisition, 93 frame accumulation), bits 15 to 0 a number.
 */
#ifndef ORVEX_PARAMS_H
#define ORVEX_PARAMS_H

/* Lists end with a comma, which the oldest dialects take with a warning. */
#if defined(__GNUC__) && defined(__cplusplus) && __cplusplus < 201103L
#pragma GCC system_header
#endif

/**
 * All parameters in order of their ids, as X(name, id). What "asks" costs an exchange with the
 * camera, which ends a running acquisition; what asks the driver alone does not.
 */
#define ORVEX_PARAMS(X)                                                                            \
    X(PARAM_DD_INFO_LENGTH, 0x01000001)            /* bytes of PARAM_DD_INFO */                    \
    X(PARAM_ADC_OFFSET, 0x010200C3)                /* bias added to each pixel, counts; asks */    \
    X(PARAM_CCS_STATUS, 0x010201FE)                /* state of the control system, 0 to 3; asks */ \
    X(PARAM_BIT_DEPTH, 0x010201FF)                 /* bits of a pixel at this speed; asks */       \
    X(PARAM_GAIN_INDEX, 0x01020200)                /* gain at this speed, from 1; asks */          \
    X(PARAM_SPDTAB_INDEX, 0x01020201)              /* row of the speed table, from 0; asks */      \
    X(PARAM_TEMP, 0x0102020D)                      /* of the sensor, 1/100 degree Celsius; asks */ \
    X(PARAM_TEMP_SETPOINT, 0x0102020E)             /* 1/100 degree Celsius; asks */                \
    X(PARAM_PP_INDEX, 0x0102021F)                  /* post-processing feature selected; asks */    \
    X(PARAM_PP_PARAM_INDEX, 0x01020221)            /* parameter of the feature selected; asks */   \
    X(PARAM_CURRENT_OZTIME, 0x010300A7)            /* low 16 bits of its clock; asks the driver */ \
    X(PARAM_READOUT_TIME, 0x040200B3)              /* of a frame, microseconds; asks */            \
    X(PARAM_IO_STATE, 0x04020212)                  /* value of the port selected; asks */          \
    X(PARAM_EXP_MIN_TIME, 0x04030003)              /* shortest exposure */                         \
    X(PARAM_LAST_MUXED_SIGNAL, 0x050300B5)         /* outputs that take turns; asks */             \
    X(PARAM_DD_VERSION, 0x06000002)                /* version of the driver; asks it */            \
    X(PARAM_DD_RETRIES, 0x06000003)                /* repeats of the driver; asks it */            \
    X(PARAM_DD_TIMEOUT, 0x06000004)                /* of the driver, milliseconds; asks it */      \
    X(PARAM_PREMASK, 0x06020035)                   /* masked rows in front of the image */         \
    X(PARAM_POSTMASK, 0x06020036)                  /* masked rows behind the image */              \
    X(PARAM_PRESCAN, 0x06020037)                   /* columns in front of the image */             \
    X(PARAM_POSTSCAN, 0x06020038)                  /* columns behind the image */                  \
    X(PARAM_PAR_SIZE, 0x06020039)                  /* rows of the sensor */                        \
    X(PARAM_SER_SIZE, 0x0602003A)                  /* columns of the sensor */                     \
    X(PARAM_PIX_SER_SIZE, 0x0602003E)              /* width of a pixel, nanometres */              \
    X(PARAM_PIX_PAR_SIZE, 0x0602003F)              /* height of a pixel, nanometres */             \
    X(PARAM_CLEAR_CYCLES, 0x06020061)              /* how often a clear is done */                 \
    X(PARAM_PIX_PAR_DIST, 0x060201F4)              /* from row to row, nanometres */               \
    X(PARAM_PIX_SER_DIST, 0x060201F5)              /* from column to column, nanometres */         \
    X(PARAM_PREAMP_DELAY, 0x060201F6)              /* of the preamplifier, milliseconds */         \
    X(PARAM_SERIAL_NUM, 0x060201FC)                /* serial number */                             \
    X(PARAM_PIX_TIME, 0x06020204)                  /* time of a pixel, nanoseconds; asks */        \
    X(PARAM_SHTR_CLOSE_DELAY, 0x06020207)          /* milliseconds; asks */                        \
    X(PARAM_SHTR_OPEN_DELAY, 0x06020208)           /* milliseconds; asks */                        \
    X(PARAM_IO_ADDR, 0x0602020F)                   /* I/O port selected */                         \
    X(PARAM_IO_BITDEPTH, 0x06020213)               /* bits of the port selected; asks */           \
    X(PARAM_CAM_FW_VERSION, 0x06020214)            /* firmware, major version in the high byte */  \
    X(PARAM_PCI_FW_VERSION, 0x06020216)            /* of the interface board; asks the driver */   \
    X(PARAM_GAIN_MULT_FACTOR, 0x06020219)          /* multiplication gain; asks */                 \
    X(PARAM_ACTUAL_GAIN, 0x06020220)               /* 1/100 electron a count; asks */              \
    X(PARAM_READ_NOISE, 0x06020224)                /* 1/100 electron; asks */                      \
    X(PARAM_PP_FEAT_ID, 0x06020225)                /* id of the feature, 32 bits; asks */          \
    X(PARAM_PP_PARAM_ID, 0x06020226)               /* id of the parameter, 32 bits; asks */        \
    X(PARAM_TIDAL_STREAM_MODE, 0x060202BD)         /* how lists of exposures are used; asks */     \
    X(PARAM_EXP_TIME, 0x06030001)                  /* of VARIABLE_TIMED_MODE; asks */              \
    X(PARAM_EXP_RES_INDEX, 0x06030004)             /* PARAM_EXP_RES as an index */                 \
    X(PARAM_ROI_COUNT, 0x060300A9)                 /* regions set up; ATTR_MAX: possible, asks */  \
    X(PARAM_CENTROIDS_RADIUS, 0x060300AB)          /* of a spot, pixels; asks */                   \
    X(PARAM_CENTROIDS_COUNT, 0x060300AC)           /* spots a frame; asks */                       \
    X(PARAM_ACCUM_FLAG, 0x065D0001)                /* accumulation, 16 bits: see plugins.md */     \
    X(PARAM_PAIRED_FLAG, 0x065D0002)               /* pairing, 16 bits: see plugins.md */          \
    X(PARAM_FWELL_CAPACITY, 0x070201FA)            /* full well, electrons */                      \
    X(PARAM_PREAMP_OFF_CONTROL, 0x070201FB)        /* off in exposures longer than this */         \
    X(PARAM_PP_PARAM, 0x07020223)                  /* value of the parameter selected; asks */     \
    X(PARAM_BOF_EOF_COUNT, 0x07030006)             /* frame interrupts; asks the driver */         \
    X(PARAM_CENTROIDS_THRESHOLD, 0x070300AF)       /* brightness of a spot, 16 to 4095; asks */    \
    X(PARAM_ACCUM_NUMBER, 0x075D0003)              /* frames to accumulate: see plugins.md */      \
    X(PARAM_EXPOSURE_TIME, 0x08030008)             /* last set-up's, in PARAM_EXP_RES; asks */     \
    X(PARAM_FRAME_BUFFER_SIZE, 0x0803012C)         /* bytes of the buffer of the set-up */         \
    X(PARAM_CAM_INTERFACE_TYPE, 0x0900000A)        /* an OX_CAM_IFC_TYPE_ value; asks */           \
    X(PARAM_CAM_INTERFACE_MODE, 0x0900000B)        /* an OX_CAM_IFC_MODE_ value; asks */           \
    X(PARAM_COOLING_MODE, 0x090200D6)              /* an orvex_cooling */                          \
    X(PARAM_MPP_CAPABLE, 0x090200E0)               /* an orvex_mpp_capable */                      \
    X(PARAM_READOUT_PORT, 0x090200F7)              /* port of the readout; asks */                 \
    X(PARAM_COLOR_MODE, 0x090201F8)                /* an orvex_color_mode; may ask */              \
    X(PARAM_SHTR_OPEN_MODE, 0x09020209)            /* an orvex_shutter_open_mode */                \
    X(PARAM_SHTR_STATUS, 0x0902020A)               /* an orvex_shutter_state; asks */              \
    X(PARAM_CLEAR_MODE, 0x0902020B)                /* an orvex_clear_mode */                       \
    X(PARAM_PMODE, 0x0902020C)                     /* an orvex_pmode */                            \
    X(PARAM_IO_TYPE, 0x09020210)                   /* of the port selected; asks */                \
    X(PARAM_IO_DIRECTION, 0x09020211)              /* of the port selected; asks */                \
    X(PARAM_EXPOSURE_MODE, 0x09020217)             /* modes of a set-up; current: the last */      \
    X(PARAM_EXPOSE_OUT_MODE, 0x09020230)           /* expose-out modes; current: the last */       \
    X(PARAM_FAN_SPEED_SETPOINT, 0x090202C6)        /* an orvex_fan_speed; asks */                  \
    X(PARAM_EXP_RES, 0x09030002)                   /* unit of exposure times */                    \
    X(PARAM_BOF_EOF_ENABLE, 0x09030005)            /* interrupts counted, orvex_frame_irqs */      \
    X(PARAM_BINNING_SER, 0x090300A5)               /* serial binnings the camera offers */         \
    X(PARAM_BINNING_PAR, 0x090300A6)               /* parallel binnings the camera offers */       \
    X(PARAM_CENTROIDS_MODE, 0x090300AD)            /* an orvex_centroids_mode; asks */             \
    X(PARAM_CENTROIDS_BG_COUNT, 0x090300AE)        /* frames of the background; asks */            \
    X(PARAM_TRIGTAB_SIGNAL, 0x090300B4)            /* signal that the table is about; asks */      \
    X(PARAM_FRAME_DELIVERY_MODE, 0x09030190)       /* an orvex_frame_delivery_mode; asks */        \
    X(PARAM_SUMMING_WELL, 0x0B0201F9)              /* whether the sensor has one */                \
    X(PARAM_FRAME_CAPABLE, 0x0B0201FD)             /* whether it can shift whole frames */         \
    X(PARAM_ACCUM_CAPABLE, 0x0B02021A)             /* whether accumulation can be had */           \
    X(PARAM_FLASH_DWNLD_CAPABLE, 0x0B02021B)       /* whether firmware can be replaced */          \
    X(PARAM_GAIN_MULT_ENABLE, 0x0B02021D)          /* 1 with multiplication gain */                \
    X(PARAM_TIDAL_STREAM_MODE_ENABLED, 0x0B0202BC) /* lists of exposures in use; asks */           \
    X(PARAM_SENSOR_CORRECTION_STATE, 0x0B0202C0)   /* correction in the camera; asks */            \
    X(PARAM_BOF_EOF_CLR, 0x0B030007)               /* writing clears PARAM_BOF_EOF_COUNT */        \
    X(PARAM_METADATA_ENABLED, 0x0B0300A8)          /* frames carry metadata; asks */               \
    X(PARAM_CENTROIDS_ENABLED, 0x0B0300AA)         /* needs metadata; asks */                      \
    X(PARAM_CIRC_BUFFER, 0x0B03012B)               /* 1, continuous runs are possible */           \
    X(PARAM_DD_INFO, 0x0D000005)                   /* about the driver; asks it */                 \
    X(PARAM_CHIP_NAME, 0x0D020081)                 /* name of the sensor */                        \
    X(PARAM_SYSTEM_NAME, 0x0D020082)               /* name of the system */                        \
    X(PARAM_VENDOR_NAME, 0x0D020083)               /* name of the maker */                         \
    X(PARAM_PRODUCT_NAME, 0x0D020084)              /* name of the product */                       \
    X(PARAM_CAMERA_PART_NUMBER, 0x0D020085)        /* part number */                               \
    X(PARAM_GAIN_NAME, 0x0D020202)                 /* name of the gain; asks */                    \
    X(PARAM_HEAD_SER_NUM_ALPHA, 0x0D020215)        /* serial number as a text */                   \
    X(PARAM_CAM_FW_FULL_VERSION, 0x0D020216)       /* version of the firmware as a text */         \
    X(PARAM_CAM_SYSTEMS_INFO, 0x0D020218)          /* about the boards; asks once */               \
    X(PARAM_PP_FEAT_NAME, 0x0D02021E)              /* name of the feature; asks */                 \
    X(PARAM_PP_PARAM_NAME, 0x0D020222)             /* name of the parameter; asks */               \
    X(PARAM_TIDAL_STREAM_EXP_PARAMS, 0x0E0202BE)   /* exposures, tidal_stream_type; asks */        \
    X(PARAM_TIDAL_STREAM_DLY_PARAMS, 0x0E0202BF)   /* delays; closed, no camera has them yet */    \
    X(PARAM_CLEARING_TIME, 0x100200B4)             /* nanoseconds; after a set-up; asks */         \
    X(PARAM_POST_TRIGGER_DELAY, 0x100200B5)        /* nanoseconds; after a set-up; asks */         \
    X(PARAM_PRE_TRIGGER_DELAY, 0x100200B6)         /* nanoseconds; after a set-up; asks */

/** Makes one enumerator of a list row. */
#define ORVEX_PARAM_CONSTANT(name, id) name = id,
enum orvex_param { ORVEX_PARAMS(ORVEX_PARAM_CONSTANT) };

#endif
