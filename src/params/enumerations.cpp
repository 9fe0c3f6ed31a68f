#include "params/enumerations.h"

#include <algorithm>
#include <cstring>

#include "log/enum_texts.h"
#include "params/dispatch.h"
#include "params/parameter.h"

using bv::arg;
using bv::Call;
using bv::hex_enumerated;

boolean16 oz_get_enum_value(int16 hcam, uns32 param_id, uns32 index, int32* value) {
    Call call("oz_get_enum_value", arg("hcam", hcam),
              hex_enumerated("param_id", param_id, bv_text_param_id), arg("index", index),
              arg("value", value));
    uns32 count = 0;
    if (!bv_get_param(hcam, param_id, ATTR_COUNT, &count)) {
        return call.fail_silently(C2_NOT_AVAILABLE);
    }
    if (index >= count) {
        return call.fail(C2_INDEX_OUT_OF_RANGE, "Index %u out of range, max. is %u", index, count);
    }
    if (!value) return call.fail(C0_NULL_POINTER, "Null storage for value given");
    const bv::Parameter* parameter = bv::FindParameter(param_id);
    *value = parameter ? parameter->entries.value_at(hcam, index) : static_cast<int32>(index);
    return call.ok(arg("*value", *value));
}

boolean16 oz_get_enum_string(int16 hcam, uns32 param_id, uns32 index, int32 value, uns32 length,
                             char* desc, uns32* max_length) {
    Call call("oz_get_enum_string", arg("hcam", hcam),
              hex_enumerated("param_id", param_id, bv_text_param_id), arg("index", index),
              arg("value", value), arg("length", length), arg("desc", static_cast<void*>(desc)),
              arg("max_length", max_length));
    if (!desc && !max_length && length == 0) {
        return call.fail(C0_NULL_POINTER, "Either desc with length or max_length has to be valid");
    }
    const bv::Parameter* parameter = bv::FindParameter(param_id);
    if (!parameter || !parameter->entries.any()) {
        return call.fail(C2_NOT_AVAILABLE, "Unhandled parameter");
    }
    const char* text = parameter->entries.text_of(hcam, index, value);
    const auto needed = static_cast<uns32>(std::strlen(text) + 1);
    if (desc && length != 0) {
        const uns32 copied = std::min(needed, length);
        std::memcpy(desc, text, copied);
        desc[copied - 1] = '\0';
    }
    if (max_length) *max_length = needed;
    return call.ok(arg("text", text));
}

boolean16 bv_get_enum_param(int16 hcam, uns32 param_id, uns32 index, int32* value, char* desc,
                            uns32 length) {
    Call call("bv_get_enum_param", arg("hcam", hcam),
              hex_enumerated("param_id", param_id, bv_text_param_id), arg("index", index),
              arg("value", value), arg("desc", static_cast<void*>(desc)), arg("length", length));
    if (!oz_get_enum_value(hcam, param_id, index, value)) return call.failed();
    if (!oz_get_enum_string(hcam, param_id, index, *value, length, desc, nullptr)) {
        return call.failed();
    }
    const char* shown = !desc ? "<null>" : length == 0 ? "<zero-size>" : desc;
    return call.ok(arg("*value", *value), arg("desc", shown));
}

boolean16 bv_enum_str_length(int16 hcam, uns32 param_id, uns32 index, uns32* length) {
    Call call("bv_enum_str_length", arg("hcam", hcam),
              hex_enumerated("param_id", param_id, bv_text_param_id), arg("index", index),
              arg("length", length));
    int32 value = 0;
    if (!oz_get_enum_value(hcam, param_id, index, &value)) return call.failed();
    if (!oz_get_enum_string(hcam, param_id, index, value, 0, nullptr, length)) return call.failed();
    return call.ok(arg("*length", *length));
}

boolean16 oz_is_enum_value_in_nvp(int32 value, const nvp_container* container) {
    Call call("oz_is_enum_value_in_nvp", arg("value", value), arg("container", container));
    if (container && value >= 0 && value <= std::numeric_limits<uns16>::max()) {
        for (uns16 i = 0; i < std::min(container->count, nvp_items_max); ++i) {
            const nvp_item& item = container->items[i];
            if (item.value != value) continue;
            if (call.tracing()) {
                call.returns(bv::words(bv::FormatText("TRUE ('%s')", item.name).c_str()));
            }
            return 1;
        }
    }
    call.returns(bv::words("FALSE"));
    return 0;
}
