#pragma once

#include "api/api_exec_layer.h"
#include "api/api_interface.h"

namespace bv {

// What applications reach: trace, lock, clearing of the error state and null checks around the
// exec layer.
class ApiEntryLayer final : public ApiInterface {
  public:
#define OPERATION(result, name, lock, words, work, ...) \
    result name(ORVEX_PARAMETERS(__VA_ARGS__)) override;
#include "api/operations.def"

  private:
    ApiExecLayer exec_;
};

}  // namespace bv

// The one that the exported functions forward to.
extern bv::ApiEntryLayer api_entry_layer;
