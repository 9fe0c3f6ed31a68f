#pragma once

#include <optional>
#include <vector>

#include "parameter_expectations.h"

// What the software cameras make of values that are set, in this order after their first open.
namespace expected {

// Values that are set one after the other: those that are taken and read back, then those that
// are not, each of which leaves the last one that was taken.
struct Trial {
    unsigned models;
    uns32 id;
    std::vector<double> taken;
    int16 error = 0;  // of the others; 0 when they are dropped without a word
    std::vector<double> others = {};
    std::optional<Cell> read = std::nullopt;  // afterwards, when it is something else
};

// The camera doesn't take the value, which the read-back shows.
constexpr int16 bounces = C2_FAILED_TO_SET_VALUE;
constexpr int16 unlisted = C2_NOT_AVAILABLE;
constexpr int16 beyond = C2_INDEX_OUT_OF_RANGE;

inline const std::vector<Trial> trials{
    {ccd, PARAM_ADC_OFFSET, {-32768, 321}},
    {em, PARAM_GAIN_MULT_FACTOR, {1000}, bounces, {1001, 0}},
    {ccd | em, PARAM_GAIN_INDEX, {3}, bounces, {4, 0}},
    {ccd | plain | em, PARAM_PREMASK, {12}},
    // With one port there is nothing to change, whatever is asked.
    {ccd | plain, PARAM_READOUT_PORT, {0}, 0, {5}},
    {cmos | em, PARAM_READOUT_PORT, {1}, bounces, {2}},
    // Sizes and gains belong to the port and are read anew after a change of it.
    {em, PARAM_PREMASK, {528}},
    {em, PARAM_GAIN_INDEX, {}, bounces, {3}, 1.},
    {ccd | cmos | em, PARAM_SPDTAB_INDEX, {1}, unlisted, {2}},
    // The second speed has two gains, converts faster and with fewer bits.
    {ccd, PARAM_GAIN_INDEX, {2}, bounces, {3}},
    {ccd, PARAM_TEMP_SETPOINT, {2000, -7000}, bounces, {-7001}},
    {ccd | em, PARAM_EXP_RES, {1}, beyond, {2}},
    {ccd | em, PARAM_EXP_RES_INDEX, {0}, beyond, {2}},
    {cmos, PARAM_EXP_RES_INDEX, {2}},
    {cmos, PARAM_EXP_RES, {}, beyond, {3}, 2.},
    {ccd, PARAM_PMODE, {5, 7}},
    {cmos | plain, PARAM_PMODE, {4}, unlisted, {1, 2}},
    {em, PARAM_PMODE, {5}, unlisted, {3}},  // MPP is always on, so that it can't be chosen
    {ccd, PARAM_BOF_EOF_ENABLE, {3}, 0, {4}},
    // Port 0 drives and can't be read.
    {ccd, PARAM_IO_STATE, {}, 0, {255}, x27},
    {ccd, PARAM_IO_ADDR, {1}},
    {ccd, PARAM_IO_DIRECTION, {1}},
    {ccd, PARAM_IO_STATE, {255}},
    {ccd, PARAM_IO_DIRECTION, {1}, C2_IO_DIRECTION_INVALID, {3}},
    {ccd, PARAM_IO_ADDR, {2}},
    {ccd, PARAM_IO_STATE, {}, bounces, {1}, 0.},
    {ccd, PARAM_IO_DIRECTION, {}, bounces, {1}, 0.},
    {ccd, PARAM_IO_ADDR, {3}, C2_ADDR_OUT_OF_RANGE, {4}},
    {cmos, PARAM_PP_INDEX, {3}},
    {cmos, PARAM_PP_PARAM, {16}, bounces, {17}},
    {cmos, PARAM_PP_PARAM_INDEX, {}, bounces, {1}, 0.},
    {cmos, PARAM_CENTROIDS_ENABLED, {}, unlisted, {1}, 0.},  // metadata are off
    {cmos, PARAM_METADATA_ENABLED, {1}},
    {cmos, PARAM_CENTROIDS_ENABLED, {1}},
    {cmos, PARAM_CENTROIDS_THRESHOLD, {4095}, bounces, {4096, 15}},
    // It goes out with the next start; until then the camera has its former time.
    {all, PARAM_EXP_TIME, {}, 0, {55}, 0.},
    {all, PARAM_SHTR_OPEN_MODE, {4}, 0, {7}, 1.},
    {all, PARAM_CLEAR_MODE, {2, 5}, unlisted, {6}},
    {all, PARAM_SENSOR_CORRECTION_STATE, {0}},
    {all, PARAM_BOF_EOF_CLR, {}, 0, {1}, 0.},
    // A negative index is the camera's to judge.
    {all, PARAM_SPDTAB_INDEX, {0}, bounces, {-1}},
};

}  // namespace expected
