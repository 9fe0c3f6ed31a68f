#include "orvex/facts.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>

#include "orvex/parameters.h"
#include "orvex/units.h"

namespace orvex {

namespace {

using Microseconds = std::chrono::sys_time<std::chrono::microseconds>;

std::string utc_text(Microseconds time, int digits) {
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(time - day);
    const auto part = clock.subseconds().count() / (digits == 3 ? 1000 : 1);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%0*d",
                  static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                  static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()), digits, static_cast<int>(part));
    return text.data();
}

// Calls `visit(name, value)` for each fact that stands for itself.
template <class AnyFacts, class Visit>
void each_fact(AnyFacts& f, Visit visit) {
    visit("camera", f.camera);
    visit("vendor", f.vendor);
    visit("product", f.product);
    visit("sensor", f.chip);
    visit("serial", f.serial);
    visit("start_utc", f.start_utc);
    visit("image_type", f.image_type);
    visit("exposure_ms", f.exposure_ms);
    visit("exposure_mode", f.exposure_mode);
    visit("bit_depth", f.bit_depth);
    visit("readout_port", f.readout_port);
    visit("pixel_time_ns", f.pixel_time_ns);
    visit("gain_index", f.gain_index);
    visit("gain_name", f.gain_name);
    visit("electrons_per_count", f.electrons_per_count);
    visit("multiplication_gain", f.multiplication_gain);
    visit("read_noise_electrons", f.read_noise_electrons);
    visit("adc_offset", f.adc_offset);
    visit("pixel_width_um", f.pixel_width_um);
    visit("pixel_height_um", f.pixel_height_um);
    visit("temperature_c", f.temperature_c);
    visit("setpoint_c", f.setpoint_c);
}

struct ToJson {
    nlohmann::ordered_json& out;

    void operator()(const char* name, const std::string& value) const {
        if (!value.empty()) out[name] = value;
    }
    template <class T>
    void operator()(const char* name, const std::optional<T>& value) const {
        if (value) out[name] = *value;
    }
    template <class T>
    void operator()(const char* name, T value) const {
        out[name] = value;
    }
};

struct FromJson {
    const nlohmann::ordered_json& in;

    template <class T>
    void operator()(const char* name, T& value) const {
        if (in.contains(name)) in.at(name).get_to(value);
    }
    template <class T>
    void operator()(const char* name, std::optional<T>& value) const {
        if (in.contains(name)) value = in.at(name).get<T>();
    }
};

template <uns32 Id>
std::optional<ParameterValue<Id>> known(const Camera& camera) {
    if (!camera.available(Id)) return std::nullopt;
    try {
        return camera.get<Id>();
    } catch (const Error&) {
        return std::nullopt;
    }
}

template <uns32 Id>
std::optional<double> measured(const Camera& camera, double steps) {
    const auto value = known<Id>(camera);
    return value ? std::optional(*value / steps) : std::nullopt;
}

}  // namespace

std::string utc_now() {
    using std::chrono::system_clock;
    return utc_text(std::chrono::floor<std::chrono::microseconds>(system_clock::now()), 3);
}

std::string utc_after(const std::string& start_utc, double seconds) {
    int year = 0, milliseconds = 0;
    unsigned month = 0, day = 0, hour = 0, minute = 0, second = 0;
    if (std::sscanf(start_utc.c_str(), "%d-%u-%uT%u:%u:%u.%d", &year, &month, &day, &hour, &minute,
                    &second, &milliseconds) != 7) {
        return {};
    }
    const Microseconds start =
        std::chrono::sys_days(std::chrono::year(year) / std::chrono::month(month) /
                              std::chrono::day(day)) +
        std::chrono::hours(hour) + std::chrono::minutes(minute) + std::chrono::seconds(second) +
        std::chrono::milliseconds(milliseconds);
    return utc_text(start + std::chrono::microseconds(std::llround(seconds * 1e6)), 6);
}

Facts read_facts(const Camera& camera) {
    Facts out;
    out.camera = camera.name();
    out.vendor = camera.get_or<PARAM_VENDOR_NAME>({});
    out.product = camera.get_or<PARAM_PRODUCT_NAME>({});
    out.chip = camera.get_or<PARAM_CHIP_NAME>({});
    out.serial = camera.get_or<PARAM_HEAD_SER_NUM_ALPHA>({});
    out.readout_port = value_text(camera, {"PARAM_READOUT_PORT", PARAM_READOUT_PORT}).value_or("");
    out.gain_name = camera.get_or<PARAM_GAIN_NAME>({});
    out.bit_depth = camera.get_or<PARAM_BIT_DEPTH>(16);
    out.gain_index = camera.get_or<PARAM_GAIN_INDEX>(1);
    out.pixel_time_ns = camera.get_or<PARAM_PIX_TIME>(0);
    out.pixel_width_um = measured<PARAM_PIX_SER_SIZE>(camera, 1000);
    out.pixel_height_um = measured<PARAM_PIX_PAR_SIZE>(camera, 1000);
    out.electrons_per_count = measured<PARAM_ACTUAL_GAIN>(camera, 100);
    out.read_noise_electrons = measured<PARAM_READ_NOISE>(camera, 100);
    out.adc_offset = known<PARAM_ADC_OFFSET>(camera);
    out.multiplication_gain = known<PARAM_GAIN_MULT_FACTOR>(camera);
    out.temperature_c = measured<PARAM_TEMP>(camera, 100);
    out.setpoint_c = measured<PARAM_TEMP_SETPOINT>(camera, 100);
    return out;
}

nlohmann::ordered_json facts_json(const Facts& facts) {
    nlohmann::ordered_json out;
    each_fact(facts, ToJson{out});
    const rgn_type& r = facts.region;
    // Pages are written before anybody knows how many there will be.
    if (facts.frames != 0) out["frames"] = facts.frames;
    out["width"] = facts.width;
    out["height"] = facts.height;
    out["region"] = {r.s1, r.p1, r.s2 - r.s1 + 1, r.p2 - r.p1 + 1};
    out["binning"] = {r.sbin, r.pbin};
    return out;
}

Facts facts_from_json(const nlohmann::ordered_json& json) {
    Facts out;
    each_fact(out, FromJson{json});
    return out;
}

std::string readout_text(const Facts& facts) {
    std::string text = facts.readout_port;
    if (facts.pixel_time_ns > 0) {
        text += (text.empty() ? "" : ", ") + with_unit(1000 / facts.pixel_time_ns, {"MHz"});
    }
    return text;
}

}  // namespace orvex
