#pragma once

#include <functional>

#include "platform/windows/api.h"

// Functions of the system as the library calls them, by the pointers that a linker would otherwise
// take from an import library. A test makes them fail, which no driver and no other process can.
namespace tests {

// The name of a function, as an argument of a template.
template <size_t size>
struct Name {
    char text[size]{};
    constexpr Name(const char (&name)[size]) {  // NOLINT(google-explicit-constructor)
        for (size_t i = 0; i < size; ++i) text[i] = name[i];
    }
};

template <Name name, class Function>
struct Imported;

template <Name name, class Result, class... Arguments>
struct Imported<name, Result(Arguments...)> {
    // Takes the place of the system's while there is one.
    static inline std::function<Result(Arguments...)> replacement;

    static Result WINAPI Call(Arguments... arguments) {
        return replacement ? replacement(arguments...) : Real(arguments...);
    }
    // Looked up each time: a static variable would be guarded by what calls some of these.
    static Result Real(Arguments... arguments) {
        const auto found =
            reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("kernel32"), name.text));
        return reinterpret_cast<Result(WINAPI*)(Arguments...)>(found)(arguments...);
    }
    // Has calls fail, of which the system then tells this error.
    static void FailWith(DWORD error) {
        replacement = [error](Arguments...) {
            SetLastError(error);
            return Result{};
        };
    }
    static void Restore() { replacement = nullptr; }
};

}  // namespace tests

#define IMPORTED(function)                                                     \
    using Imported##function = tests::Imported<#function, decltype(function)>; \
    extern "C" {                                                               \
    extern decltype(&function) __imp_##function;                               \
    decltype(&function) __imp_##function = Imported##function::Call;           \
    }
