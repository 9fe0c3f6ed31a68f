#include "orvex/orvex.h"

#include "api/api_entry_layer.h"

// The exported functions. They are not noexcept: an exception of a failing mutex goes up to the
// application.
#define OPERATION(result, name, lock, words, work, ...)        \
    result name(ORVEX_PARAMETERS(__VA_ARGS__)) {               \
        return api_entry_layer.name(ORVEX_WORDS(__VA_ARGS__)); \
    }
#define UNEXPORTED_OPERATION(...)
#include "api/operations.def"
