/**
 * @file parameter_types.hpp
 * C++ types of parameter values, known from the ids.
 */
#ifndef ORVEX_CPP_PARAMETER_TYPES_HPP
#define ORVEX_CPP_PARAMETER_TYPES_HPP

#include <string>
#include <vector>

#include "../orvex.h"

namespace orvex {

namespace detail {

/** What the library reads and writes for a TYPE_ code, and what stands for it in C++. */
template <uns32 Type>
struct TypeTraits;

#define ORVEX_CPP_NUMBERS(X)    \
    X(TYPE_INT8, int8, int8)    \
    X(TYPE_UNS8, uns8, uns8)    \
    X(TYPE_INT16, int16, int16) \
    X(TYPE_UNS16, uns16, uns16) \
    X(TYPE_INT32, int32, int32) \
    X(TYPE_UNS32, uns32, uns32) \
    X(TYPE_INT64, int64, int64) \
    X(TYPE_UNS64, uns64, uns64) \
    X(TYPE_FLT32, flt32, flt32) \
    X(TYPE_FLT64, flt64, flt64) \
    X(TYPE_ENUM, int32, int32)  \
    X(TYPE_BOOLEAN, boolean16, bool)
#define ORVEX_CPP_TRAITS(type, storage, value) \
    template <>                                \
    struct TypeTraits<type> {                  \
        using Storage = storage;               \
        using Value = value;                   \
    };
ORVEX_CPP_NUMBERS(ORVEX_CPP_TRAITS)
template <>
struct TypeTraits<TYPE_CHAR_PTR> {
    using Value = std::string;
};
template <>
struct TypeTraits<TYPE_TIDAL_STREAM_TYPE> {
    using Value = std::vector<uns32>;
};

/** The type of a value, which stands in the id of all but a few. */
constexpr uns32 value_type(uns32 id) {
    switch (id) {
        case PARAM_ACCUM_FLAG:
        case PARAM_PAIRED_FLAG: return TYPE_BOOLEAN;
        case PARAM_PP_FEAT_ID:
        case PARAM_PP_PARAM_ID: return TYPE_UNS32;
        case PARAM_TIDAL_STREAM_EXP_PARAMS:
        case PARAM_TIDAL_STREAM_DLY_PARAMS: return TYPE_TIDAL_STREAM_TYPE;
        default: return id >> 24;
    }
}

/** Calls `use` with a zero of the storage of a number; false for types that hold none. */
template <class Use>
bool with_storage(uns32 type, Use&& use) {
    switch (type) {
#define ORVEX_CPP_CASE(type, storage, value) \
    case type: use(storage{}); return true;
        ORVEX_CPP_NUMBERS(ORVEX_CPP_CASE)
        default: return false;
    }
}
#undef ORVEX_CPP_CASE
#undef ORVEX_CPP_TRAITS
#undef ORVEX_CPP_NUMBERS

}  // namespace detail

/**
 * What the value of a parameter is in C++: int16 for PARAM_TEMP, bool for a boolean, int32 for an
 * enumeration, std::string for a text, std::vector<uns32> for a list of exposures.
 */
template <uns32 Id>
using ParameterValue = typename detail::TypeTraits<detail::value_type(Id)>::Value;

}  // namespace orvex

#endif
