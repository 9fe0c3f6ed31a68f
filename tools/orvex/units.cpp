#include "orvex/units.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

namespace orvex {

namespace {

struct Row {
    uns32 parameter;
    Unit unit;
};

constexpr Row rows[] = {
    {PARAM_ADC_OFFSET, {"counts"}},
    {PARAM_BIT_DEPTH, {"bits"}},
    {PARAM_TEMP, {"C", 100}},
    {PARAM_TEMP_SETPOINT, {"C", 100}},
    {PARAM_READOUT_TIME, {"us"}},
    {PARAM_DD_TIMEOUT, {"ms"}},
    {PARAM_PREMASK, {"rows"}},
    {PARAM_POSTMASK, {"rows"}},
    {PARAM_PRESCAN, {"columns"}},
    {PARAM_POSTSCAN, {"columns"}},
    {PARAM_PIX_SER_SIZE, {"nm"}},
    {PARAM_PIX_PAR_SIZE, {"nm"}},
    {PARAM_PIX_PAR_DIST, {"nm"}},
    {PARAM_PIX_SER_DIST, {"nm"}},
    {PARAM_PREAMP_DELAY, {"ms"}},
    {PARAM_PIX_TIME, {"ns"}},
    {PARAM_SHTR_CLOSE_DELAY, {"ms"}},
    {PARAM_SHTR_OPEN_DELAY, {"ms"}},
    {PARAM_IO_BITDEPTH, {"bits"}},
    {PARAM_ACTUAL_GAIN, {"e-/count", 100}},
    {PARAM_READ_NOISE, {"e-", 100}},
    {PARAM_CENTROIDS_RADIUS, {"pixels"}},
    {PARAM_FWELL_CAPACITY, {"e-"}},
    {PARAM_CENTROIDS_THRESHOLD, {"counts"}},
    {PARAM_FRAME_BUFFER_SIZE, {"bytes"}},
    {PARAM_CLEARING_TIME, {"ns"}},
    {PARAM_POST_TRIGGER_DELAY, {"ns"}},
    {PARAM_PRE_TRIGGER_DELAY, {"ns"}},
};

}  // namespace

std::optional<Unit> unit_of(uns32 parameter) {
    const auto* row = std::find_if(std::begin(rows), std::end(rows),
                                   [&](const Row& r) { return r.parameter == parameter; });
    return row == std::end(rows) ? std::nullopt : std::optional(row->unit);
}

std::string with_unit(double number, const Unit& unit) {
    std::array<char, 64> text{};
    if (unit.steps == 1) return number_text(number) + ' ' + unit.name;
    std::snprintf(text.data(), text.size(), "%.2f %s", number, unit.name);
    return text.data();
}

std::string number_text(double number) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.15g", number);
    return text.data();
}

}  // namespace orvex
