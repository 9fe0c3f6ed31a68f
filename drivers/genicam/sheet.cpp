#include "genicam/sheet.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "orvex/orvex_ddi.h"

namespace genicam {
namespace {

using firmware::Model;

constexpr size_t name_limit = 31;
// Gain indices are bytes.
constexpr double gain_limit = 200;

uint16_t Word(double value) {
    return static_cast<uint16_t>(std::clamp(value, 0.0, 65535.0));
}

// Temperatures are told in hundredths of a degree.
int16_t Hundredths(double degrees) {
    return static_cast<int16_t>(std::clamp(degrees * 100, -32768.0, 32767.0));
}

using BoundsCall = void (*)(ArvCamera*, gint*, gint*, GError**);
using StepCall = gint (*)(ArvCamera*, GError**);

uint32_t StepOf(StepCall call, ArvCamera* camera) {
    return static_cast<uint32_t>(std::max(Ask(call, camera).value_or(1), 1));
}

std::optional<Axis> ReadAxis(ArvCamera* camera, BoundsCall sizes, StepCall size_step,
                             StepCall start_step) {
    const auto size = AskBounds<gint>(sizes, camera);
    if (!size || size->min < 0 || size->max <= 0) return std::nullopt;
    return Axis{.limit = static_cast<uint32_t>(std::min(size->max, 65535)),
                .start_step = StepOf(start_step, camera),
                .size_min = static_cast<uint32_t>(std::max(size->min, 1)),
                .size_step = StepOf(size_step, camera)};
}

bool ReadAxes(ArvCamera* camera, Axes& axes) {
    // The largest size is that at the origin.
    if (Ask(arv_camera_is_region_offset_available, camera).value_or(FALSE) != FALSE) {
        Tell(arv_camera_set_integer, camera, "OffsetX", gint64{0});
        Tell(arv_camera_set_integer, camera, "OffsetY", gint64{0});
    }
    const auto columns =
        ReadAxis(camera, arv_camera_get_width_bounds, arv_camera_get_width_increment,
                 arv_camera_get_x_offset_increment);
    const auto rows = ReadAxis(camera, arv_camera_get_height_bounds,
                               arv_camera_get_height_increment, arv_camera_get_y_offset_increment);
    if (!columns || !rows) return false;
    axes = {.columns = *columns, .rows = *rows};
    return true;
}

// One format a depth: over a network the tightest, elsewhere the one that needs least work.
std::vector<const PixelFormat*> ReadFormats(ArvCamera* camera, bool network) {
    guint count = 0;
    const auto codes = Ask(arv_camera_dup_available_pixel_formats, camera, &count);
    if (!codes || *codes == nullptr) return {};
    const auto available = [&](const PixelFormat& format) {
        return std::find(*codes, *codes + count, gint64{format.code}) != *codes + count;
    };
    std::vector<const PixelFormat*> formats;
    for (const PixelFormat& format : PixelFormats()) {
        if (!available(format)) continue;
        if (formats.empty() || formats.back()->bits != format.bits)
            formats.push_back(&format);
        else if (network && format.StoredBits() < formats.back()->StoredBits())
            formats.back() = &format;
    }
    g_free(*codes);
    return formats;
}

// Equal steps, as many as there may be.
double WholeStep(const Bounds<double>& gain, gint64 increment) {
    const auto least = static_cast<double>(std::max(increment, gint64{1}));
    return least * std::max(std::ceil((gain.max - gain.min) / (gain_limit - 1) / least), 1.0);
}
double DecimalStep(const Bounds<double>& gain) {
    const double least = (gain.max - gain.min) / (gain_limit - 1);
    for (double decade = 0.1;; decade *= 10)
        for (const double step : {1.0, 2.0, 5.0})
            if (decade * step >= least) return decade * step;
}

// The first gain is the least one, and all there is where it can't be set.
void ReadGains(ArvCamera* camera, std::vector<double>& gains, std::vector<std::string>& names) {
    const auto bounds = AskBounds<double>(arv_camera_get_gain_bounds, camera);
    const std::string feature = FirstFeature(camera, {"Gain", "GainAbs", "GainRaw"});
    if (!bounds || feature.empty()) {
        gains = {0.0};
        names = {"Normal"};
        return;
    }
    ArvGcNode* node = arv_device_get_feature(arv_camera_get_device(camera), feature.c_str());
    const bool decimal = ARV_IS_GC_FLOAT(node);
    const char* unit = decimal ? arv_gc_float_get_unit(ARV_GC_FLOAT(node)) : nullptr;
    const double step =
        decimal
            ? DecimalStep(*bounds)
            : WholeStep(*bounds,
                        Ask(arv_camera_get_integer_increment, camera, feature.c_str()).value_or(1));
    for (size_t i = 0;; ++i) {
        const double gain = bounds->min + static_cast<double>(i) * step;
        if (gain > bounds->max + step * 0.001) break;
        std::array<char, 32> text{};
        std::snprintf(text.data(), text.size(), "%.6g%s%s", gain, unit != nullptr ? " " : "",
                      unit != nullptr ? unit : "");
        gains.push_back(std::min(gain, bounds->max));
        names.emplace_back(text.data());
    }
}

void DescribeReadout(ArvCamera* camera, Sheet& sheet) {
    std::vector<std::string> names;
    ReadGains(camera, sheet.gains, names);
    Model& model = sheet.model;
    // What the highest rate leaves for a pixel is as much as is known of its time.
    const auto rate = AskBounds<double>(arv_camera_get_frame_rate_bounds, camera);
    const double frame_ns = rate && rate->max > 0 ? 1e9 / rate->max : 0;
    const double pixels = 1.0 * model.geometry.columns * model.geometry.rows;
    firmware::ReadoutPort port{.name = "Normal"};
    for (const PixelFormat* format : sheet.formats)
        port.speeds.push_back({.pixel_time_ns = std::max(Word(frame_ns / pixels), uint16_t{1}),
                               .row_time_us = frame_ns / 1000 / model.geometry.rows,
                               .bits = format->bits,
                               .electrons_per_count = std::vector(names.size(), 1.0),
                               .gain_names = names,
                               .read_noise = std::vector(names.size(), 0.0)});
    model.ports = {std::move(port)};
    model.abilities.gain_name = true;
}

void DescribeExposure(Sheet& sheet) {
    // Zero is for the least that the camera can do.
    const auto range = [&](uint32_t resolution, double unit_us) {
        const double most = std::min(sheet.exposure_us.max / unit_us, 4294967295.0);
        return firmware::ExposureRange{
            .resolution = resolution, .min = 0, .max = static_cast<uint32_t>(most)};
    };
    sheet.model.exposure_resolutions = 3;
    sheet.model.extended->exposure_ranges = {range(EXP_RES_ONE_MILLISEC, 1e3),
                                             range(EXP_RES_ONE_MICROSEC, 1.0),
                                             range(EXP_RES_ONE_SEC, 1e6)};
}

void DescribeTriggers(ArvCamera* camera, firmware::Extended& extended) {
    extended.trigger_modes = {{EXT_TRIG_INTERNAL, "Internal Trigger"}};
    const std::vector<std::string> triggers = FeatureChoices(camera, "TriggerSelector");
    const auto add = [&](const char* trigger, uint16_t mode, const char* name) {
        if (std::ranges::find(triggers, trigger) != triggers.end())
            extended.trigger_modes.push_back({mode, name});
    };
    add("AcquisitionStart", EXT_TRIG_TRIG_FIRST, "Trigger First");
    add("FrameStart", EXT_TRIG_EDGE_RISING, "Edge Trigger");
}

void DescribeCooling(ArvCamera* camera, Sheet& sheet) {
    sheet.temperature =
        FirstFeature(camera, {"DeviceTemperature", "SensorTemperature", "TemperatureAbs"});
    sheet.setpoint = FirstFeature(
        camera, {"DeviceTemperatureSetpoint", "DeviceTemperatureSetPoint",
                 "SensorTemperatureSetpoint", "TargetTemperature", "TemperatureSetpoint"});
    Bounds<double> degrees;
    if (sheet.setpoint.empty() || !Tell(arv_camera_get_float_bounds, camera, sheet.setpoint.c_str(),
                                        &degrees.min, &degrees.max)) {
        sheet.setpoint.clear();
        return;
    }
    sheet.model.cooling = NORMAL_COOL;
    sheet.model.temperatures = {.min = Hundredths(degrees.min), .max = Hundredths(degrees.max)};
}

void DescribeBlackLevel(ArvCamera* camera, Sheet& sheet) {
    if (Ask(arv_camera_is_black_level_available, camera).value_or(FALSE) == FALSE) return;
    sheet.black_level = AskBounds<double>(arv_camera_get_black_level_bounds, camera);
    if (!sheet.black_level) return;
    sheet.model.abilities.adc_offset = true;
    const double now = Ask(arv_camera_get_black_level, camera).value_or(sheet.black_level->min);
    sheet.model.bias = static_cast<int16_t>(std::clamp(now, -32768.0, 32767.0));
}

}  // namespace

std::string NameOf(const Identity& identity) {
    const std::string ending = "-" + identity.serial;
    if (identity.model.empty() && identity.serial.empty()) return identity.address;
    if (identity.serial.empty()) return identity.model.substr(0, name_limit);
    if (ending.size() > name_limit) return identity.serial.substr(0, name_limit);
    return identity.model.substr(0, name_limit - ending.size()) + ending;
}

Model CoverSheet(const Identity& identity) {
    Model model;
    model.name = identity.model;
    model.driver_type = identity.network ? DRIVER_TYPE_SOFTWARE : DRIVER_TYPE_USB;
    model.dialect = firmware::Dialect::simplified;
    model.mpp = MPP_ALWAYS_OFF;
    model.cooling = NO_COOL;
    model.texts = {.chip = identity.model,
                   .vendor = identity.vendor,
                   .product = identity.model,
                   .serial = identity.serial};
    model.extended.emplace();
    model.extended->geometry_fixed = true;
    model.extended->port_names = true;
    model.extended->binnings = {{1, 1}, {2, 2}, {4, 4}, {8, 8}};
    model.extended->interfaces = {
        {identity.network ? OX_CAM_IFC_TYPE_ETHERNET : OX_CAM_IFC_TYPE_USB_3_0,
         OX_CAM_IFC_MODE_IMAGING}};
    return model;
}

std::optional<Sheet> ReadSheet(ArvCamera* camera, const Identity& identity, std::string& missing) {
    Sheet sheet;
    sheet.model = CoverSheet(identity);
    Model& model = sheet.model;
    sheet.formats = ReadFormats(camera, identity.network);
    FreeFrameRate(camera);
    const auto exposure = AskBounds<double>(arv_camera_get_exposure_time_bounds, camera);
    if (sheet.formats.empty()) missing = "a grey pixel format of 8 to 16 bits";
    if (!ReadAxes(camera, sheet.axes)) missing = "the size of its pictures";
    if (!exposure) missing = "an exposure time";
    if (!missing.empty()) return std::nullopt;

    sheet.exposure_us = *exposure;
    model.geometry.columns = static_cast<uint16_t>(sheet.axes.columns.LargestSize());
    model.geometry.rows = static_cast<uint16_t>(sheet.axes.rows.LargestSize());
    const std::string version = FirstFeature(camera, {"DeviceFirmwareVersion", "DeviceVersion"});
    model.texts.firmware = ReadFeature(camera, version).value_or("");
    DescribeReadout(camera, sheet);
    DescribeExposure(sheet);
    DescribeTriggers(camera, *model.extended);
    DescribeCooling(camera, sheet);
    DescribeBlackLevel(camera, sheet);
    return sheet;
}

}  // namespace genicam
