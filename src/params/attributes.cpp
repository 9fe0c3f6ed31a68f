#include <algorithm>
#include <cstring>
#include <optional>

#include "log/enum_texts.h"
#include "params/parameter.h"

namespace bv {

namespace {

// Writes a number in the parameter's own type and ends the call with it.
boolean16 Reply(Call& call, uns16 type, const Value& value, void* param_value) {
    VisitNumber(type, [&](auto zero) {
        const auto number = value.as<decltype(zero)>();
        std::memcpy(param_value, &number, sizeof number);
        call.ok(arg("*param_value", number));
    });
    return OZ_OK;
}

boolean16 ReplyText(Call& call, const char* text, void* param_value) {
    std::memcpy(param_value, text, std::strlen(text) + 1);
    return call.ok(quoted("*param_value", text));
}

boolean16 UnknownAttribute(Call& call, int16 param_attribute) {
    return call.fail(C2_NOT_AVAILABLE, "Unknown parameter attribute %d", param_attribute);
}

// What a row itself tells of an attribute; null for one that doesn't exist.
const Answer* Told(const Parameter& parameter, int16 param_attribute) {
    switch (param_attribute) {
        case ATTR_CURRENT: return &parameter.current;
        case ATTR_COUNT: return &parameter.count;
        case ATTR_MIN: return &parameter.min;
        case ATTR_MAX: return &parameter.max;
        case ATTR_DEFAULT: return &parameter.standard;
        case ATTR_INCREMENT: return &parameter.increment;
        default: return nullptr;
    }
}

Value Limit(uns16 type, bool highest) {
    Value limit;
    VisitNumber(type, [&](auto zero) {
        using Limits = std::numeric_limits<decltype(zero)>;
        limit = highest ? Limits::max() : Limits::lowest();
    });
    return limit;
}

struct Bounds {
    Value count, min, max, standard, increment;

    const Value& of(int16 param_attribute) const {
        switch (param_attribute) {
            case ATTR_COUNT: return count;
            case ATTR_MIN: return min;
            case ATTR_MAX: return max;
            case ATTR_DEFAULT: return standard;
            default: return increment;
        }
    }
};

Bounds BoundsOfEntries(const Entries& entries, int16 hcam) {
    const uns32 count = entries.count(hcam);
    const int32 first = entries.value_at(hcam, 0);
    const int32 last = entries.value_at(hcam, count ? count - 1 : 0);
    return {count, first, last, first, 0};
}

// What the row's shape says of an attribute that the row doesn't tell.
boolean16 FindByShape(Call& call, const Parameter& parameter, int16 hcam, int16 param_attribute,
                      Value& value) {
    if (param_attribute == ATTR_CURRENT) return UnknownAttribute(call, param_attribute);
    switch (parameter.shape) {
        case Shape::fixed:
            if (param_attribute != ATTR_COUNT && param_attribute != ATTR_INCREMENT) {
                return parameter.current.find(call, hcam, value);
            }
            value = param_attribute == ATTR_COUNT;
            return OZ_OK;
        case Shape::range:
            value = Bounds{0, Limit(parameter.type, false), Limit(parameter.type, true), 0, 1}.of(
                param_attribute);
            return OZ_OK;
        case Shape::onoff: value = Bounds{0, 0, 1, 0, 1}.of(param_attribute); return OZ_OK;
        case Shape::items:
            value = BoundsOfEntries(parameter.entries, hcam).of(param_attribute);
            return OZ_OK;
        case Shape::text:
        case Shape::bare: break;
    }
    return UnknownAttribute(call, param_attribute);
}

boolean16 AnswerText(Call& call, const Parameter& parameter, int16 hcam, int16 param_attribute,
                     void* param_value) {
    if (param_attribute != ATTR_CURRENT && param_attribute != ATTR_COUNT) {
        return ReplyText(call, "", param_value);
    }
    Text text;
    if (!parameter.text(hcam, text)) return call.failed();
    if (param_attribute == ATTR_CURRENT) return ReplyText(call, text.text, param_value);
    return Reply(call, TYPE_UNS32, std::strlen(text.text) + 1, param_value);
}

boolean16 AnswerNumber(Call& call, const Parameter& parameter, int16 hcam, int16 param_attribute,
                       const Answer& told, void* param_value) {
    const uns16 type = param_attribute == ATTR_COUNT ? uns16{TYPE_UNS32} : parameter.type;
    Value value;
    if (parameter.keeps_value) value = LoadValue(type, param_value);
    if (!(told.given() ? told.find(call, hcam, value)
                       : FindByShape(call, parameter, hcam, param_attribute, value))) {
        return call.failed();
    }
    return Reply(call, type, value, param_value);
}

// The attributes that every parameter answers on every camera.
const Answer* AlwaysTold(const Parameter& parameter, int16 param_attribute) {
    switch (param_attribute) {
        case ATTR_ACCESS: return &parameter.access;
        case ATTR_AVAIL: return &parameter.available;
        default: return nullptr;
    }
}

// 1 when the camera has what the parameter is about.
boolean16 RequireCapability(Call& call, const Parameter& parameter, int16 hcam) {
    if (parameter.answers_when_absent) return OZ_OK;
    Value available;
    if (!parameter.available.find(call, hcam, available)) return call.failed();
    if (available.integer) return OZ_OK;
    return call.fail(C2_NOT_AVAILABLE, "Parameter not available");
}

// 1 when the parameter has a value already.
boolean16 RequireSetup(Call& call, const Parameter& parameter, int16 hcam) {
    if (parameter.needs_setup && !row<cam_info_type>(hcam).script_valid) {
        return call.fail(C0_ACQ_NOT_CONFIGURED, "Parameter not available before first setup");
    }
    return OZ_OK;
}

}  // namespace

Value LoadValue(uns16 type, const void* from) {
    Value value;
    VisitNumber(type, [&](auto number) {
        std::memcpy(&number, from, sizeof number);
        if constexpr (std::is_floating_point_v<decltype(number)>) {
            value = static_cast<flt64>(number);
        } else {
            value = number;
        }
    });
    return value;
}

boolean16 AnswerAttribute(const Parameter& parameter, int16 hcam, int16 param_attribute,
                          void* param_value) {
    if (parameter.delegate) return parameter.delegate(hcam, param_attribute, param_value);

    Call call(parameter.getter, arg("hcam", hcam),
              enumerated("param_attribute", param_attribute, bv_text_attribute),
              arg("param_value", param_value));
    if (parameter.prepare && !parameter.prepare(hcam)) return call.failed();
    if (param_attribute == ATTR_TYPE) return Reply(call, TYPE_UNS16, parameter.type, param_value);
    if (const Answer* always = AlwaysTold(parameter, param_attribute)) {
        Value value;
        if (!always->find(call, hcam, value)) return call.failed();
        return Reply(call, TYPE_UNS16, value, param_value);
    }
    if (!RequireCapability(call, parameter, hcam)) return OZ_FAIL;
    if (!RequireSetup(call, parameter, hcam)) return OZ_FAIL;
    const Answer* told = Told(parameter, param_attribute);
    if (!told) return UnknownAttribute(call, param_attribute);
    if (parameter.text) return AnswerText(call, parameter, hcam, param_attribute, param_value);
    if (parameter.direct && param_attribute != ATTR_COUNT) {
        return parameter.direct(call, hcam, param_attribute, param_value);
    }
    return AnswerNumber(call, parameter, hcam, param_attribute, *told, param_value);
}

uns32 Entries::count(int16 hcam) const {
    const cam_reads_type& reads = row<cam_reads_type>(hcam);
    if (container) return (reads.*container).count;
    if (values) return std::min<uns32>(reads.ifc_total, interface_types_max);
    return static_cast<uns32>(texts.size());
}

int32 Entries::value_at(int16 hcam, uns32 index) const {
    const cam_reads_type& reads = row<cam_reads_type>(hcam);
    if (container) return index < nvp_items_max ? (reads.*container).items[index].value : 0;
    if (values) {
        return index < interface_types_max ? static_cast<int32>((reads.*values)[index]) : 0;
    }
    return static_cast<int32>(index);
}

const char* Entries::text_of(int16 hcam, uns32 index, int32 value) const {
    if (container) {
        return index < nvp_items_max ? (row<cam_reads_type>(hcam).*container).items[index].name
                                     : other;
    }
    for (const EnumText& entry : texts) {
        if (entry.value == value) return entry.text;
    }
    return other;
}

}  // namespace bv
