#include "device/command_io.h"
#include "messages/host_command_message.h"
#include "params/accessors.h"
#include "params/dispatch.h"
#include "params/enumerations.h"
#include "params/io_ports.h"
#include "params/parameter.h"
#include "params/speed_table.h"
#include "state/camera_rows.h"

using bv::arg;
using bv::Call;

namespace {

// A setter that writes and reads back in one exchange. What is refused here is never sent.
struct Setter {
    const char* name;
    const char* word;
    orvex_host_command write;
    orvex_host_command read;
    // Needed, or refused with C2_NOT_AVAILABLE.
    uns16 cam_reads_type::* capability = nullptr;
    // Has the value, or refused with C2_FAILED_TO_SET_VALUE; the words end with the value.
    nvp_container cam_reads_type::* choices = nullptr;
    const char* refusal = "";
    boolean16 (*permit)(Call& call, int16 hcam, int32 value) = nullptr;
    bool clears_script = false;
};

template <class T>
boolean16 Set(const Setter& setter, int16 hcam, T value) {
    Call call(setter.name, arg("hcam", hcam), arg(setter.word, value));
    const cam_reads_type& reads = bv::row<cam_reads_type>(hcam);
    if (setter.capability && !(reads.*setter.capability)) {
        return call.fail(C2_NOT_AVAILABLE, "%s", setter.refusal);
    }
    if (setter.choices &&
        !oz_is_enum_value_in_nvp(static_cast<int32>(value), &(reads.*setter.choices))) {
        return call.fail(C2_FAILED_TO_SET_VALUE, "%s %d", setter.refusal, static_cast<int>(value));
    }
    if (setter.permit && !setter.permit(call, hcam, static_cast<int32>(value))) {
        return call.failed();
    }
    if (!bv::SetWithReadBack(call, hcam, setter.write, setter.read, value)) return call.failed();
    if (setter.clears_script) bv::InfoOf(hcam).script_valid = 0;
    return call.ok();
}

// Spots are reported in the metadata of a frame.
boolean16 PermitCentroids(Call& call, int16 hcam, int32 enabled) {
    if (!enabled) return bv::OZ_OK;
    boolean16 metadata = 0;
    if (bv::row<cam_reads_type>(hcam).cap_metadata &&
        !bv_ccd_get_metadata_enabled(hcam, &metadata)) {
        return bv::OZ_FAIL;
    }
    if (metadata) return bv::OZ_OK;
    return call.fail(C2_NOT_AVAILABLE, "Metadata either not available or not enabled");
}

constexpr Setter adc_offset{.name = "bv_ccd_set_adc_offset",
                            .word = "offset",
                            .write = SET_OFFSET,
                            .read = GET_OFFSET,
                            .capability = &cam_reads_type::cap_adc_offset,
                            .refusal = "Setting bias offset not supported"};
constexpr Setter tmp_setpoint{.name = "bv_ccd_set_tmp_setpoint",
                              .word = "tmp_setpoint",
                              .write = SET_TEMP,
                              .read = CCD_TEMP_SET};
constexpr Setter gain_mult_factor{.name = "bv_ccd_set_gain_mult_factor",
                                  .word = "factor",
                                  .write = SET_GAIN_MULT_FACTOR,
                                  .read = GET_GAIN_MULT_FACTOR,
                                  .capability = &cam_reads_type::cap_gain_mult,
                                  .refusal = "Multiplication gain not available"};
constexpr Setter sensor_correction_state{.name = "bv_ccd_set_sensor_correction_state",
                                         .word = "state",
                                         .write = SET_SENSOR_CORRECTION_STATE,
                                         .read = GET_SENSOR_CORRECTION_STATE};
constexpr Setter fan_speed{.name = "bv_ccd_set_fan_speed_setpoint",
                           .word = "value",
                           .write = SET_FAN_SPEED_SETPOINT,
                           .read = GET_FAN_SPEED_SETPOINT,
                           .choices = &cam_reads_type::fan_speed_nvp,
                           .refusal = "Unknown fan speed"};
constexpr Setter metadata_enabled{.name = "bv_ccd_set_metadata_enabled",
                                  .word = "enabled",
                                  .write = SET_METADATA_ENABLED,
                                  .read = GET_METADATA_ENABLED,
                                  .clears_script = true};
constexpr Setter centroids_enabled{.name = "bv_ccd_set_centroids_enabled",
                                   .word = "enabled",
                                   .write = SET_CENTROIDS_ENABLED,
                                   .read = GET_CENTROIDS_ENABLED,
                                   .permit = PermitCentroids,
                                   .clears_script = true};
constexpr Setter centroids_radius{.name = "bv_ccd_set_centroids_radius",
                                  .word = "radius",
                                  .write = SET_CENTROIDS_RADIUS,
                                  .read = GET_CENTROIDS_RADIUS,
                                  .clears_script = true};
constexpr Setter centroids_count{.name = "bv_ccd_set_centroids_count",
                                 .word = "count",
                                 .write = SET_CENTROIDS_COUNT,
                                 .read = GET_CENTROIDS_COUNT,
                                 .clears_script = true};
constexpr Setter centroids_mode{.name = "bv_ccd_set_centroids_mode",
                                .word = "mode",
                                .write = SET_CENTROIDS_MODE,
                                .read = GET_CENTROIDS_MODE_CURRENT,
                                .choices = &cam_reads_type::centroids_mode_nvp,
                                .refusal = "Unknown centroids mode",
                                .clears_script = true};
constexpr Setter centroids_bg_count{.name = "bv_ccd_set_centroids_bg_count",
                                    .word = "count",
                                    .write = SET_CENTROIDS_BG_COUNT,
                                    .read = GET_CENTROIDS_BG_COUNT_CURRENT,
                                    .choices = &cam_reads_type::centroids_bg_count_nvp,
                                    .refusal = "Invalid centroids background count selection:"};
constexpr Setter centroids_threshold{.name = "bv_ccd_set_centroids_threshold",
                                     .word = "threshold",
                                     .write = SET_CENTROIDS_THRESHOLD,
                                     .read = GET_CENTROIDS_THRESHOLD};
constexpr Setter frame_delivery_mode{.name = "bv_ccd_set_frame_delivery_mode",
                                     .word = "mode",
                                     .write = SET_FRAME_DELIVERY_MODE,
                                     .read = GET_FRAME_DELIVERY_MODE_CURRENT,
                                     .choices = &cam_reads_type::frame_delivery_mode_nvp,
                                     .refusal = "Unknown frame delivery mode"};
constexpr Setter close_dly{.name = "bv_shtr_set_close_dly",
                           .word = "shtr_close_dly",
                           .write = SET_SH_CLOSE_DELAY,
                           .read = SH_CLOSE_DELAY};
constexpr Setter open_dly{.name = "bv_shtr_set_open_dly",
                          .word = "shtr_open_dly",
                          .write = SET_SH_OPEN_DELAY,
                          .read = SH_OPEN_DELAY};
constexpr Setter trigtab_signal{.name = "bv_io_set_trigtab_signal",
                                .word = "value",
                                .write = SET_TRIGTAB_SIGNAL,
                                .read = GET_TRIGTAB_SIGNAL,
                                .choices = &cam_reads_type::trigtab_signal_nvp,
                                .refusal = "Unknown trigger table signal"};
constexpr Setter last_muxed_signal{.name = "bv_io_set_last_muxed_signal",
                                   .word = "value",
                                   .write = SET_LAST_MUXED_SIGNAL,
                                   .read = GET_LAST_MUXED_SIGNAL};

}  // namespace

boolean16 bv_ccd_set_adc_offset(int16 hcam, int16 offset) {
    return Set(adc_offset, hcam, offset);
}

boolean16 bv_ccd_set_tmp_setpoint(int16 hcam, int16 value) {
    return Set(tmp_setpoint, hcam, value);
}

boolean16 bv_ccd_set_gain_mult_factor(int16 hcam, uns16 factor) {
    return Set(gain_mult_factor, hcam, factor);
}

boolean16 bv_ccd_set_sensor_correction_state(int16 hcam, boolean16 state) {
    return Set(sensor_correction_state, hcam, state);
}

boolean16 bv_ccd_set_fan_speed_setpoint(int16 hcam, int32 value) {
    return Set(fan_speed, hcam, value);
}

boolean16 bv_ccd_set_metadata_enabled(int16 hcam, boolean16 enabled) {
    return Set(metadata_enabled, hcam, enabled);
}

boolean16 bv_ccd_set_centroids_enabled(int16 hcam, boolean16 enabled) {
    return Set(centroids_enabled, hcam, enabled);
}

boolean16 bv_ccd_set_centroids_radius(int16 hcam, uns16 radius) {
    return Set(centroids_radius, hcam, radius);
}

boolean16 bv_ccd_set_centroids_count(int16 hcam, uns16 count) {
    return Set(centroids_count, hcam, count);
}

boolean16 bv_ccd_set_centroids_mode(int16 hcam, int32 mode) {
    return Set(centroids_mode, hcam, mode);
}

boolean16 bv_ccd_set_centroids_bg_count(int16 hcam, int32 count) {
    return Set(centroids_bg_count, hcam, count);
}

boolean16 bv_ccd_set_centroids_threshold(int16 hcam, uns32 threshold) {
    return Set(centroids_threshold, hcam, threshold);
}

boolean16 bv_ccd_set_frame_delivery_mode(int16 hcam, int32 mode) {
    return Set(frame_delivery_mode, hcam, mode);
}

boolean16 bv_shtr_set_close_dly(int16 hcam, uns16 shtr_close_dly) {
    return Set(close_dly, hcam, shtr_close_dly);
}

boolean16 bv_shtr_set_open_dly(int16 hcam, uns16 shtr_open_dly) {
    return Set(open_dly, hcam, shtr_open_dly);
}

boolean16 bv_io_set_trigtab_signal(int16 hcam, int32 value) {
    return Set(trigtab_signal, hcam, value);
}

boolean16 bv_io_set_last_muxed_signal(int16 hcam, uns8 value) {
    return Set(last_muxed_signal, hcam, value);
}

boolean16 bv_ccd_set_readout_port(int16 hcam, uns16 port) {
    Call call("bv_ccd_set_readout_port", arg("hcam", hcam), arg("port", port));
    int16 port_total = 1;
    if (!bv_spdtab_get_port_total(hcam, &port_total)) return call.failed();
    if (port_total == 1) return call.ok();

    bv::HostCommandMessage message(hcam);
    message.AddWrite(SET_OUTPUT_PORT, port);
    message.BeginReply();
    message.AddRead(GET_OUTPUT_PORT);
    message.AddRead(CUR_SPD);
    message.AddRead(SPD_SPEED);
    message.RequestReply();
    if (!message.Execute()) return call.failed();
    const uns16 actual = message.Reply<uns16>(GET_OUTPUT_PORT);
    if (actual != port) {
        return call.fail(C2_FAILED_TO_SET_VALUE, "Value read back from camera differs: %u", actual);
    }
    // The new port has a pixel time and a geometry of its own.
    bv::ConfigOf(hcam).spdtab_time = message.Reply<uns16>(SPD_SPEED);
    const boolean16 sent = dv_send_transfer_speed_to_interface(hcam);
    bv::InfoOf(hcam).rws_done = 0;
    bv::InfoOf(hcam).script_valid = 0;
    return call.result(sent);
}
