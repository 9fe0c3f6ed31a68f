#pragma once

#include "orvex/orvex_types.h"

#include "api/operation_macros.h"

namespace bv {

// Every operation of the library, in the order of operations.def.
class ApiInterface {
  public:
    virtual ~ApiInterface() = default;

#define OPERATION(result, name, lock, words, work, ...) \
    virtual result name(ORVEX_PARAMETERS(__VA_ARGS__)) = 0;
#include "api/operations.def"
};

}  // namespace bv
