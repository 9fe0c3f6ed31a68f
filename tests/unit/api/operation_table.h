#pragma once

#include <array>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "orvex/orvex.h"

#include "api/api_entry_layer.h"
#include "api/operation_call.h"

// The rows of operations.def as the tests see them: every operation can be called on the entry
// layer with made-up arguments.
struct Operation {
    std::string name;
    bv::ApiLock lock;
    bool exported;
    std::vector<std::string> words;  // of all arguments
    std::vector<bool> pointers;      // which of them are pointers
    // Calls with zeros and valid addresses, but with nulls from argument `null_from` on. True when
    // the result is neither 0 nor null.
    std::function<bool(size_t null_from)> call;
};

constexpr size_t no_nulls = 100;

namespace operation_table {

// Room for whatever an operation writes through a made-up address.
inline void* Scratch(size_t index) {
    alignas(16) static std::array<std::array<char, 16384>, 10> areas{};
    return areas.at(index).data();
}

template <class T>
T MadeUp(size_t index, size_t null_from) {
    if constexpr (std::is_pointer_v<T>) {
        return index >= null_from ? nullptr : static_cast<T>(Scratch(index));
    } else {
        return T{};
    }
}

template <class Result, class... Arguments>
Operation Describe(const char* name, bv::ApiLock lock, bool exported,
                   std::vector<std::string> words,
                   Result (bv::ApiEntryLayer::*operation)(Arguments...)) {
    const auto call = [operation](size_t null_from) {
        return [&]<size_t... i>(std::index_sequence<i...>) {
            const Result result = (api_entry_layer.*operation)(MadeUp<Arguments>(i, null_from)...);
            const bool answered = result != Result{};
            if constexpr (std::is_pointer_v<Result>) std::free(result);
            return answered;
        }(std::index_sequence_for<Arguments...>());
    };
    return {name, lock, exported, std::move(words), {std::is_pointer_v<Arguments>...}, call};
}

}  // namespace operation_table

inline const std::vector<Operation>& Operations() {
#define OPERATION_WORD(kind, type, word) #word
#define OPERATION_ROW(exported, name, lock, ...)                                  \
    operation_table::Describe(#name, bv::ApiLock::lock, exported,                 \
                              {ORVEX_EACH_ARGUMENT(OPERATION_WORD, __VA_ARGS__)}, \
                              &bv::ApiEntryLayer::name),
#define OPERATION(result, name, lock, words, work, ...) OPERATION_ROW(true, name, lock, __VA_ARGS__)
#define UNEXPORTED_OPERATION(result, name, lock, words, work, ...) \
    OPERATION_ROW(false, name, lock, __VA_ARGS__)
    static const std::vector<Operation> operations = {
#include "api/operations.def"
    };
    return operations;
}
