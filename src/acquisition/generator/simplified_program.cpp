#include "acquisition/generator.h"

namespace {

void Set(orvex_sccl_operation setting, uns32 value) {
    bv_sCCL_script_load_op(static_cast<uns8>(setting), value);
}

uns32 SignExtended(int16 value) {
    return static_cast<uns32>(int32{value});
}

}  // namespace

// Shutter, trigger and port actions have no place in this dialect, and nothing ends it.
void bv::WriteSimplifiedProgram(const ProgramSetup& setup) {
    Set(OP_FRAME_COUNT, setup.exp_total);
    Set(OP_MODE, SignExtended(setup.buf_mode));
    Set(OP_EXPOSE_RESOLUTION, static_cast<uns32>(setup.camera.exp_res));
    Set(OP_SUB_ROI_COUNT, static_cast<uns32>(setup.regions.size()));
    Set(OP_EXPOSURETIME, setup.exposure_time);
    Set(OP_EXPOSUREMODE, SignExtended(setup.exp_mode));
    Set(OP_SENSOR_CLEAR_MODE, SignExtended(static_cast<int16>(setup.camera.clear_mode)));
    Set(OP_SENSOR_CLEAR_COUNT, setup.camera.clear_cycles);
    for (const rgn_type& region : setup.regions) {
        Set(OP_BIN_X, region.sbin);
        Set(OP_BIN_Y, region.pbin);
        Set(OP_IMGCOORD_TOPL_X, region.s1);
        Set(OP_IMGCOORD_TOPL_Y, region.p1);
        Set(OP_IMGCOORD_BOTR_X, region.s2);
        Set(OP_IMGCOORD_BOTR_Y, region.p2);
    }
}
