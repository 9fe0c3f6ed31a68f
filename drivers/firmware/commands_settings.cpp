// Commands that read and set how the sensor is run. A value out of range is not taken; the host
// sees that when it reads back.

#include "orvex/orvex_types.h"

#include "firmware/firmware.h"

namespace firmware {
namespace {

using engine::ByteReader;
using engine::ByteWriter;

// Gain indices count from 1.
uint8_t MaxGain(const Firmware& f) {
    return static_cast<uint8_t>(CurrentSpeed(f.model, f.settings).electrons_per_count.size());
}

void SelectSpeed(Firmware& f, uint8_t speed) {
    if (speed >= f.model.ports[f.settings.port].speeds.size()) return;
    f.settings.speed = speed;
    if (f.settings.gain > MaxGain(f)) f.settings.gain = 1;
}

bool HasOffset(const Model& model) {
    return model.abilities.adc_offset;
}
bool HasMultiplication(const Model& model) {
    return model.max_gain_factor > 0;
}
bool HasGainName(const Model& model) {
    return model.abilities.gain_name;
}
bool HasActualGain(const Model& model) {
    return model.abilities.actual_gain;
}
bool HasReadoutTime(const Model& model) {
    return model.abilities.readout_time;
}
bool HasExposureTime(const Model& model) {
    return model.abilities.exposure_time;
}
bool HasClearingTime(const Model& model) {
    return model.abilities.clearing_time;
}
bool HasTriggerDelays(const Model& model) {
    return model.abilities.trigger_delays;
}
bool HasPostAbortDelay(const Model& model) {
    return model.abilities.post_abort_delay;
}
bool HasMetadata(const Model& model) {
    return model.abilities.metadata;
}
bool HasExtendedMetadata(const Model& model) {
    return model.abilities.extended_metadata;
}

constexpr int64_t pre_trigger_ns = 25'000;
constexpr int64_t post_trigger_ns = 10'000;

#define TELL(id, available, expression)                                     \
    {id, available, [](Firmware& f, ByteReader&, ByteWriter& out) -> bool { \
         (void)f;                                                           \
         out.expression;                                                    \
         return true;                                                       \
     }}
#define SET(id, available, statement)                                      \
    {id, available, [](Firmware& f, ByteReader& in, ByteWriter&) -> bool { \
         statement;                                                        \
         return true;                                                      \
     }}

constexpr Command commands[] = {
    TELL(TOTAL_SPD, Always, U8(f.model.ports[f.settings.port].speeds.size())),
    TELL(CUR_SPD, Always, U8(f.settings.speed)),
    TELL(SPD_SPEED, Always, U16(CurrentSpeed(f.model, f.settings).pixel_time_ns)),
    TELL(SPD_BIT_DEPTH, Always, U8(CurrentSpeed(f.model, f.settings).bits)),
    TELL(SPD_MAX_GAIN, Always, U8(MaxGain(f))),
    TELL(SPD_USER_GAIN, Always, U8(f.settings.gain)),
    TELL(READ_PORT_NUM, Always, U8(f.settings.port)),
    TELL(TOTAL_PORTS, Always, U8(f.model.ports.size())),
    TELL(GET_OUTPUT_PORT, Always, U16(f.settings.port)),
    TELL(GET_GAIN_NAME, HasGainName,
         Text(CurrentSpeed(f.model, f.settings).gain_names[f.settings.gain - 1u], 32)),
    TELL(GET_ACTUAL_GAIN, HasActualGain,
         U16(static_cast<uint64_t>(ElectronsPerCount(f.model, f.settings) * 100.0))),
    TELL(GET_READ_NOISE, HasActualGain,
         U16(static_cast<uint64_t>(ReadNoise(f.model, f.settings) * 100.0))),
    SET(SELECT_SPD, Always, SelectSpeed(f, in.U8())),
    SET(SET_SPD_GAIN, Always, const uint8_t gain = in.U8();
        if (gain >= 1 && gain <= MaxGain(f)) f.settings.gain = gain),
    SET(
        SET_OUTPUT_PORT, Always, const uint16_t port = in.U16();
        if (port < f.model.ports.size() && port != f.settings.port) {
            f.settings.port = port;
            SelectSpeed(f, 0);
        }),
    SET(SET_TIME_PER_PIX, Always, f.settings.pixel_time = in.U16()),
    TELL(CUR_CCD_TEMP, Always, U16(static_cast<uint16_t>(f.head.Temperature()))),
    TELL(CCD_TEMP_SET, Always, U16(static_cast<uint16_t>(f.head.Setpoint()))),
    SET(SET_TEMP, Always, const auto wanted = static_cast<int16_t>(in.U16());
        if (wanted >= f.model.temperatures.min && wanted <= f.model.temperatures.max)
            f.head.SetSetpoint(wanted)),
    TELL(GET_OFFSET, HasOffset, U16(static_cast<uint16_t>(f.settings.offset))),
    SET(SET_OFFSET, HasOffset, f.settings.offset = static_cast<int16_t>(in.U16())),
    TELL(GET_GAIN_MULT_FACTOR, HasMultiplication, U16(f.settings.multiplication)),
    TELL(GET_MAX_GAIN_MULT_FACTOR, HasMultiplication, U16(f.model.max_gain_factor)),
    SET(SET_GAIN_MULT_FACTOR, HasMultiplication, const uint16_t factor = in.U16();
        if (factor >= 1 && factor <= f.model.max_gain_factor) f.settings.multiplication = factor),
    TELL(SH_OPEN_DELAY, Always, U16(f.settings.shutter_open_ms)),
    TELL(SH_CLOSE_DELAY, Always, U16(f.settings.shutter_close_ms)),
    SET(SET_SH_OPEN_DELAY, Always, f.settings.shutter_open_ms = in.U16()),
    SET(SET_SH_CLOSE_DELAY, Always, f.settings.shutter_close_ms = in.U16()),
    TELL(EXP_TIME, Always, U16(f.settings.exposure_register)),
    SET(SET_EXP_TIME, Always, f.settings.exposure_register = in.U16()),
    TELL(GET_SENSOR_CORRECTION_STATE, Always, U16(f.settings.sensor_correction ? 1 : 0)),
    SET(SET_SENSOR_CORRECTION_STATE, Always, f.settings.sensor_correction = in.U16() != 0),
    TELL(GET_IMAGE_SENSOR_READOUT_TIME, HasReadoutTime,
         U32(static_cast<uint64_t>(f.actions.ReadoutNanoseconds() / 1000))),
    TELL(GET_EXPOSURE_TIME, HasExposureTime,
         U64(static_cast<uint64_t>(f.actions.ExposureNanoseconds()))),
    TELL(GET_CLEARING_TIME, HasClearingTime,
         U64(static_cast<uint64_t>(f.actions.ClearingNanoseconds()))),
    TELL(GET_PRE_TRIGGER_DELAY, HasTriggerDelays, U64(pre_trigger_ns)),
    TELL(GET_POST_TRIGGER_DELAY, HasTriggerDelays, U64(post_trigger_ns)),
    TELL(GET_POST_ABORT_DELAY, HasPostAbortDelay,
         U64(static_cast<uint64_t>(f.head.PostAbortNanoseconds()))),
    TELL(GET_METADATA_ENABLED, HasMetadata, U16(f.settings.metadata ? 1 : 0)),
    SET(SET_METADATA_ENABLED, HasMetadata, f.settings.metadata = in.U16() != 0),
    TELL(GET_EXT_METADATA_SIZE, HasExtendedMetadata, U32(16)),
};

}  // namespace

std::span<const Command> SettingCommands() {
    return commands;
}

}  // namespace firmware
