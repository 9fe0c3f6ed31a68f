#include "log/enum_texts.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <iterator>

namespace {

struct NamedValue {
    int64 value;
    const char* name;
};

constexpr const char* unknown_name = "<UNKNOWN>";

template <size_t N>
const char* NameOf(const NamedValue (&names)[N], int64 value) {
    for (const NamedValue& row : names) {
        if (row.value == value) return row.name;
    }
    return unknown_name;
}

#define NAMED_VALUE(name, value) {value, #name},

constexpr NamedValue param_names[] = {ORVEX_PARAMS(NAMED_VALUE)};
constexpr NamedValue read_status_names[] = {ORVEX_READ_STATUSES(NAMED_VALUE)};

constexpr bool ById(const NamedValue& a, const NamedValue& b) {
    return a.value < b.value;
}
static_assert(std::is_sorted(std::begin(param_names), std::end(param_names), ById));

}  // namespace

#define ENUM_TEXT(function, type, list)                            \
    const char* function(type value) {                             \
        static constexpr NamedValue names[] = {list(NAMED_VALUE)}; \
        return NameOf(names, value);                               \
    }
ORVEX_ENUM_TEXTS(ENUM_TEXT)

const char* bv_text_read_status(int32 value) {
    if (value == READOUT_COMPLETE) return "READOUT_COMPLETE/FRAME_AVAILABLE";
    return NameOf(read_status_names, value);
}

const char* bv_text_param_id(uns32 value) {
    const NamedValue wanted{value, nullptr};
    const NamedValue* row =
        std::lower_bound(std::begin(param_names), std::end(param_names), wanted, ById);
    return row != std::end(param_names) && row->value == value ? row->name : unknown_name;
}

const char* bv_text_exp_mode_combined(uns16 value) {
    constexpr uns16 low_byte = 0xFF;
    if (value <= low_byte) return bv_text_exp_mode(value);
    thread_local std::array<char, 64> text;
    std::snprintf(text.data(), text.size(), "%s|%s", bv_text_exp_mode(value & ~low_byte),
                  bv_text_expose_out(value & low_byte));
    return text.data();
}
