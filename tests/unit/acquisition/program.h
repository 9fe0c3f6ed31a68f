#pragma once

#include <ostream>
#include <vector>

#include "acquisition/generator.h"
#include "acquisition/script.h"
#include "state/api_global.h"

// Programs as lists of operations, and the small camera that most tests of programs start from.
namespace program_test {

struct Op {
    uns8 op;
    uns16 argument = 0;
    bool operator==(const Op&) const = default;
};
using Ops = std::vector<Op>;

inline void PrintTo(const Op& op, std::ostream* out) {
    *out << bv_text_op(op.op) << ' ' << op.argument;
}

inline Ops OpsOf(const uns8* data, size_t length) {
    Ops ops;
    for (size_t i = 0; i + 2 < length; i += 3) {
        ops.push_back({data[i + 2], static_cast<uns16>(data[i] << 8 | data[i + 1])});
    }
    return ops;
}

// The operations of a whole full program; nothing when it can't be written.
inline Ops Write(const bv::ProgramSetup& setup) {
    bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
    bv::ScriptOwner script;
    script.Allocate(script_max_entries);
    bv_script_load_begin(script.get(), script_max_entries);
    if (!bv::WriteFullProgram(setup, *script.get())) return {};
    return OpsOf(script->data, bv_script_load_position());
}

// A plain sensor of 100 by 100 and one frame of 10 ms.
struct PlainSetup : bv::ProgramSetup {
    explicit PlainSetup(std::vector<rgn_type> rgns =
                            {{.s1 = 0, .s2 = 99, .sbin = 1, .p1 = 10, .p2 = 19, .pbin = 1}})
        : list(std::move(rgns)) {
        camera.par_size = 100;
        camera.ser_size = 100;
        camera.clear_cycles = 2;
        camera.clear_mode = CLEAR_PRE_SEQUENCE;
        camera.shtr_open_mode = OPEN_PRE_EXPOSURE;
        preamp_off_control = 10000;
        exposure_time = 10;
        regions = list;
    }
    PlainSetup(const PlainSetup& other) : bv::ProgramSetup(other), list(other.list) {
        regions = list;
    }

    std::vector<rgn_type> list;
};

}  // namespace program_test
