#pragma once

#include <optional>

#include "orvex/orvex_errors.h"
#include "orvex/orvex_protocol.h"

#include "acquisition/generator.h"
#include "acquisition/script.h"
#include "state/api_global.h"

namespace bv {

inline void Emit(orvex_ccl_operation op, uns16 argument = 0) {
    bv_script_load_op(static_cast<uns8>(op), argument);
}

// What changes while a full program is written.
struct ProgramState {
    uns16 current_sbin = 0;  // serial binning last loaded into the camera, 0 when unknown
    uns16 working_par_size = 0;
    uns16 working_premask = 0;
    bool failed = false;

    void Fail(int16 code) {
        failed = true;
        ApiGlobal::SetErrorCode(EXT_OPEN_EXCLUSIVE, code);
    }
    // Also when a port action or an ignored read left an error behind.
    bool HasFailed() const { return failed || ApiGlobal::IsErrorCodeSet(); }
};

// The application's port actions at one point of the frame.
void EmitPortActions(const ProgramSetup& setup, orvex_script_location location);

// Reads one frame out, strip by strip, and lists the strips in `script`.
void WriteReadout(const ProgramSetup& setup, ProgramState& state, script_type& script);

// The serial binning that all share; none when they differ.
template <class Regions>
std::optional<uns16> CommonSerialBinning(const Regions& regions) {
    std::optional<uns16> common;
    for (const auto& region : regions) {
        if (common && region.sbin != *common) return std::nullopt;
        common = region.sbin;
    }
    return common;
}

}  // namespace bv
