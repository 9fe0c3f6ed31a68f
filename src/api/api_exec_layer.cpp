#include "api/api_exec_layer.h"

#include "orvex/orvex_params.h"

#include "acquisition/abort.h"
#include "acquisition/continuous.h"
#include "acquisition/io_script.h"
#include "acquisition/metadata.h"
#include "acquisition/sequence.h"
#include "api/in_place_workers.h"
#include "api/legacy_workers.h"
#include "api/lifecycle.h"
#include "api/operation_call.h"
#include "camera/open.h"
#include "camera/reads.h"
#include "device/command_io.h"
#include "log/enum_texts.h"
#include "messages/bridge.h"
#include "messages/gate.h"
#include "messages/texts.h"
#include "notify/callbacks.h"
#include "notify/frame_info.h"
#include "params/accessors.h"
#include "params/dispatch.h"
#include "params/enumerations.h"
#include "params/speed_table.h"
#include "params/tidal_stream.h"

namespace bv {

#define OPERATION(result, name, lock, words, work, ...)                       \
    result ApiExecLayer::name(ORVEX_PARAMETERS(__VA_ARGS__)) {                \
        return RunOnExec<result>("bv::ApiExecLayer::" #name, words.exec,      \
                                 [&]([[maybe_unused]] Call& call) -> result { \
                                     return work;                             \
                                 } ORVEX_BEHIND_ARGUMENTS(__VA_ARGS__));      \
    }
#include "api/operations.def"

}  // namespace bv
