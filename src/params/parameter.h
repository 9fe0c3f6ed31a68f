#pragma once

#include <concepts>
#include <limits>
#include <span>
#include <string>
#include <type_traits>
#include <utility>

#include "orvex/orvex_params.h"
#include "orvex/orvex_types.h"

#include "state/call.h"
#include "state/camera_rows.h"

// What a parameter is made of. A parameter is one constexpr row: its id, the name of its getter,
// a shape, and whatever it answers differently from the shape.
namespace bv {

template <class T>
concept Number = std::is_integral_v<T> || std::is_enum_v<T>;

// A number on its way from a source to the caller's storage. Sources of floating values set only
// `real`; integers set both, so that a row need not care which of the two its parameter is.
struct Value {
    constexpr Value() = default;
    template <Number T>
    constexpr Value(T number)
        : integer(static_cast<int64>(number)), real(static_cast<flt64>(number)) {}
    template <Number T>
    Value(const Word<T>& word) : Value(word.get()) {}
    constexpr Value(flt64 number) : real(number) {}

    template <class T>
    T as() const {
        if constexpr (std::is_floating_point_v<T>)
            return static_cast<T>(real);
        else
            return static_cast<T>(integer);
    }

    int64 integer = 0;
    flt64 real = 0;
};

// Finds a number; what is wrong goes to the getter's own scope. 1 or 0.
using Source = boolean16 (*)(Call& call, int16 hcam, Value& value);

// What one attribute answers: nothing told, a constant, or what a source finds.
class Answer {
  public:
    constexpr Answer() = default;
    template <Number T>
    constexpr Answer(T number) : given_(true), constant_(number) {}
    template <std::convertible_to<Source> F>
    constexpr Answer(F source) : given_(true), sourced_(true), source_(source) {}

    constexpr bool given() const { return given_; }
    constexpr bool constant() const { return !sourced_; }
    constexpr int64 number() const { return constant_.integer; }
    boolean16 find(Call& call, int16 hcam, Value& value) const {
        if (sourced_) return source_(call, hcam, value);
        value = constant_;
        return OZ_OK;
    }

  private:
    bool given_ = false;
    bool sourced_ = false;
    Source source_ = nullptr;
    Value constant_;
};

// A function that a row may have. Whether it has one is kept beside it: where sanitizers are on,
// the compiler takes no comparison of a function's address as constant.
template <class F>
class Hook {
  public:
    constexpr Hook() = default;
    constexpr Hook(F* function) : given_(true), function_(function) {}

    constexpr explicit operator bool() const { return given_; }
    template <class... Arguments>
    auto operator()(Arguments&&... arguments) const {
        return function_(std::forward<Arguments>(arguments)...);
    }

  private:
    bool given_ = false;
    F* function_ = nullptr;
};

// A text that is kept somewhere, or made for this call.
struct Text {
    const char* text = "";
    std::string own;
};
using TextSource = boolean16(int16 hcam, Text& text);

// The entries of an enumerated parameter, from one of: the camera's container; two arrays of the
// camera's row, of interface types; a fixed list whose values are the indices.
struct EnumText {
    int32 value;
    const char* text;
};
struct Entries {
    nvp_container cam_reads_type::* container = nullptr;
    std::array<uns32, interface_types_max> cam_reads_type::* values = nullptr;
    std::span<const EnumText> texts = {};
    const char* other = "";  // text of a value that isn't in `texts`

    constexpr bool any() const { return container || values || !texts.empty(); }
    uns32 count(int16 hcam) const;
    int32 value_at(int16 hcam, uns32 index) const;
    const char* text_of(int16 hcam, uns32 index, int32 value) const;
};

// What a row answers when it tells nothing itself:
//            ATTR_COUNT  MIN            MAX             DEFAULT        INCREMENT
enum class Shape {
    fixed,  // 1          current        current         current        0
    range,  // 0          lowest of the type, highest    0              1
    onoff,  // 0          0              1               0              1
    text,   // length + 1 ""             ""              ""             ""
    items,  // entries    first          last            first          0
    bare,   // no answer but what the row tells
};

struct Parameter {
    uns32 id = 0;
    const char* getter = "";  // the name in the trace
    uns16 type = static_cast<uns16>(id >> 24);
    Answer access = ACC_READ_ONLY;
    Answer available = 1;
    // A parameter that isn't available answers only ATTR_TYPE, ATTR_ACCESS and ATTR_AVAIL, unless
    // its value is just the absence.
    bool answers_when_absent = false;
    bool needs_setup = false;  // answers only once a program is loaded
    // The source may have nothing to say and leave the caller's number as it is.
    bool keeps_value = false;
    Hook<boolean16(int16 hcam)> prepare = {};  // runs ahead of every attribute

    Shape shape = Shape::fixed;
    Answer current = {};
    Hook<TextSource> text = {};
    Entries entries = {};
    Answer count = {}, min = {}, max = {}, standard = {}, increment = {};

    // Answers all attributes but ATTR_TYPE, ATTR_ACCESS, ATTR_AVAIL and ATTR_COUNT, straight into
    // the caller's storage.
    Hook<boolean16(Call& call, int16 hcam, int16 param_attribute, void* param_value)> direct = {};
    // Answers everything, under a scope of its own.
    Hook<boolean16(int16 hcam, int16 param_attribute, void* param_value)> delegate = {};

    // One of: takes the value, read by the type's width; takes the caller's record; does something
    // whatever the value, which isn't read.
    Hook<boolean16(int16 hcam, Value value)> set = {};
    Hook<boolean16(int16 hcam, const void* param_value)> set_record = {};
    Hook<boolean16(int16 hcam)> act = {};
};

// The row of an id, or null.
const Parameter* FindParameter(uns32 param_id);
// All of a getter: scope, capability, answer, trace of what came out.
boolean16 AnswerAttribute(const Parameter& parameter, int16 hcam, int16 param_attribute,
                          void* param_value);

// Calls the visitor with a zero of the type that a TYPE_ code stands for; false for codes that are
// no numbers.
template <class Visitor>
bool VisitNumber(uns16 type, Visitor&& visitor) {
    switch (static_cast<orvex_type>(type)) {
        case TYPE_INT16: visitor(int16{}); return true;
        case TYPE_INT32:
        case TYPE_ENUM: visitor(int32{}); return true;
        case TYPE_FLT64: visitor(flt64{}); return true;
        case TYPE_UNS8: visitor(uns8{}); return true;
        case TYPE_UNS16:
        case TYPE_BOOLEAN: visitor(uns16{}); return true;
        case TYPE_UNS32: visitor(uns32{}); return true;
        case TYPE_UNS64: visitor(uns64{}); return true;
        case TYPE_INT8: visitor(int8{}); return true;
        case TYPE_INT64: visitor(int64{}); return true;
        case TYPE_FLT32: visitor(flt32{}); return true;
        case TYPE_CHAR_PTR:
        case TYPE_VOID_PTR:
        case TYPE_VOID_PTR_PTR:
        case TYPE_TIDAL_STREAM_TYPE:
        case TYPE_TIDAL_STREAM_TYPE_PTR: return false;
    }
    return false;
}

// The number that a caller's storage of some type holds.
Value LoadValue(uns16 type, const void* from);

namespace detail {

template <class T>
struct MemberOf;
template <class Row, class T>
struct MemberOf<T Row::*> {
    using row = Row;
};
template <class T>
struct ReadBy;
template <class T>
struct ReadBy<boolean16 (*)(int16, T*)> {
    using type = T;
};
template <class T>
struct RangeOf;
template <class T>
struct RangeOf<boolean16 (*)(int16, T*, T*)> {
    using type = T;
};
template <class T>
struct SetBy;
template <class T>
struct SetBy<boolean16 (*)(int16, T)> {
    using type = T;
};

inline const cam_reads_type& RowOf(int16 hcam, const cam_reads_type*) {
    return bv::ReadsOf(hcam);
}
inline const cam_cfg_type& RowOf(int16 hcam, const cam_cfg_type*) {
    return bv::ConfigOf(hcam);
}
inline const cam_info_type& RowOf(int16 hcam, const cam_info_type*) {
    return bv::InfoOf(hcam);
}
inline const decode_info_type& RowOf(int16 hcam, const decode_info_type*) {
    return bv::DecodeOf(hcam);
}

}  // namespace detail

// The camera's row of a table: row<cam_reads_type>(hcam).
template <class Row>
const Row& row(int16 hcam) {
    return detail::RowOf(hcam, static_cast<const Row*>(nullptr));
}

// The number in a field of one of the camera's rows; costs nothing.
template <auto Member>
boolean16 field(Call&, int16 hcam, Value& value) {
    value = row<typename detail::MemberOf<decltype(Member)>::row>(hcam).*Member;
    return OZ_OK;
}

// The index of the last of so many.
template <auto Member>
boolean16 last_of(Call&, int16 hcam, Value& value) {
    const auto total = row<typename detail::MemberOf<decltype(Member)>::row>(hcam).*Member;
    value = total > 0 ? total - 1 : 0;
    return OZ_OK;
}

// The value of a list's last item.
template <auto Container>
boolean16 last_item(Call&, int16 hcam, Value& value) {
    const nvp_container& container = row<cam_reads_type>(hcam).*Container;
    value = container.items[container.count ? container.count - 1 : 0].value;
    return OZ_OK;
}

enum class Bound { min, max, count };

// One side, or the width, of the range that a read such as range(hcam, &min, &max) yields.
template <auto Range, Bound Which>
boolean16 bound(Call&, int16 hcam, Value& value) {
    typename detail::RangeOf<decltype(Range)>::type min{}, max{};
    if (!Range(hcam, &min, &max)) return OZ_FAIL;
    switch (Which) {
        case Bound::min: value = min; break;
        case Bound::max: value = max; break;
        case Bound::count: value = max > min ? max - min + 1 : 1; break;
    }
    return OZ_OK;
}

// 1 when a capability bit is set.
template <auto Member, uns32 Bit>
boolean16 bit(Call&, int16 hcam, Value& value) {
    value = (row<typename detail::MemberOf<decltype(Member)>::row>(hcam).*Member & Bit) != 0;
    return OZ_OK;
}

// 1 when a list has entries.
template <auto Container>
boolean16 filled(Call&, int16 hcam, Value& value) {
    value = (row<cam_reads_type>(hcam).*Container).count != 0;
    return OZ_OK;
}

// The number that a read such as bv_ccd_get_tmp(hcam, &value) yields.
template <auto Read>
boolean16 asked(Call&, int16 hcam, Value& value) {
    auto number = static_cast<typename detail::ReadBy<decltype(Read)>::type>(value.integer);
    if (!Read(hcam, &number)) return OZ_FAIL;
    value = number;
    return OZ_OK;
}

// A text kept in the camera's row.
template <auto Member>
boolean16 kept(int16 hcam, Text& text) {
    text.text = row<cam_reads_type>(hcam).*Member;
    return OZ_OK;
}

// Hands a value to a setter such as bv_ccd_set_pmode(hcam, value).
template <auto Set>
boolean16 by(int16 hcam, Value value) {
    using T = typename detail::SetBy<decltype(Set)>::type;
    return Set(hcam, value.as<T>());
}

}  // namespace bv
