#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <cstring>
#include <string>
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

// What one camera answers for one parameter.
struct Answers {
    int access;
    int available;
    // current, count, min, max, default, increment
    std::array<Cell, 6> cells;
    bool nothing = false;  // not one attribute, and no error code
};

constexpr std::array<const char*, 4> models{"ccd", "cmos", "plain", "em"};
// Sets of them, by their places.
constexpr unsigned ccd = 1, cmos = 2, plain = 4, em = 8, all = 15;

// One thing by model; written once when all models agree, or all but one.
template <class T>
struct By {
    std::array<T, 4> of;

    template <class U>
        requires std::constructible_from<T, U>
    By(U same) : of{T(same), T(same), T(same), T(same)} {}
    By(T on_ccd, T on_cmos, T on_plain, T on_em) : of{on_ccd, on_cmos, on_plain, on_em} {}
};
using Number = By<double>;
using Value = By<Cell>;

inline Number Ccd(double value, double others) {
    return {value, others, others, others};
}
inline Number Cmos(double value, double others) {
    return {others, value, others, others};
}

struct Shape {
    Number access;
    std::array<Value, 6> cells;
    Number available = 1;
};

inline Value Cells(const Number& number) {
    return {number.of[0], number.of[1], number.of[2], number.of[3]};
}
inline Shape fixed(const Number& v, const Number& access = ACC_READ_ONLY) {
    return {access, {Cells(v), 1., Cells(v), Cells(v), Cells(v), 0.}};
}
inline Shape text(const By<const char*>& v) {
    const auto cell = [&](size_t i) { return Cell(v.of[i]); };
    const auto size = [&](size_t i) { return static_cast<double>(std::strlen(v.of[i]) + 1); };
    return {ACC_READ_ONLY,
            {Value(cell(0), cell(1), cell(2), cell(3)), Cells({size(0), size(1), size(2), size(3)}),
             "", "", "", ""}};
}
// Steps of one from a minimum to a maximum; what has no end counts 0 values.
inline Shape range(const Number& access, const Number& v, const Number& count, const Number& min,
                   const Number& max, const Number& standard) {
    return {access, {Cells(v), Cells(count), Cells(min), Cells(max), Cells(standard), 1.}};
}
inline Shape on_off(double v, double access = ACC_READ_WRITE) {
    return range(access, v, 0, 0, 1, 0);
}
inline Shape list(const Number& access, const Number& v, const Number& count, const Number& min,
                  const Number& max, const Number& standard) {
    return {access, {Cells(v), Cells(count), Cells(min), Cells(max), Cells(standard), 0.}};
}
// The value is the availability.
inline Shape fact(const Number& v, double access) {
    Shape shape = fixed(v, access);
    shape.available = v;
    return shape;
}
inline Shape before_setup() {
    return {ACC_READ_ONLY, {x49, x49, x49, x49, x49, x49}};
}
inline Shape never(double access) {
    return {access, {x25, x25, x25, x25, x25, x25}, 0};
}

struct Row {
    uns32 id;
    int type;
    unsigned models;  // that have it
    Shape shape;
    bool silent_elsewhere = false;  // others answer nothing, not even that it is absent

    Answers On(size_t model) const {
        const auto number = [&](const Number& by) { return static_cast<int>(by.of[model]); };
        if ((models & 1u << model) == 0) {
            return {number(shape.access), 0, {x25, x25, x25, x25, x25, x25}, silent_elsewhere};
        }
        Answers answers{number(shape.access), number(shape.available), {}};
        for (size_t i = 0; i < 6; ++i) answers.cells[i] = shape.cells[i].of[model];
        return answers;
    }
};

constexpr double uns32_max = 4294967295.;
constexpr double none = 0;  // on a model that doesn't have the parameter
constexpr double ro = ACC_READ_ONLY, rw = ACC_READ_WRITE;
constexpr double exists = ACC_EXIST_CHECK_ONLY, wo = ACC_WRITE_ONLY;

inline const std::vector<Row>& rows() {
    static const std::vector<Row> table{
        {PARAM_DD_INFO_LENGTH, 1, all, fixed(29)},
        {PARAM_ADC_OFFSET, 1, ccd | cmos | em,
         range(rw, {200, 100, none, 300}, 0, -32768, 32767, 0)},
        {PARAM_CCS_STATUS, 1, all, list(ro, 0, 4, 0, 3, 0)},
        {PARAM_BIT_DEPTH, 1, all, fixed({16, 12, 16, 14})},
        {PARAM_GAIN_INDEX, 1, all, range(rw, 1, {3, 2, 2, 3}, 1, {3, 2, 2, 3}, 1)},
        {PARAM_SPDTAB_INDEX, 1, all, range(rw, 0, {2, 2, 1, 2}, 0, {1, 1, 0, 1}, 0)},
        // As fast as possible, the sensor has its set-point at once.
        {PARAM_TEMP, 1, all, range(ro, {-4000, 0, -2500, -7000}, 0, -32768, 32767, 0)},
        {PARAM_TEMP_SETPOINT, 1, all,
         range(rw, {-4000, 0, -2500, -7000}, {9001, 4001, 7001, 8001}, {-7000, -1500, -4500, -8000},
               {2000, 2500, 2500, 0}, {-7000, -1500, -4500, -8000})},
        {PARAM_PP_INDEX, 1, cmos, range(rw, 0, 4, 0, 3, 0)},
        {PARAM_PP_PARAM_INDEX, 1, cmos, range(rw, 0, 2, 0, 1, 0)},
        {PARAM_CURRENT_OZTIME, 1, all, {ro, {Anything{}, 0., -32768., 32767., 0., 1.}}},
        // One conversion for each pixel: 2048 x 2048 x 10 ns and 512 x 512 x 100 ns, in us.
        {PARAM_READOUT_TIME, 4, cmos | em, fixed({none, 20480, none, 26214})},
        // Port 0 is a TTL output, which can be driven and not read.
        {PARAM_IO_STATE, 4, ccd, {Ccd(wo, ro), {x27, 0., 0., 255., 0., 0.}}},
        {PARAM_EXP_MIN_TIME, 4, ccd | cmos | em, fixed(1)},
        {PARAM_LAST_MUXED_SIGNAL, 5, cmos, range(rw, 0, 3, 1, 3, 1)},
        {PARAM_DD_VERSION, 6, all, fixed(0x0102)},
        {PARAM_DD_RETRIES, 6, all, range(rw, 3, 0, 0, 65535, 0)},
        {PARAM_DD_TIMEOUT, 6, all, range(rw, 1000, 0, 0, 65535, 0)},
        {PARAM_PREMASK, 6, all, fixed({1032, 0, 6, 528}, Cmos(ro, rw))},
        {PARAM_POSTMASK, 6, all, fixed({4, 0, 2, 2}, Cmos(ro, rw))},
        {PARAM_PRESCAN, 6, all, fixed({16, 0, 10, 4}, Cmos(ro, rw))},
        {PARAM_POSTSCAN, 6, all, fixed({8, 0, 4, 4}, Cmos(ro, rw))},
        {PARAM_PAR_SIZE, 6, all, fixed({1024, 2048, 512, 512}, Cmos(ro, rw))},
        {PARAM_SER_SIZE, 6, all, fixed({1024, 2048, 512, 512}, Cmos(ro, rw))},
        {PARAM_PIX_SER_SIZE, 6, all, fixed({13000, 6500, 20000, 16000})},
        {PARAM_PIX_PAR_SIZE, 6, all, fixed({13000, 6500, 20000, 16000})},
        {PARAM_CLEAR_CYCLES, 6, all, range(rw, 2, 0, 0, 65535, 2)},
        {PARAM_PIX_PAR_DIST, 6, all, fixed({13000, 6500, 20000, 16000})},
        {PARAM_PIX_SER_DIST, 6, all, fixed({13000, 6500, 20000, 16000})},
        {PARAM_PREAMP_DELAY, 6, all, fixed(0)},
        {PARAM_SERIAL_NUM, 6, all, fixed({0x5C0C, 0x5C28, 0x5C00, 0x5C03})},
        {PARAM_PIX_TIME, 6, all, fixed({1000, 10, 500, 100})},
        {PARAM_SHTR_CLOSE_DELAY, 6, all, range(rw, {20, 0, 12, 5}, 0, 0, 65535, 0)},
        {PARAM_SHTR_OPEN_DELAY, 6, all, range(rw, {10, 0, 8, 5}, 0, 0, 65535, 0)},
        {PARAM_IO_ADDR, 6, ccd, range(rw, 0, 4, 0, 3, 0)},
        {PARAM_IO_BITDEPTH, 6, ccd, fixed(8)},
        {PARAM_CAM_FW_VERSION, 6, all, fixed({0x060C, 0x0628, 0x0500, 0x0603})},
        // The capabilities of the driver; over PCI it counts interrupts.
        {PARAM_PCI_FW_VERSION, 6, all, fixed(Ccd(1, 0))},
        {PARAM_GAIN_MULT_FACTOR, 6, em, range(rw, 1, 1000, 1, 1000, 1)},
        {PARAM_ACTUAL_GAIN, 6, cmos, fixed(100)},
        {PARAM_READ_NOISE, 6, cmos, fixed(160)},
        // Post-processing features without a camera's or a plug-in's list have no ids.
        {PARAM_PP_FEAT_ID, 7, cmos, range(ro, 1, 0, 0, uns32_max, 0), true},
        {PARAM_PP_PARAM_ID, 7, cmos, range(ro, 10, 0, 0, uns32_max, 0), true},
        {PARAM_TIDAL_STREAM_MODE, 6, cmos, list(rw, 0, 1, 0, 0, 0)},
        {PARAM_EXP_TIME, 6, all, range(rw, 0, 0, 0, 65535, 0)},
        {PARAM_EXP_RES_INDEX, 6, ccd | cmos | em, range(rw, 0, Cmos(3, 2), 0, Cmos(2, 1), 0)},
        {PARAM_ROI_COUNT, 6, all, range(ro, 1, Cmos(15, 1), 1, Cmos(15, 1), 1)},
        {PARAM_CENTROIDS_RADIUS, 6, cmos, range(rw, 15, 14, 2, 15, 15)},
        {PARAM_CENTROIDS_COUNT, 6, cmos, range(rw, 100, 100, 1, 100, 100)},
        {PARAM_ACCUM_FLAG, 11, all, never(rw)},
        {PARAM_PAIRED_FLAG, 11, all, never(rw)},
        {PARAM_FWELL_CAPACITY, 7, all, fixed({100000, 45000, 300000, 180000})},
        {PARAM_PREAMP_OFF_CONTROL, 7, all, range(rw, 10000, 0, 0, uns32_max, 0)},
        {PARAM_PP_PARAM, 7, cmos, {rw, {0., x25, 0., 1., 0., x25}}},
        {PARAM_BOF_EOF_COUNT, 7, all, fixed(0)},
        {PARAM_CENTROIDS_THRESHOLD, 7, cmos, range(rw, 160, 4080, 16, 4095, 160)},
        {PARAM_ACCUM_NUMBER, 7, all, never(rw)},
        {PARAM_EXPOSURE_TIME, 8, all, range(ro, 0, 0, 0, Cmos(3600000, uns32_max), 0)},
        {PARAM_FRAME_BUFFER_SIZE, 8, all, before_setup()},
        {PARAM_CAM_INTERFACE_TYPE, 9, cmos, list(ro, 2051, 5, 515, 4096, 515)},
        {PARAM_CAM_INTERFACE_MODE, 9, cmos, list(ro, 2, 5, 2, 2, 2)},
        {PARAM_COOLING_MODE, 9, all, list(ro, 0, 3, 0, 2, 0)},
        {PARAM_MPP_CAPABLE, 9, ccd | em, list(ro, Ccd(3, 2), 4, 0, 3, 0)},
        {PARAM_READOUT_PORT, 9, all, list(rw, 0, {1, 2, 1, 2}, 0, {0, 1, 0, 1}, 0)},
        // Grey is a colour mode too, but none to choose.
        {PARAM_COLOR_MODE, 9, all, {ro, {0., 1., 0., 0., 0., 0.}, 0}},
        {PARAM_SHTR_OPEN_MODE, 9, all, list(rw, 1, 5, 0, 4, 1)},
        {PARAM_SHTR_STATUS, 9, all, list(ro, Cmos(0, SHTR_CLOSED), 6, 0, 5, 5)},
        {PARAM_CLEAR_MODE, 9, all, list(rw, 1, Cmos(3, 6), Cmos(1, 0), Cmos(2, 5), 1)},
        {PARAM_PMODE, 9, all, list(rw, {1, 0, 0, 1}, 2, {1, 0, 0, 1}, {5, 4, 4, 5}, {1, 0, 0, 1})},
        {PARAM_IO_TYPE, 9, ccd, list(ro, 0, 2, 0, 1, 0)},
        {PARAM_IO_DIRECTION, 9, ccd, list(ro, 1, 3, 0, 2, 0)},
        {PARAM_EXPOSURE_MODE, 9, all,
         list(ro, Cmos(1792, 0), Cmos(3, 5), Cmos(1792, 0), Cmos(2304, 5), Cmos(1792, 0))},
        {PARAM_EXPOSE_OUT_MODE, 9, cmos, list(ro, 0, 4, 0, 3, 0)},
        // The default is the last of the list: off.
        {PARAM_FAN_SPEED_SETPOINT, 9, cmos, list(rw, 0, 4, 0, 3, 3)},
        {PARAM_EXP_RES, 9, ccd | cmos | em, list(rw, 0, Cmos(3, 2), 0, Cmos(2, 1), 0)},
        {PARAM_BOF_EOF_ENABLE, 9, ccd, list(rw, 0, 4, 0, 3, 0)},
        // Pairs, so that a factor occurs more than once.
        {PARAM_BINNING_SER, 9, cmos, list(ro, 1, 6, 1, 2, 1)},
        {PARAM_BINNING_PAR, 9, cmos, list(ro, 1, 6, 1, 1, 1)},
        {PARAM_CENTROIDS_MODE, 9, cmos, list(rw, 0, 2, 0, 1, 0)},
        {PARAM_CENTROIDS_BG_COUNT, 9, cmos, list(rw, 0, 3, 0, 2, 0)},
        {PARAM_TRIGTAB_SIGNAL, 9, cmos, list(rw, 0, 1, 0, 0, 0)},
        {PARAM_FRAME_DELIVERY_MODE, 9, cmos, list(rw, 0, 2, 0, 1, 0)},
        {PARAM_SUMMING_WELL, 11, all, fact(Ccd(1, 0), exists)},
        {PARAM_FRAME_CAPABLE, 11, all, fact({1, 0, 0, 1}, exists)},
        {PARAM_ACCUM_CAPABLE, 11, all, fact(0, ro)},
        {PARAM_FLASH_DWNLD_CAPABLE, 11, all, fact(0, ro)},
        {PARAM_GAIN_MULT_ENABLE, 11, em, on_off(1, ro)},
        {PARAM_TIDAL_STREAM_MODE_ENABLED, 11, cmos, list(rw, 0, 0, 0, 1, 0)},
        {PARAM_SENSOR_CORRECTION_STATE, 11, all, on_off(1)},
        {PARAM_BOF_EOF_CLR, 11, all, fixed(0, wo)},
        {PARAM_METADATA_ENABLED, 11, cmos, on_off(0)},
        {PARAM_CENTROIDS_ENABLED, 11, cmos, on_off(0)},
        {PARAM_CIRC_BUFFER, 11, all, fact(1, exists)},
        {PARAM_DD_INFO, 13, all, text("Software camera driver, Walk")},
        {PARAM_CHIP_NAME, 13, all, text({"SFT-1024-FT", "SCM-2048-BSI", "SPL-512", "SEM-512-EM"})},
        {PARAM_SYSTEM_NAME, 13, cmos, text("SoftCMOS System")},
        {PARAM_VENDOR_NAME, 13, cmos, text("Orvex")},
        {PARAM_PRODUCT_NAME, 13, cmos, text("SoftCMOS")},
        {PARAM_CAMERA_PART_NUMBER, 13, cmos, text("OX-SCM-2048")},
        {PARAM_GAIN_NAME, 13, cmos, text("Sensitivity")},
        {PARAM_HEAD_SER_NUM_ALPHA, 13, all, text({"SC1-0001", "SC2-0001", "SC3-0001", "SC4-0001"})},
        {PARAM_CAM_FW_FULL_VERSION, 13, ccd | cmos | em, text({"6.12.0", "6.40.1", "", "6.3.7"})},
        {PARAM_CAM_SYSTEMS_INFO, 13, all,
         text({"Software Interface(I/F) - Bridge @ 6.12.0\n"
               "SoftCCD-1024(CAM) - SFT-1024-FT @ 6.12.0",
               "Software Interface(I/F) - Bridge @ 6.40.0\n"
               "SoftCMOS-2048(CAM) - SCM-2048-BSI @ 6.40.0",
               "Software Interface(I/F) - Bridge @ 5.0.0\n"
               "SoftPlain-512(CAM) - SPL-512 @ 5.0.0",
               "Software Interface(I/F) - Bridge @ 6.3.0\n"
               "SoftEM-512(CAM) - SEM-512-EM @ 6.3.0"})},
        {PARAM_PP_FEAT_NAME, 13, cmos, text("Background Subtraction")},
        {PARAM_PP_PARAM_NAME, 13, cmos, text("Enabled")},
        // A record; its attributes have a test of their own.
        {PARAM_TIDAL_STREAM_EXP_PARAMS, 18, cmos, range(rw, 0, 0, 1, 16, 1)},
        {PARAM_TIDAL_STREAM_DLY_PARAMS, 18, all, never(rw)},
        {PARAM_CLEARING_TIME, 16, cmos, before_setup()},
        {PARAM_POST_TRIGGER_DELAY, 16, cmos, before_setup()},
        {PARAM_PRE_TRIGGER_DELAY, 16, cmos, before_setup()},
    };
    return table;
}

inline const Row& RowOf(uns32 id) {
    return *std::ranges::find(rows(), id, &Row::id);
}

// The entries of an enumerated parameter on the models that have them: "0 Never|1 Always".
struct Enumeration {
    uns32 id;
    unsigned models;
    std::string_view entries;

    std::vector<std::pair<int32, std::string>> Entries() const {
        std::vector<std::pair<int32, std::string>> parsed;
        for (size_t at = 0; at < entries.size();) {
            const size_t end = std::min(entries.find('|', at), entries.size());
            const std::string entry(entries.substr(at, end - at));
            const size_t blank = entry.find(' ');
            parsed.emplace_back(std::stoi(entry.substr(0, blank)), entry.substr(blank + 1));
            at = end + 1;
        }
        return parsed;
    }
};

constexpr Enumeration enumerations[] = {
    {PARAM_CAM_INTERFACE_TYPE, cmos,
     "515 USB 3.0|2051 PCIE X4|258 1394B|1025 PCI LVDS|4096 Virtual"},
    {PARAM_COOLING_MODE, all, "0 Air or Water|1 Cryogenic|2 No cooling"},
    {PARAM_MPP_CAPABLE, ccd | em, "0 Unknown|1 Off|2 On|3 Selectable"},
    {PARAM_READOUT_PORT, cmos, "0 Sensitivity|1 Dynamic Range"},
    {PARAM_SHTR_OPEN_MODE, all,
     "0 Never|1 Pre-Exposure|2 Pre-Sequence|3 Pre-Trigger|4 Do Not Change"},
    {PARAM_SHTR_STATUS, all, "0 Fault|1 Opening|2 Open|3 Closing|4 Closed|5 Unknown"},
    {PARAM_CLEAR_MODE, ccd | plain | em,
     "0 Never|1 Pre-Exposure|2 Pre-Sequence|3 Post-Sequence|4 Pre- and Post-Sequence|"
     "5 Pre-Exposure and Post-Sequence"},
    {PARAM_CLEAR_MODE, cmos, "1 Pre-Exposure|0 Never|2 Pre-Sequence"},
    {PARAM_PMODE, ccd | em, "1 Frame Transfer|5 Alternate Frame Transfer"},
    {PARAM_PMODE, cmos | plain, "0 Normal|4 Alternate Normal"},
    {PARAM_IO_TYPE, ccd, "0 TTL Port|1 DAC Port"},
    {PARAM_IO_DIRECTION, ccd, "0 Input Only|1 Output Only|2 Input/Output"},
    {PARAM_EXPOSURE_MODE, ccd | plain | em,
     "0 Timed|1 Strobed|2 Bulb|3 Trigger First|5 Variable Timed"},
    {PARAM_EXPOSURE_MODE, cmos, "1792 Internal Trigger|2048 Trigger First|2304 Edge Trigger"},
    {PARAM_FAN_SPEED_SETPOINT, cmos, "0 High|1 Medium|2 Low|3 Off"},
    {PARAM_EXP_RES, cmos, "0 One Millisecond|1 One Microsecond|2 One Second"},
    {PARAM_BOF_EOF_ENABLE, ccd, "0 No Bof or Eof|1 Bof Only|2 Eof Only|3 Bof and Eof"},
    {PARAM_BINNING_SER, cmos, "1 1x1|2 2x2|4 4x4|8 8x8|1 1x2|2 2x1"},
    {PARAM_BINNING_PAR, cmos, "1 1x1|2 2x2|4 4x4|8 8x8|2 1x2|1 2x1"},
};

}  // namespace expected
