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

// What the parameter says of its values, which a few know better than their ids.
uns32 value_type(const Camera& camera, ParameterId parameter) {
    uns16 type = 0;
    return ox_get_param(camera.handle(), parameter.id, ATTR_TYPE, &type) ? type
                                                                         : parameter.id >> 24;
}

// Calls `use` with a value of the parameter's storage type.
template <class Use>
auto with_storage(uns32 type, Use use) {
    switch (type) {
        case TYPE_INT8: return use(int8{});
        case TYPE_UNS8: return use(uns8{});
        case TYPE_INT16: return use(int16{});
        case TYPE_UNS16: return use(uns16{});
        case TYPE_BOOLEAN: return use(boolean16{});
        case TYPE_INT32:
        case TYPE_ENUM: return use(int32{});
        case TYPE_UNS32: return use(uns32{});
        case TYPE_INT64: return use(int64{});
        case TYPE_UNS64: return use(uns64{});
        case TYPE_FLT32: return use(flt32{});
        default: return use(flt64{});
    }
}

bool is_stream(uns32 type) {
    return type == TYPE_TIDAL_STREAM_TYPE || type == TYPE_TIDAL_STREAM_TYPE_PTR;
}

nlohmann::ordered_json read_stream(const Camera& camera, ParameterId parameter) {
    uns32 count = 0;
    if (!ox_get_param(camera.handle(), parameter.id, ATTR_COUNT, &count)) return nullptr;
    std::vector<uns32> values(std::min<uns32>(count, 65535));
    tidal_stream_type stream{static_cast<uns16>(values.size()), values.data()};
    if (count == 0) return nlohmann::ordered_json::array();
    if (!ox_get_param(camera.handle(), parameter.id, ATTR_CURRENT, &stream)) return nullptr;
    return values;
}

// In the unit of the parameter. Null when the camera can't tell.
nlohmann::ordered_json read_value(const Camera& camera, ParameterId parameter, int16 attribute) {
    const uns32 type = value_type(camera, parameter);
    if (is_stream(type)) {
        return attribute == ATTR_CURRENT ? read_stream(camera, parameter) : nullptr;
    }
    if (type == TYPE_CHAR_PTR) {
        std::vector<char> buffer(4096);
        if (!ox_get_param(camera.handle(), parameter.id, attribute, buffer.data())) return nullptr;
        return std::string(buffer.data());
    }
    return with_storage(type, [&](auto storage) -> nlohmann::ordered_json {
        if (!ox_get_param(camera.handle(), parameter.id, attribute, &storage)) return nullptr;
        if (type == TYPE_BOOLEAN) return storage != 0;
        const std::optional<Unit> unit = unit_of(parameter.id);
        if (unit && unit->steps > 1) return static_cast<double>(storage) / unit->steps;
        return storage;
    });
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

// The number that a text stands for, in the steps of the library.
double number_from_text(const Camera& camera, ParameterId parameter, const std::string& text) {
    const uns32 type = value_type(camera, parameter);
    if (type == TYPE_ENUM) {
        for (const EnumItem& item : enum_items(camera, parameter)) {
            if (strcasecmp(item.text.c_str(), text.c_str()) == 0) return item.value;
        }
    }
    if (type == TYPE_BOOLEAN) {
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
        refuse_value(camera, parameter, text);
    }
    const std::optional<Unit> unit = unit_of(parameter.id);
    std::string rest = text.substr(used);
    rest.erase(0, rest.find_first_not_of(' '));
    if ((!rest.empty() && !(unit && rest == unit->name)) || !std::isfinite(value)) {
        refuse_value(camera, parameter, text);
    }
    const double steps = value * (unit ? unit->steps : 1);
    // 0.29 C are 29 steps, although 0.29 times 100 is a little less in binary.
    return unit && unit->steps > 1 && std::abs(steps - std::round(steps)) < 1e-6 ? std::round(steps)
                                                                                 : steps;
}

}  // namespace

const std::vector<ParameterId>& all_parameters() {
#define ORVEX_PARAMETER_ROW(name, id) {#name, id},
    static const std::vector<ParameterId> parameters = {ORVEX_PARAMS(ORVEX_PARAMETER_ROW)};
#undef ORVEX_PARAMETER_ROW
    return parameters;
}

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

std::vector<EnumItem> enum_items(const Camera& camera, ParameterId parameter) {
    std::vector<EnumItem> items;
    uns32 count = 0;
    if (!ox_get_param(camera.handle(), parameter.id, ATTR_COUNT, &count)) return items;
    for (uns32 i = 0; i < count; ++i) {
        int32 value = 0;
        std::array<char, 256> text{};
        if (!ox_get_enum_param(camera.handle(), parameter.id, i, &value, text.data(),
                               static_cast<uns32>(text.size()))) {
            break;
        }
        items.push_back({value, text.data()});
    }
    return items;
}

nlohmann::ordered_json value_json(const Camera& camera, ParameterId parameter) {
    nlohmann::ordered_json value = read_value(camera, parameter, ATTR_CURRENT);
    if (value.is_null()) return value;
    nlohmann::ordered_json out = {{"value", value}};
    if (const std::optional<Unit> unit = unit_of(parameter.id)) out["unit"] = unit->name;
    if (value_type(camera, parameter) != TYPE_ENUM) return out;
    for (const EnumItem& item : enum_items(camera, parameter)) {
        if (value == item.value) out["text"] = item.text;
    }
    return out;
}

std::optional<std::string> value_text(const Camera& camera, ParameterId parameter,
                                      int16 attribute) {
    const nlohmann::ordered_json value = read_value(camera, parameter, attribute);
    if (value.is_null()) return std::nullopt;
    if (value_type(camera, parameter) == TYPE_ENUM) {
        for (const EnumItem& item : enum_items(camera, parameter)) {
            if (value == item.value) return item.text;
        }
    }
    return as_text(value, parameter);
}

nlohmann::ordered_json reflect(const Camera& camera, ParameterId parameter) {
    nlohmann::ordered_json out;
    out["name"] = parameter.name;
    std::array<char, 16> hex{};
    std::snprintf(hex.data(), hex.size(), "0x%08X", parameter.id);
    out["id"] = hex.data();
    out["type"] = type_name(value_type(camera, parameter));
    uns16 access = 0;
    if (ox_get_param(camera.handle(), parameter.id, ATTR_ACCESS, &access)) {
        out["access"] = access_name(access);
    }
    if (const std::optional<Unit> unit = unit_of(parameter.id)) {
        out["unit"] = unit->name;
        // What a step of the library's number is worth.
        if (unit->steps > 1) out["scale"] = 1.0 / unit->steps;
    }
    out["available"] = camera.available(parameter.id);
    if (!out["available"].get<bool>()) return out;
    const std::pair<const char*, int16> attributes[] = {{"value", ATTR_CURRENT},
                                                        {"min", ATTR_MIN},
                                                        {"max", ATTR_MAX},
                                                        {"default", ATTR_DEFAULT},
                                                        {"increment", ATTR_INCREMENT}};
    for (const auto& [key, attribute] : attributes) {
        nlohmann::ordered_json value = read_value(camera, parameter, attribute);
        if (!value.is_null()) out[key] = std::move(value);
    }
    if (value_type(camera, parameter) == TYPE_ENUM) {
        for (const EnumItem& item : enum_items(camera, parameter)) {
            out["list"].push_back({{"value", item.value}, {"text", item.text}});
        }
    }
    return out;
}

std::string legal_values(const Camera& camera, ParameterId parameter) {
    const uns32 type = value_type(camera, parameter);
    if (type == TYPE_BOOLEAN) return "on and off";
    if (type == TYPE_ENUM) {
        std::string list;
        for (const EnumItem& item : enum_items(camera, parameter)) {
            if (!list.empty()) list += ", ";
            list += "'" + item.text + "' (" + std::to_string(item.value) + ")";
        }
        return list.empty() ? "none" : list;
    }
    const nlohmann::ordered_json low = read_value(camera, parameter, ATTR_MIN);
    const nlohmann::ordered_json high = read_value(camera, parameter, ATTR_MAX);
    if (low.is_null() || high.is_null()) return "unknown";
    return as_text(low, parameter) + " to " + as_text(high, parameter);
}

void set_from_text(const Camera& camera, ParameterId parameter, const std::string& text) {
    const uns32 type = value_type(camera, parameter);
    if (type == TYPE_CHAR_PTR || is_stream(type)) {
        throw std::invalid_argument(std::string(parameter.name) + " can't be set from a text");
    }
    const double number = number_from_text(camera, parameter, text);
    with_storage(type, [&](auto storage) {
        using T = decltype(storage);
        if (!std::is_floating_point_v<T> &&
            (number < static_cast<double>(std::numeric_limits<T>::min()) ||
             number > static_cast<double>(std::numeric_limits<T>::max()) ||
             number != std::floor(number))) {
            refuse_value(camera, parameter, text);
        }
        storage = static_cast<T>(number);
        if (!ox_set_param(camera.handle(), parameter.id, &storage)) {
            const LibraryError refused("cannot set " + std::string(parameter.name) + " to '" +
                                       text + "'");
            // What the parameter would take is told only where it can be set at all.
            uns16 access = 0;
            const bool writable =
                camera.available(parameter.id) &&
                ox_get_param(camera.handle(), parameter.id, ATTR_ACCESS, &access) &&
                access == ACC_READ_WRITE;
            if (!writable) throw refused;
            throw std::runtime_error(std::string(refused.what()) + "; legal are " +
                                     legal_values(camera, parameter));
        }
    });
}

}  // namespace orvex
