#include "acquisition/generator.h"

#include "orvex/orvex_errors.h"

#include "acquisition/generator/setup_checks.h"
#include "log/enum_texts.h"
#include "messages/host_command_message.h"
#include "state/call.h"
#include "state/camera_rows.h"

using bv::arg;
using bv::Call;

namespace {

constexpr uns64 transfer_bytes_max = 0xFFFFFFFF;
constexpr uns64 pixel_bytes = 2;

// An old application's own generator. What it returns is the error code; the script stays empty,
// so that nothing is sent.
boolean16 GenerateByHook(Call& call, script_hook_type hook, bv::ProgramSetup& program,
                         uns32* buffer_size) {
    uns32 pixels = 0;
    const uns16 error = hook(program.hcam, program.exp_total,
                             static_cast<uns16>(program.regions.size()), program.regions.data(),
                             program.exp_mode, program.exposure_time, &pixels, &program.camera);
    bv::ApiGlobal::SetErrorCode(EXT_OPEN_EXCLUSIVE, static_cast<int16>(error));
    if (bv::ApiGlobal::IsErrorCodeSet()) return call.failed();
    *buffer_size = static_cast<uns32>(pixels * pixel_bytes);
    return call.ok(arg("*buffer_size", *buffer_size));
}

// A camera that accumulates frames by itself wants the exposure mode ahead of the program.
boolean16 PrepareAccumulation(int16 hcam, int16 exp_mode) {
    constexpr uns8 plugin_set_exposure_mode = 10;
    constexpr uns8 plugin_get_state = 7;
    const auto mode = static_cast<uns16>(exp_mode);
    bv::PluginCommandMessage message(hcam);
    message.AddWriteCommand(plugin_set_exposure_mode, &mode, sizeof mode,
                            bv::HostCommandDataType::BigEndian);
    message.AddCommand(CLEAR_STAT_BUF);
    message.AddReadCommand(plugin_get_state, 2, bv::HostCommandDataType::BigEndian);
    message.AddCommand(SEND_STAT_BUF);
    message.AddReadLength();
    return message.Execute();
}

uns64 PixelsOfRegion(int16 hcam, const rgn_type& region) {
    uns32 pixels = 0;
    bv_calculate_dimensions(hcam, &region, &pixels);
    return pixels;
}

uns64 PixelsOfFrame(const bv::CheckedSetup& setup) {
    const bv::CentroidSettings& centroids = setup.centroids;
    const bv::ProgramSetup& program = setup.program;
    if (centroids.enabled && centroids.mode == OX_CENTROIDS_MODE_LOCATE) {
        // Each spot arrives as a square around it.
        const uns64 side = centroids.radius * uns64{2} + 1;
        return centroids.count * side * side;
    }
    if (centroids.enabled && centroids.mode == OX_CENTROIDS_MODE_TRACK) {
        return PixelsOfRegion(program.hcam, program.regions[0]);
    }
    uns64 pixels = 0;
    for (const rgn_type& region : program.regions) pixels += PixelsOfRegion(program.hcam, region);
    return pixels;
}

}  // namespace

boolean16 bv_script_generate(int16 hcam, script_type* script, uns16 max_entries, uns16 exp_total,
                             uns16 rgn_total, const rgn_type* rgn_array, int16 exp_mode,
                             uns32 exposure_time, uns32* buffer_size) {
    Call call("bv_script_generate", arg("hcam", hcam), arg("script", script),
              arg("max_entries", max_entries), arg("exp_total", exp_total),
              arg("rgn_total", rgn_total), arg("rgn_array", rgn_array),
              bv::enumerated("exp_mode", exp_mode, bv_text_exp_mode_combined),
              arg("exposure_time", exposure_time), arg("buffer_size", buffer_size));
    bv::CheckedSetup setup;
    bv::ProgramSetup& program = setup.program;
    program.hcam = hcam;
    program.exp_total = exp_total;
    if (rgn_array) program.regions = {rgn_array, rgn_total};
    program.exp_mode = exp_mode;
    program.exposure_time = exposure_time;
    if (!bv::CheckSetup(call, setup)) return bv::OZ_FAIL;

    if (bv::InfoOf(hcam).script_hook) {
        const auto hook = reinterpret_cast<script_hook_type>(bv::InfoOf(hcam).script_hook);
        return GenerateByHook(call, hook, program, buffer_size);
    }

    bv_script_load_begin(script, max_entries);
    bv_script_free_groups(script->groups);
    script->groups = nullptr;
    if (bv::ReadsOf(hcam).accum_capable && !PrepareAccumulation(hcam, exp_mode)) {
        return call.failed();
    }

    const uns64 frame_bytes = setup.md_bytes + PixelsOfFrame(setup) * pixel_bytes;
    *buffer_size = static_cast<uns32>(frame_bytes);
    if (frame_bytes * exp_total > transfer_bytes_max) {
        return call.fail_silently(C2_CANNOT_ALLOCATE_MEMORY);
    }

    if (bv::ReadsOf(hcam).ccl_caps & CCL_CAPS_SIMPLIFIED) {
        bv::WriteSimplifiedProgram(program);
    } else if (!bv::WriteFullProgram(program, *script)) {
        return call.failed();
    }
    script->length = bv_script_load_position();
    if (bv_script_load_overflowed()) return call.fail_silently(C32_CCL_TOO_COMPLEX);
    if (bv::ApiGlobal::IsErrorCodeSet()) return call.failed();
    return call.ok(arg("*buffer_size", *buffer_size));
}
