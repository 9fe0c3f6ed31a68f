#include "acquisition/setup.h"

#include <algorithm>

#include "acquisition/generator.h"
#include "state/camera_rows.h"

namespace {

bool SameRegion(const rgn_type& a, const rgn_type& b) {
    return a.s1 == b.s1 && a.s2 == b.s2 && a.sbin == b.sbin && a.p1 == b.p1 && a.p2 == b.p2 &&
           a.pbin == b.pbin;
}

}  // namespace

bool bv::MatchesLastSetup(const SetupRequest& request) {
    const acq_cache_type& last = bv::CacheOf(request.hcam);
    return last.valid && request.rgn_array && last.regions.size() == request.rgn_total &&
           std::equal(last.regions.begin(), last.regions.end(), request.rgn_array, SameRegion) &&
           last.exp_mode == request.exp_mode && last.exposure_time == request.exposure_time &&
           last.buf_mode == request.buf_mode;
}

void bv::RememberSetup(const SetupRequest& request) {
    acq_cache_type& last = bv::CacheOf(request.hcam);
    last.valid = 1;
    last.regions.assign(request.rgn_array, request.rgn_array + request.rgn_total);
    last.exp_mode = request.exp_mode;
    last.exposure_time = request.exposure_time;
    last.buf_mode = request.buf_mode;
}

void bv::ForgetSetup(int16 hcam) {
    CacheOf(hcam).valid = 0;
}

boolean16 bv::GenerateProgram(const SetupRequest& request, ScriptOwner& script,
                              uns32* frame_bytes) {
    return script.Allocate(script_max_entries) &&
           bv_script_generate(request.hcam, script.get(), script_max_entries, request.exp_total,
                              request.rgn_total, request.rgn_array, request.exp_mode,
                              request.exposure_time, frame_bytes);
}

boolean16 bv::LoadProgram(const SetupRequest& request, ScriptOwner& script) {
    if (script->length != 0 && !bv_script_send(request.hcam, script.get())) return 0;
    decode_info_type& decode = bv::DecodeOf(request.hcam);
    decode.rgn_total = request.rgn_total;
    bv::InfoOf(request.hcam).script_valid = 1;
    decode.sbin_first = request.rgn_array[0].sbin;
    decode.pbin_first = request.rgn_array[0].pbin;
    return script.Free();
}
