#pragma once

#include <array>
#include <cstring>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "orvex/orvex.h"

// What the four software cameras answer for every attribute of every parameter after their first
// open, written down from their data sheets: no noise, as fast as possible, named "Walk".
namespace expected {

struct Fail {
    int16 code;
};
struct Anything {};
using Cell = std::variant<double, const char*, Fail, Anything>;

constexpr Fail x25{C2_NOT_AVAILABLE};
constexpr Fail x27{C2_IO_TYPE_INVALID};
constexpr Fail x49{C0_ACQ_NOT_CONFIGURED};

struct Answers {
    int access;
    int available;
    // current, count, min, max, default, increment
    std::array<Cell, 6> cells;
    bool nothing = false;  // not one attribute, and no error code
};

inline Answers absent(int access = 1) {
    return {access, 0, {x25, x25, x25, x25, x25, x25}};
}
inline Answers fixed(double v, int access = 1) {
    return {access, 1, {v, 1., v, v, v, 0.}};
}
inline Answers text(const char* v) {
    return {1, 1, {v, static_cast<double>(std::strlen(v) + 1), "", "", "", ""}};
}
inline Answers on_off(double v, int access = 2) {
    return {access, 1, {v, 0., 0., 1., 0., 1.}};
}
inline Answers list(int access, double v, double count, double min, double max, double standard) {
    return {access, 1, {v, count, min, max, standard, 0.}};
}
inline Answers range(int access, double v, double count, double min, double max, double standard) {
    return {access, 1, {v, count, min, max, standard, 1.}};
}
// The value is the availability.
inline Answers fact(double v, int access) {
    return {access, static_cast<int>(v), {v, 1., v, v, v, 0.}};
}
inline Answers before_setup() {
    return {1, 1, {x49, x49, x49, x49, x49, x49}};
}
// Post-processing features without a camera's or a plug-in's list have no ids.
inline Answers no_ids() {
    return {0, 0, {}, true};
}

constexpr std::array<const char*, 4> models{"ccd", "cmos", "plain", "em"};

using PerModel = std::array<Answers, models.size()>;
struct Row {
    uns32 id;
    int type;
    PerModel answers;
};

inline PerModel same(const Answers& all) {
    return {all, all, all, all};
}
inline PerModel only_ccd(const Answers& ccd, const Answers& others = absent()) {
    return {ccd, others, others, others};
}
inline PerModel only_cmos(const Answers& cmos, const Answers& others = absent()) {
    return {others, cmos, others, others};
}
inline PerModel only_em(const Answers& em, const Answers& others = absent()) {
    return {others, others, others, em};
}

constexpr double uns32_max = 4294967295.;

inline const std::vector<Row>& rows() {
    static const std::vector<Row> all{
        {PARAM_DD_INFO_LENGTH, 1, same(fixed(29))},
        {PARAM_ADC_OFFSET,
         1,
         {range(2, 200, 0, -32768, 32767, 0), range(2, 100, 0, -32768, 32767, 0), absent(2),
          range(2, 300, 0, -32768, 32767, 0)}},
        {PARAM_CCS_STATUS, 1, same(list(1, 0, 4, 0, 3, 0))},
        {PARAM_BIT_DEPTH, 1, {fixed(16), fixed(12), fixed(16), fixed(14)}},
        {PARAM_GAIN_INDEX,
         1,
         {range(2, 1, 3, 1, 3, 1), range(2, 1, 2, 1, 2, 1), range(2, 1, 2, 1, 2, 1),
          range(2, 1, 3, 1, 3, 1)}},
        {PARAM_SPDTAB_INDEX,
         1,
         {range(2, 0, 2, 0, 1, 0), range(2, 0, 2, 0, 1, 0), range(2, 0, 1, 0, 0, 0),
          range(2, 0, 2, 0, 1, 0)}},
        // As fast as possible, the sensor has its set-point at once.
        {PARAM_TEMP,
         1,
         {range(1, -4000, 0, -32768, 32767, 0), range(1, 0, 0, -32768, 32767, 0),
          range(1, -2500, 0, -32768, 32767, 0), range(1, -7000, 0, -32768, 32767, 0)}},
        {PARAM_TEMP_SETPOINT,
         1,
         {range(2, -4000, 9001, -7000, 2000, -7000), range(2, 0, 4001, -1500, 2500, -1500),
          range(2, -2500, 7001, -4500, 2500, -4500), range(2, -7000, 8001, -8000, 0, -8000)}},
        {PARAM_PP_INDEX, 1, only_cmos(range(2, 0, 4, 0, 3, 0), absent(2))},
        {PARAM_PP_PARAM_INDEX, 1, only_cmos(range(2, 0, 2, 0, 1, 0), absent(2))},
        {PARAM_CURRENT_OZTIME, 1, same({1, 1, {Anything{}, 0., -32768., 32767., 0., 1.}})},
        // One conversion for each pixel: 2048 x 2048 x 10 ns and 512 x 512 x 100 ns, in us.
        {PARAM_READOUT_TIME, 4, {absent(), fixed(41943), absent(), fixed(26214)}},
        // Port 0 is a TTL output, which can be driven and not read.
        {PARAM_IO_STATE, 4, only_ccd({4, 1, {x27, 0., 0., 255., 0., 0.}})},
        {PARAM_EXP_MIN_TIME, 4, {fixed(1), fixed(1), absent(), fixed(1)}},
        {PARAM_LAST_MUXED_SIGNAL, 5, only_cmos(range(2, 0, 3, 1, 3, 1), absent(2))},
        {PARAM_DD_VERSION, 6, same(fixed(0x0102))},
        {PARAM_DD_RETRIES, 6, same(range(2, 3, 0, 0, 65535, 0))},
        {PARAM_DD_TIMEOUT, 6, same(range(2, 1000, 0, 0, 65535, 0))},
        {PARAM_PREMASK, 6, {fixed(1032, 2), fixed(0), fixed(6, 2), fixed(528, 2)}},
        {PARAM_POSTMASK, 6, {fixed(4, 2), fixed(0), fixed(2, 2), fixed(2, 2)}},
        {PARAM_PRESCAN, 6, {fixed(16, 2), fixed(0), fixed(10, 2), fixed(4, 2)}},
        {PARAM_POSTSCAN, 6, {fixed(8, 2), fixed(0), fixed(4, 2), fixed(4, 2)}},
        {PARAM_PAR_SIZE, 6, {fixed(1024, 2), fixed(2048), fixed(512, 2), fixed(512, 2)}},
        {PARAM_SER_SIZE, 6, {fixed(1024, 2), fixed(2048), fixed(512, 2), fixed(512, 2)}},
        {PARAM_PIX_SER_SIZE, 6, {fixed(13000), fixed(6500), fixed(20000), fixed(16000)}},
        {PARAM_PIX_PAR_SIZE, 6, {fixed(13000), fixed(6500), fixed(20000), fixed(16000)}},
        {PARAM_CLEAR_CYCLES, 6, same(range(2, 2, 0, 0, 65535, 2))},
        {PARAM_PIX_PAR_DIST, 6, {fixed(13000), fixed(6500), fixed(20000), fixed(16000)}},
        {PARAM_PIX_SER_DIST, 6, {fixed(13000), fixed(6500), fixed(20000), fixed(16000)}},
        {PARAM_PREAMP_DELAY, 6, same(fixed(0))},
        {PARAM_SERIAL_NUM, 6, {fixed(0x5C0C), fixed(0x5C28), fixed(0x5C00), fixed(0x5C03)}},
        {PARAM_PIX_TIME, 6, {fixed(1000), fixed(10), fixed(500), fixed(100)}},
        {PARAM_SHTR_CLOSE_DELAY,
         6,
         {range(2, 20, 0, 0, 65535, 0), range(2, 0, 0, 0, 65535, 0), range(2, 12, 0, 0, 65535, 0),
          range(2, 5, 0, 0, 65535, 0)}},
        {PARAM_SHTR_OPEN_DELAY,
         6,
         {range(2, 10, 0, 0, 65535, 0), range(2, 0, 0, 0, 65535, 0), range(2, 8, 0, 0, 65535, 0),
          range(2, 5, 0, 0, 65535, 0)}},
        {PARAM_IO_ADDR, 6, only_ccd(range(2, 0, 4, 0, 3, 0), absent(2))},
        {PARAM_IO_BITDEPTH, 6, only_ccd(fixed(8))},
        {PARAM_CAM_FW_VERSION, 6, {fixed(0x060C), fixed(0x0628), fixed(0x0500), fixed(0x0603)}},
        // The capabilities of the driver; over PCI it counts interrupts.
        {PARAM_PCI_FW_VERSION, 6, only_ccd(fixed(1), fixed(0))},
        {PARAM_GAIN_MULT_FACTOR, 6, only_em(range(2, 1, 1000, 1, 1000, 1), absent(2))},
        {PARAM_ACTUAL_GAIN, 6, only_cmos(fixed(100))},
        {PARAM_READ_NOISE, 6, only_cmos(fixed(160))},
        {PARAM_PP_FEAT_ID, 7, only_cmos(range(1, 1, 0, 0, uns32_max, 0), no_ids())},
        {PARAM_PP_PARAM_ID, 7, only_cmos(range(1, 10, 0, 0, uns32_max, 0), no_ids())},
        {PARAM_TIDAL_STREAM_MODE, 6, only_cmos(list(2, 0, 1, 0, 0, 0), absent(2))},
        {PARAM_EXP_TIME, 6, same(range(2, 0, 0, 0, 65535, 0))},
        {PARAM_EXP_RES_INDEX,
         6,
         {range(2, 0, 2, 0, 1, 0), range(2, 0, 3, 0, 2, 0), absent(2), range(2, 0, 2, 0, 1, 0)}},
        {PARAM_ROI_COUNT, 6, only_cmos(range(1, 1, 15, 1, 15, 1), range(1, 1, 1, 1, 1, 1))},
        {PARAM_CENTROIDS_RADIUS, 6, only_cmos(range(2, 15, 14, 2, 15, 15), absent(2))},
        {PARAM_CENTROIDS_COUNT, 6, only_cmos(range(2, 100, 100, 1, 100, 100), absent(2))},
        {PARAM_ACCUM_FLAG, 11, same(absent(2))},
        {PARAM_PAIRED_FLAG, 11, same(absent(2))},
        {PARAM_FWELL_CAPACITY, 7, {fixed(100000), fixed(45000), fixed(300000), fixed(180000)}},
        {PARAM_PREAMP_OFF_CONTROL, 7, same(range(2, 10000, 0, 0, uns32_max, 0))},
        {PARAM_PP_PARAM, 7, only_cmos({2, 1, {0., x25, 0., 1., 0., x25}}, absent(2))},
        {PARAM_BOF_EOF_COUNT, 7, same(fixed(0))},
        {PARAM_CENTROIDS_THRESHOLD, 7, only_cmos(range(2, 160, 4080, 16, 4095, 160), absent(2))},
        {PARAM_ACCUM_NUMBER, 7, same(absent(2))},
        {PARAM_EXPOSURE_TIME, 8,
         only_cmos(range(1, 0, 0, 0, 3600000, 0), range(1, 0, 0, 0, uns32_max, 0))},
        {PARAM_FRAME_BUFFER_SIZE, 8, same(before_setup())},
        {PARAM_CAM_INTERFACE_TYPE, 9, only_cmos(list(1, 2051, 5, 515, 4096, 515))},
        {PARAM_CAM_INTERFACE_MODE, 9, only_cmos(list(1, 2, 5, 2, 2, 2))},
        {PARAM_COOLING_MODE, 9, same(list(1, 0, 3, 0, 2, 0))},
        {PARAM_MPP_CAPABLE,
         9,
         {list(1, 3, 4, 0, 3, 0), absent(), absent(), list(1, 2, 4, 0, 3, 0)}},
        {PARAM_READOUT_PORT,
         9,
         {list(2, 0, 1, 0, 0, 0), list(2, 0, 2, 0, 1, 0), list(2, 0, 1, 0, 0, 0),
          list(2, 0, 2, 0, 1, 0)}},
        // Grey is a colour mode too, but none to choose.
        {PARAM_COLOR_MODE, 9, same({1, 0, {0., 1., 0., 0., 0., 0.}})},
        {PARAM_SHTR_OPEN_MODE, 9, same(list(2, 1, 5, 0, 4, 1))},
        {PARAM_SHTR_STATUS, 9, only_cmos(list(1, 0, 6, 0, 5, 5), list(1, SHTR_CLOSED, 6, 0, 5, 5))},
        {PARAM_CLEAR_MODE, 9, only_cmos(list(2, 1, 3, 1, 2, 1), list(2, 1, 6, 0, 5, 1))},
        {PARAM_PMODE,
         9,
         {list(2, 1, 2, 1, 5, 1), list(2, 0, 2, 0, 4, 0), list(2, 0, 2, 0, 4, 0),
          list(2, 1, 2, 1, 5, 1)}},
        {PARAM_IO_TYPE, 9, only_ccd(list(1, 0, 2, 0, 1, 0))},
        {PARAM_IO_DIRECTION, 9, only_ccd(list(1, 1, 3, 0, 2, 0))},
        {PARAM_EXPOSURE_MODE, 9,
         only_cmos(list(1, 1792, 3, 1792, 2304, 1792), list(1, 0, 5, 0, 5, 0))},
        {PARAM_EXPOSE_OUT_MODE, 9, only_cmos(list(1, 0, 4, 0, 3, 0))},
        // The default is the last of the list: off.
        {PARAM_FAN_SPEED_SETPOINT, 9, only_cmos(list(2, 0, 4, 0, 3, 3), absent(2))},
        {PARAM_EXP_RES,
         9,
         {list(2, 0, 2, 0, 1, 0), list(2, 0, 3, 0, 2, 0), absent(2), list(2, 0, 2, 0, 1, 0)}},
        {PARAM_BOF_EOF_ENABLE, 9, only_ccd(list(2, 0, 4, 0, 3, 0), absent(2))},
        // Pairs, so that a factor occurs more than once.
        {PARAM_BINNING_SER, 9, only_cmos(list(1, 1, 6, 1, 2, 1))},
        {PARAM_BINNING_PAR, 9, only_cmos(list(1, 1, 6, 1, 1, 1))},
        {PARAM_CENTROIDS_MODE, 9, only_cmos(list(2, 0, 2, 0, 1, 0), absent(2))},
        {PARAM_CENTROIDS_BG_COUNT, 9, only_cmos(list(2, 0, 3, 0, 2, 0), absent(2))},
        {PARAM_TRIGTAB_SIGNAL, 9, only_cmos(list(2, 0, 1, 0, 0, 0), absent(2))},
        {PARAM_FRAME_DELIVERY_MODE, 9, only_cmos(list(2, 0, 2, 0, 1, 0), absent(2))},
        {PARAM_SUMMING_WELL, 11, only_ccd(fact(1, 3), fact(0, 3))},
        {PARAM_FRAME_CAPABLE, 11, {fact(1, 3), fact(0, 3), fact(0, 3), fact(1, 3)}},
        {PARAM_ACCUM_CAPABLE, 11, same(fact(0, 1))},
        {PARAM_FLASH_DWNLD_CAPABLE, 11, same(fact(0, 1))},
        {PARAM_GAIN_MULT_ENABLE, 11, only_em(on_off(1, 1))},
        {PARAM_TIDAL_STREAM_MODE_ENABLED, 11, only_cmos(list(2, 0, 0, 0, 1, 0), absent(2))},
        {PARAM_SENSOR_CORRECTION_STATE, 11, same(on_off(1))},
        {PARAM_BOF_EOF_CLR, 11, same(fixed(0, 4))},
        {PARAM_METADATA_ENABLED, 11, only_cmos(on_off(0), absent(2))},
        {PARAM_CENTROIDS_ENABLED, 11, only_cmos(on_off(0), absent(2))},
        {PARAM_CIRC_BUFFER, 11, same(fact(1, 3))},
        {PARAM_DD_INFO, 13, same(text("Software camera driver, Walk"))},
        {PARAM_CHIP_NAME,
         13,
         {text("SFT-1024-FT"), text("SCM-2048-BSI"), text("SPL-512"), text("SEM-512-EM")}},
        {PARAM_SYSTEM_NAME, 13, only_cmos(text("SoftCMOS System"))},
        {PARAM_VENDOR_NAME, 13, only_cmos(text("Orvex"))},
        {PARAM_PRODUCT_NAME, 13, only_cmos(text("SoftCMOS"))},
        {PARAM_CAMERA_PART_NUMBER, 13, only_cmos(text("OX-SCM-2048"))},
        {PARAM_GAIN_NAME, 13, only_cmos(text("Full Well"))},
        {PARAM_HEAD_SER_NUM_ALPHA,
         13,
         {text("SC1-0001"), text("SC2-0001"), text("SC3-0001"), text("SC4-0001")}},
        {PARAM_CAM_FW_FULL_VERSION, 13, {text("6.12.0"), text("6.40.1"), absent(), text("6.3.7")}},
        {PARAM_CAM_SYSTEMS_INFO,
         13,
         {text("Software Interface(I/F) - Bridge @ 6.12.0\n"
               "SoftCCD-1024(CAM) - SFT-1024-FT @ 6.12.0"),
          text("Software Interface(I/F) - Bridge @ 6.40.0\n"
               "SoftCMOS-2048(CAM) - SCM-2048-BSI @ 6.40.0"),
          text("Software Interface(I/F) - Bridge @ 5.0.0\n"
               "SoftPlain-512(CAM) - SPL-512 @ 5.0.0"),
          text("Software Interface(I/F) - Bridge @ 6.3.0\n"
               "SoftEM-512(CAM) - SEM-512-EM @ 6.3.0")}},
        {PARAM_PP_FEAT_NAME, 13, only_cmos(text("Background Subtraction"))},
        {PARAM_PP_PARAM_NAME, 13, only_cmos(text("Enabled"))},
        // A record; its attributes have a test of their own.
        {PARAM_TIDAL_STREAM_EXP_PARAMS, 18, only_cmos(range(2, 0, 0, 1, 16, 1), absent(2))},
        {PARAM_TIDAL_STREAM_DLY_PARAMS, 18, same(absent(2))},
        {PARAM_CLEARING_TIME, 16, only_cmos(before_setup())},
        {PARAM_POST_TRIGGER_DELAY, 16, only_cmos(before_setup())},
        {PARAM_PRE_TRIGGER_DELAY, 16, only_cmos(before_setup())},
    };
    return all;
}

// The entries of an enumerated parameter on the models that have them.
struct Enumeration {
    uns32 id;
    std::string_view models;
    std::vector<std::pair<int32, const char*>> entries;
};

inline const std::vector<Enumeration>& enumerations() {
    constexpr std::string_view all = "ccd cmos plain em";
    constexpr std::string_view programmed = "ccd plain em";
    static const std::vector<Enumeration> lists{
        {PARAM_CAM_INTERFACE_TYPE,
         "cmos",
         {{515, "USB 3.0"},
          {2051, "PCIE X4"},
          {258, "1394B"},
          {1025, "PCI LVDS"},
          {4096, "Virtual"}}},
        {PARAM_CAM_INTERFACE_MODE,
         "cmos",
         {{2, "Imaging"}, {2, "Imaging"}, {2, "Imaging"}, {2, "Imaging"}, {2, "Imaging"}}},
        {PARAM_COOLING_MODE, all, {{0, "Air or Water"}, {1, "Cryogenic"}, {2, "No cooling"}}},
        {PARAM_MPP_CAPABLE, "ccd em", {{0, "Unknown"}, {1, "Off"}, {2, "On"}, {3, "Selectable"}}},
        {PARAM_READOUT_PORT, "ccd", {{0, "Normal"}}},
        {PARAM_READOUT_PORT, "plain", {{0, "Normal"}}},
        {PARAM_READOUT_PORT, "cmos", {{0, "Sensitivity"}, {1, "Dynamic Range"}}},
        {PARAM_READOUT_PORT, "em", {{0, "Multiplication Gain"}, {1, "Normal"}}},
        {PARAM_SHTR_OPEN_MODE,
         all,
         {{0, "Never"},
          {1, "Pre-Exposure"},
          {2, "Pre-Sequence"},
          {3, "Pre-Trigger"},
          {4, "Do Not Change"}}},
        {PARAM_SHTR_STATUS,
         all,
         {{0, "Fault"},
          {1, "Opening"},
          {2, "Open"},
          {3, "Closing"},
          {4, "Closed"},
          {5, "Unknown"}}},
        {PARAM_CLEAR_MODE,
         programmed,
         {{0, "Never"},
          {1, "Pre-Exposure"},
          {2, "Pre-Sequence"},
          {3, "Post-Sequence"},
          {4, "Pre- and Post-Sequence"},
          {5, "Pre-Exposure and Post-Sequence"}}},
        {PARAM_CLEAR_MODE, "cmos", {{1, "Pre-Exposure"}, {0, "Never"}, {2, "Pre-Sequence"}}},
        {PARAM_PMODE, "ccd em", {{1, "Frame Transfer"}, {5, "Alternate Frame Transfer"}}},
        {PARAM_PMODE, "cmos plain", {{0, "Normal"}, {4, "Alternate Normal"}}},
        {PARAM_IO_TYPE, "ccd", {{0, "TTL Port"}, {1, "DAC Port"}}},
        {PARAM_IO_DIRECTION, "ccd", {{0, "Input Only"}, {1, "Output Only"}, {2, "Input/Output"}}},
        {PARAM_EXPOSURE_MODE,
         programmed,
         {{0, "Timed"}, {1, "Strobed"}, {2, "Bulb"}, {3, "Trigger First"}, {5, "Variable Timed"}}},
        {PARAM_EXPOSURE_MODE,
         "cmos",
         {{1792, "Internal Trigger"}, {2048, "Trigger First"}, {2304, "Edge Trigger"}}},
        {PARAM_EXPOSE_OUT_MODE,
         "cmos",
         {{0, "First Row"}, {1, "All Rows"}, {2, "Any Row"}, {3, "Rolling Shutter"}}},
        {PARAM_FAN_SPEED_SETPOINT, "cmos", {{0, "High"}, {1, "Medium"}, {2, "Low"}, {3, "Off"}}},
        {PARAM_EXP_RES, "ccd em", {{0, "One Millisecond"}, {1, "One Microsecond"}}},
        {PARAM_EXP_RES,
         "cmos",
         {{0, "One Millisecond"}, {1, "One Microsecond"}, {2, "One Second"}}},
        {PARAM_BOF_EOF_ENABLE,
         "ccd",
         {{0, "No Bof or Eof"}, {1, "Bof Only"}, {2, "Eof Only"}, {3, "Bof and Eof"}}},
        {PARAM_BINNING_SER,
         "cmos",
         {{1, "1x1"}, {2, "2x2"}, {4, "4x4"}, {8, "8x8"}, {1, "1x2"}, {2, "2x1"}}},
        {PARAM_BINNING_PAR,
         "cmos",
         {{1, "1x1"}, {2, "2x2"}, {4, "4x4"}, {8, "8x8"}, {2, "1x2"}, {1, "2x1"}}},
        {PARAM_CENTROIDS_MODE, "cmos", {{0, "Locate"}, {1, "Track"}}},
        {PARAM_CENTROIDS_BG_COUNT, "cmos", {{0, "1 Frame"}, {1, "4 Frames"}, {2, "16 Frames"}}},
        {PARAM_TRIGTAB_SIGNAL, "cmos", {{0, "Expose Out"}}},
        {PARAM_FRAME_DELIVERY_MODE, "cmos", {{0, "Maximum Frame Rate"}, {1, "Constant Intervals"}}},
    };
    return lists;
}

}  // namespace expected
