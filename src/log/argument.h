#pragma once

#include <string>
#include <type_traits>

#include "log/log.h"

// Arguments and results of traced calls, as "name=value". The kind of print follows from the type:
// integers in decimal, pointers as addresses, texts as they are, booleans as TRUE and FALSE.
// Nothing is formatted until a trace asks for it.
namespace bv {

template <class T>
struct Arg {
    const char* name;
    T value;
};

// name=value
template <class T>
Arg<T> arg(const char* name, T value) {
    return {name, value};
}

template <class T, class Key>
struct EnumArg {
    const char* name;
    T value;
    const char* (*text)(Key);
};

// name=TEXT(value)
template <class T, class Key>
EnumArg<T, Key> enumerated(const char* name, T value, const char* (*text)(Key)) {
    return {name, value, text};
}

template <class T, class Key>
struct HexEnumArg {
    const char* name;
    T value;
    const char* (*text)(Key);
};

// name=TEXT(0x0000abcd)
template <class T, class Key>
HexEnumArg<T, Key> hex_enumerated(const char* name, T value, const char* (*text)(Key)) {
    return {name, value, text};
}

struct QuotedArg {
    const char* name;
    const char* value;
};

// name='text'
inline QuotedArg quoted(const char* name, const char* value) {
    return {name, value};
}

struct Words {
    const char* words;
};

// A piece of fixed text in the place of an argument.
inline Words words(const char* text) {
    return {text};
}

template <class T>
void AppendValue(std::string& out, T value) {
    if constexpr (std::is_same_v<T, const char*> || std::is_same_v<T, char*>) {
        out += value ? value : "<null>";
    } else if constexpr (std::is_same_v<T, bool>) {
        out += value ? "TRUE" : "FALSE";
    } else if constexpr (std::is_null_pointer_v<T>) {
        out += FormatPointer(value);
    } else if constexpr (std::is_pointer_v<T>) {
        out += FormatPointer(reinterpret_cast<const volatile void*>(value));
    } else if constexpr (std::is_floating_point_v<T>) {
        out += FormatText("%f", static_cast<double>(value));
    } else {
        out += std::to_string(value);
    }
}

template <class T>
void Append(std::string& out, const Arg<T>& a) {
    out += a.name;
    out += '=';
    AppendValue(out, a.value);
}

template <class T, class Key>
void Append(std::string& out, const EnumArg<T, Key>& a) {
    out += a.name;
    out += '=';
    out += a.text(static_cast<Key>(a.value));
    out += '(';
    AppendValue(out, a.value);
    out += ')';
}

template <class T, class Key>
void Append(std::string& out, const HexEnumArg<T, Key>& a) {
    out += a.name;
    out += FormatText("=%s(0x%08x)", a.text(static_cast<Key>(a.value)),
                      static_cast<unsigned>(a.value));
}

inline void Append(std::string& out, const QuotedArg& a) {
    out += a.name;
    out += "='";
    out += a.value ? a.value : "<null>";
    out += '\'';
}

inline void Append(std::string& out, const Words& a) {
    out += a.words;
}

// The arguments joined by ", ".
template <class... Args>
std::string JoinArguments(const Args&... args) {
    std::string out;
    if constexpr (sizeof...(args) > 0) out.reserve(128);
    [[maybe_unused]] bool first = true;
    (..., ((first ? void(first = false) : void(out += ", ")), Append(out, args)));
    return out;
}

}  // namespace bv
