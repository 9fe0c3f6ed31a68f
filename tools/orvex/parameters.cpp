#include "orvex/parameters.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <strings.h>

#include "orvex/names.h"
#include "orvex/units.h"

namespace orvex {

namespace {

// In the unit of the parameter. Null when the camera can't tell.
nlohmann::ordered_json read_value(const Parameter& parameter, int16 attribute) {
    const std::optional<Value> found = parameter.find(attribute);
    if (!found) return nullptr;
    const std::optional<Unit> unit = parameter.unit();
    return std::visit(
        [&](const auto& value) -> nlohmann::ordered_json {
            if constexpr (std::is_arithmetic_v<std::decay_t<decltype(value)>>) {
                if (unit && unit->steps > 1) return static_cast<double>(value) / unit->steps;
            }
            return value;
        },
        *found);
}

// As people read it.
std::string as_text(const nlohmann::ordered_json& value, ParameterId parameter) {
    if (value.is_string()) return value.get<std::string>();
    if (value.is_boolean()) return value.get<bool>() ? "on" : "off";
    const std::optional<Unit> unit = unit_of(parameter.id);
    if (!value.is_number()) return value.dump();
    return unit ? with_unit(value.get<double>(), *unit) : value.dump();
}

std::string without_front(const std::string& name) {
    const std::string plain = plain_name(name), front = "param-";
    return plain.starts_with(front) ? plain.substr(front.size()) : plain;
}

std::optional<uns32> parse_number(const std::string& text) {
    uns32 value = 0;
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] | 32) == 'x';
    const char* first = text.data() + (hex ? 2 : 0);
    const char* last = text.data() + text.size();
    const auto [end, error] = std::from_chars(first, last, value, hex ? 16 : 10);
    return error == std::errc() && end == last ? std::optional(value) : std::nullopt;
}

[[noreturn]] void refuse_value(const Camera& camera, ParameterId parameter,
                               const std::string& text) {
    throw std::invalid_argument("'" + text + "' is no value of " + parameter.name + "; legal are " +
                                legal_values(camera, parameter));
}

// The number that a text stands for, in the steps of the library; nothing when it stands for none.
std::optional<double> number_from_text(const Parameter& parameter, const std::string& text) {
    for (const EnumEntry& entry : parameter.entries()) {
        if (strcasecmp(entry.text.c_str(), text.c_str()) == 0) return entry.value;
    }
    if (parameter.type() == TYPE_BOOLEAN) {
        for (const char* yes : {"on", "true", "yes"}) {
            if (strcasecmp(yes, text.c_str()) == 0) return 1;
        }
        for (const char* no : {"off", "false", "no"}) {
            if (strcasecmp(no, text.c_str()) == 0) return 0;
        }
    }
    size_t used = 0;
    double value = 0;
    try {
        value = std::stod(text, &used);
    } catch (const std::exception&) {
        return std::nullopt;
    }
    const std::optional<Unit> unit = parameter.unit();
    std::string rest = text.substr(used);
    rest.erase(0, rest.find_first_not_of(' '));
    if ((!rest.empty() && !(unit && rest == unit->name)) || !std::isfinite(value)) {
        return std::nullopt;
    }
    return unit ? unit->to_steps(value) : value;
}

}  // namespace

ParameterId find_parameter(const std::string& name) {
    const std::string wanted = without_front(name);
    const std::optional<uns32> number = parse_number(name);
    std::vector<std::string> names;
    for (const ParameterId& parameter : all_parameters()) {
        if (without_front(parameter.name) == wanted || number == parameter.id) return parameter;
        names.push_back(std::string(parameter.name).substr(6));
    }
    const std::string near = did_you_mean(wanted, names);
    throw std::invalid_argument("there is no parameter '" + name + "'" +
                                (near.empty() ? "; 'orvex params CAMERA' lists them" : near));
}

std::string type_name(uns32 type) {
    switch (type) {
#define ORVEX_TYPE_CASE(name, value) \
    case value: return std::string(#name).substr(5);
        ORVEX_TYPES(ORVEX_TYPE_CASE)
#undef ORVEX_TYPE_CASE
    }
    return std::to_string(type);
}

std::string access_name(uns32 access) {
    switch (access) {
        case ACC_READ_ONLY: return "read-only";
        case ACC_READ_WRITE: return "read-write";
        case ACC_EXIST_CHECK_ONLY: return "exists";
        case ACC_WRITE_ONLY: return "write-only";
    }
    return std::to_string(access);
}

nlohmann::ordered_json value_json(const Camera& camera, ParameterId id) {
    const Parameter parameter(camera, id);
    nlohmann::ordered_json value = read_value(parameter, ATTR_CURRENT);
    if (value.is_null()) return value;
    nlohmann::ordered_json out = {{"value", value}};
    if (const std::optional<Unit> unit = parameter.unit()) out["unit"] = unit->name;
    for (const EnumEntry& entry : parameter.entries()) {
        if (value == entry.value) out["text"] = entry.text;
    }
    return out;
}

std::optional<std::string> value_text(const Camera& camera, ParameterId id, int16 attribute) {
    const Parameter parameter(camera, id);
    const nlohmann::ordered_json value = read_value(parameter, attribute);
    if (value.is_null()) return std::nullopt;
    for (const EnumEntry& entry : parameter.entries()) {
        if (value == entry.value) return entry.text;
    }
    return as_text(value, id);
}

nlohmann::ordered_json reflect(const Camera& camera, ParameterId id) {
    const Parameter parameter(camera, id);
    nlohmann::ordered_json out;
    out["name"] = id.name;
    std::array<char, 16> hex{};
    std::snprintf(hex.data(), hex.size(), "0x%08X", id.id);
    out["id"] = hex.data();
    out["type"] = type_name(parameter.type());
    if (const std::optional<uns16> access = parameter.access()) {
        out["access"] = access_name(*access);
    }
    if (const std::optional<Unit> unit = parameter.unit()) {
        out["unit"] = unit->name;
        // What a step of the library's number is worth.
        if (unit->steps > 1) out["scale"] = 1.0 / unit->steps;
    }
    out["available"] = parameter.available();
    if (!out["available"].get<bool>()) return out;
    const std::pair<const char*, int16> attributes[] = {{"value", ATTR_CURRENT},
                                                        {"min", ATTR_MIN},
                                                        {"max", ATTR_MAX},
                                                        {"default", ATTR_DEFAULT},
                                                        {"increment", ATTR_INCREMENT}};
    for (const auto& [key, attribute] : attributes) {
        nlohmann::ordered_json value = read_value(parameter, attribute);
        if (!value.is_null()) out[key] = std::move(value);
    }
    for (const EnumEntry& entry : parameter.entries()) {
        out["list"].push_back({{"value", entry.value}, {"text", entry.text}});
    }
    return out;
}

std::string legal_values(const Camera& camera, ParameterId id) {
    const Parameter parameter(camera, id);
    const uns32 type = parameter.type();
    if (type == TYPE_BOOLEAN) return "on and off";
    if (type == TYPE_ENUM) {
        std::string list;
        for (const EnumEntry& entry : parameter.entries()) {
            if (!list.empty()) list += ", ";
            list += "'" + entry.text + "' (" + std::to_string(entry.value) + ")";
        }
        return list.empty() ? "none" : list;
    }
    const nlohmann::ordered_json low = read_value(parameter, ATTR_MIN);
    const nlohmann::ordered_json high = read_value(parameter, ATTR_MAX);
    if (low.is_null() || high.is_null()) return "unknown";
    return as_text(low, id) + " to " + as_text(high, id);
}

void set_from_text(const Camera& camera, ParameterId id, const std::string& text) {
    const Parameter parameter(camera, id);
    const uns32 type = parameter.type();
    if (type == TYPE_CHAR_PTR || type == TYPE_TIDAL_STREAM_TYPE ||
        type == TYPE_TIDAL_STREAM_TYPE_PTR) {
        throw std::invalid_argument(std::string(id.name) + " can't be set from a text");
    }
    const std::optional<double> number = number_from_text(parameter, text);
    if (!number) refuse_value(camera, id, text);
    try {
        parameter.set(*number);
    } catch (const std::invalid_argument&) {
        refuse_value(camera, id, text);
    } catch (const Error& error) {
        const Error refused("cannot set " + std::string(id.name) + " to '" + text + "'",
                            error.code());
        // What the parameter would take is told only where it can be set at all.
        if (!parameter.available() || parameter.access() != ACC_READ_WRITE) throw refused;
        throw std::runtime_error(std::string(refused.what()) + "; legal are " +
                                 legal_values(camera, id));
    }
}

}  // namespace orvex
