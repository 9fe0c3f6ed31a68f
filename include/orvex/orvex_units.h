/**
 * @file orvex_units.h
 * Units of parameters, for C99 and C++.
 */
#ifndef ORVEX_UNITS_H
#define ORVEX_UNITS_H

/**
 * Parameters whose numbers always count the same, as X(name, steps, unit). Values are whole steps
 * of a part of the unit: 100 for hundredths.
 */
#define ORVEX_UNITS(X)                        \
    X(PARAM_ADC_OFFSET, 1, "counts")          \
    X(PARAM_BIT_DEPTH, 1, "bits")             \
    X(PARAM_TEMP, 100, "C")                   \
    X(PARAM_TEMP_SETPOINT, 100, "C")          \
    X(PARAM_READOUT_TIME, 1, "us")            \
    X(PARAM_DD_TIMEOUT, 1, "ms")              \
    X(PARAM_PREMASK, 1, "rows")               \
    X(PARAM_POSTMASK, 1, "rows")              \
    X(PARAM_PRESCAN, 1, "columns")            \
    X(PARAM_POSTSCAN, 1, "columns")           \
    X(PARAM_PIX_SER_SIZE, 1, "nm")            \
    X(PARAM_PIX_PAR_SIZE, 1, "nm")            \
    X(PARAM_PIX_PAR_DIST, 1, "nm")            \
    X(PARAM_PIX_SER_DIST, 1, "nm")            \
    X(PARAM_PREAMP_DELAY, 1, "ms")            \
    X(PARAM_PIX_TIME, 1, "ns")                \
    X(PARAM_SHTR_CLOSE_DELAY, 1, "ms")        \
    X(PARAM_SHTR_OPEN_DELAY, 1, "ms")         \
    X(PARAM_IO_BITDEPTH, 1, "bits")           \
    X(PARAM_ACTUAL_GAIN, 100, "e-/count")     \
    X(PARAM_READ_NOISE, 100, "e-")            \
    X(PARAM_CENTROIDS_RADIUS, 1, "pixels")    \
    X(PARAM_FWELL_CAPACITY, 1, "e-")          \
    X(PARAM_CENTROIDS_THRESHOLD, 1, "counts") \
    X(PARAM_FRAME_BUFFER_SIZE, 1, "bytes")    \
    X(PARAM_CLEARING_TIME, 1, "ns")           \
    X(PARAM_POST_TRIGGER_DELAY, 1, "ns")      \
    X(PARAM_PRE_TRIGGER_DELAY, 1, "ns")

#endif
