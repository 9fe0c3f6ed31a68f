#pragma once

#include "api/api_interface.h"

namespace bv {

// Does the work: one traced call of a worker for each operation. Takes no lock and checks nothing
// again; works on the tables of the process.
class ApiExecLayer final : public ApiInterface {
  public:
#define OPERATION(result, name, lock, words, work, ...) \
    result name(ORVEX_PARAMETERS(__VA_ARGS__)) override;
#include "api/operations.def"
};

}  // namespace bv
