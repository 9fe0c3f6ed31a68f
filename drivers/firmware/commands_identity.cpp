// Commands that tell what the camera is.

#include "orvex/orvex_types.h"

#include "firmware/firmware.h"

namespace firmware {
namespace {

using engine::ByteReader;
using engine::ByteWriter;

constexpr uint8_t subsystems = 2;

// The capability bits, byte by byte.
struct CapabilityBits {
    std::array<uint8_t, 8> bytes{};
    void Set(size_t byte, unsigned bit, bool on) {
        if (on) bytes[byte] = static_cast<uint8_t>(bytes[byte] | 1u << bit);
    }
};

CapabilityBits CapabilitiesOf(const Model& model) {
    CapabilityBits bits;
    const Abilities& able = model.abilities;
    bits.Set(0, 0, able.adc_offset);
    bits.Set(0, 1, able.color);
    bits.Set(0, 3, model.exposure_resolutions > 1);
    bits.Set(0, 4, !model.io_ports.empty());
    bits.Set(0, 5, able.color_mask);
    bits.Set(0, 6, !model.texts.serial.empty());
    bits.Set(0, 7, able.parallel_clear);
    bits.Set(1, 0, model.max_gain_factor > 0);
    bits.Set(1, 1, model.firmware_major >= 6);
    bits.Set(1, 3, !model.filters.empty());
    bits.Set(1, 4, model.tidal.has_value());
    bits.Set(1, 5, able.readout_time);
    bits.Set(1, 6, able.gain_name);
    bits.Set(1, 7, able.actual_gain);
    bits.Set(2, 0, !model.texts.system.empty());
    bits.Set(2, 1, !model.texts.vendor.empty());
    bits.Set(2, 2, able.multiport);
    bits.Set(2, 3, model.region_limit > 1);
    bits.Set(2, 4, model.centroids.has_value());
    bits.Set(2, 5, able.metadata);
    bits.Set(2, 6, able.extended_metadata);
    bits.Set(2, 7, !model.texts.product.empty());
    bits.Set(3, 0, !model.texts.part_number.empty());
    bits.Set(3, 1, able.exposure_time);
    bits.Set(3, 2, able.clearing_time);
    bits.Set(3, 3, able.trigger_delays);
    bits.Set(3, 4, able.post_abort_delay);
    bits.Set(3, 6, able.stop_acquisition);
    // The second word is sent complemented, which its top bit tells; bit 2 is the extended block.
    if (model.extended) {
        bits.bytes[4] = 0xFF & ~0x04;
        bits.bytes[5] = bits.bytes[6] = bits.bytes[7] = 0xFF;
    }
    return bits;
}

bool HasSystem(const Model& model) {
    return !model.texts.system.empty();
}
bool HasVendor(const Model& model) {
    return !model.texts.vendor.empty();
}
bool HasProduct(const Model& model) {
    return !model.texts.product.empty();
}
bool HasPartNumber(const Model& model) {
    return !model.texts.part_number.empty();
}
bool HasMultiport(const Model& model) {
    return model.abilities.multiport;
}
bool HasResolutions(const Model& model) {
    return model.exposure_resolutions > 1;
}
bool HasColorMask(const Model& model) {
    return model.abilities.color_mask;
}
bool HasRegions(const Model& model) {
    return model.region_limit > 1;
}

// Builds the handler of a command that tells one value of the model.
#define TELL(id, available, expression)                                     \
    {id, available, [](Firmware& f, ByteReader&, ByteWriter& out) -> bool { \
         (void)f;                                                           \
         out.expression;                                                    \
         return true;                                                       \
     }}

constexpr Command commands[] = {
    TELL(SEND_CAPABILITIES, Always, Raw(CapabilitiesOf(f.model).bytes)),
    TELL(FRAME_CAP, Always, U8(f.model.abilities.frame_transfer ? 1 : 0)),
    TELL(SUM_WELL_PRESENT, Always, U8(f.model.abilities.summing_well ? 1 : 0)),
    TELL(COOLING, Always, U8(f.model.cooling)),
    TELL(FULL_WELL_CAP, Always, U16(f.model.full_well / 1000)),
    TELL(MPP_CAP, Always, U8(f.model.mpp)),
    TELL(PREAMP_DELAY, Always, U16(0)),
    TELL(PRE_FLASH, Always, U16(0)),
    TELL(CAM_SER_NUM, Always, U16(0x5C00u + f.model.firmware_minor)),
    TELL(TEMP_RANGE, Always,
         U32(static_cast<uint32_t>(static_cast<uint16_t>(f.model.temperatures.max)) << 16 |
             static_cast<uint16_t>(f.model.temperatures.min))),
    TELL(PAR_PIX_SPACE, Always, U16(f.model.pixel_size_nm)),
    TELL(PAR_PIX_SIZE, Always, U16(f.model.pixel_size_nm)),
    TELL(SER_PIX_SPACE, Always, U16(f.model.pixel_size_nm)),
    TELL(SER_PIX_SIZE, Always, U16(f.model.pixel_size_nm)),
    TELL(FIRMWARE_VER, Always, U8(f.model.firmware_major)),
    TELL(FIRMWARE_MINOR_VER, Always, U8(f.model.firmware_minor)),
    TELL(CHIP_NAME, Always, Text(f.model.texts.chip, 16)),
    TELL(GET_SYSTEM_NAME, HasSystem, Text(f.model.texts.system, 32)),
    TELL(GET_VENDOR_NAME, HasVendor, Text(f.model.texts.vendor, 32)),
    TELL(GET_PRODUCT_NAME, HasProduct, Text(f.model.texts.product, 32)),
    TELL(GET_CAM_PART_NUM, HasPartNumber, Text(f.model.texts.part_number, 32)),
    TELL(ALPHA_SER_NUM, Always, Text(f.model.texts.serial, 32)),
    TELL(FULL_FIRMWARE_NUMBER, Always, Text(f.model.texts.firmware, 32)),
    TELL(PAR_PORT_NUM, HasMultiport, U16(1)),
    TELL(SER_PORT_NUM, HasMultiport, U16(1)),
    TELL(AVL_RESOLTNS, HasResolutions, U8(f.model.exposure_resolutions)),
    TELL(MIN_RESOLTN, HasResolutions, U16(1)),
    TELL(PRE_MASK, Always, U16(f.model.geometry.premask)),
    TELL(PRESCAN, Always, U8(f.model.geometry.prescan)),
    TELL(POST_MASK, Always, U16(f.model.geometry.postmask)),
    TELL(POSTSCAN, Always, U8(f.model.geometry.postscan)),
    TELL(PAR_SIZE, Always, U16(f.model.geometry.rows)),
    TELL(SER_SIZE, Always, U16(f.model.geometry.columns)),
    TELL(GET_SENSOR_MASK_TYPE, HasColorMask, U8(f.model.color)),
    TELL(GET_ROI_COUNT_MAX, HasRegions, U16(f.model.region_limit)),
    TELL(GET_CCL_SCRIPT_WORDS, Always, U16(8192)),
    {SUBSYS_ID, Always,
     [](Firmware&, ByteReader& in, ByteWriter& out) -> bool {
         const uint8_t which = in.U8();
         out.U8(which);
         out.U16(0x0100);
         return which < subsystems;
     }},
    {SUBSYS_NAME, Always,
     [](Firmware& f, ByteReader& in, ByteWriter& out) -> bool {
         const uint8_t which = in.U8();
         out.Text(which == 0 ? f.model.name : f.model.texts.chip, 128);
         return which < subsystems;
     }},
    {SUBSYS_DIAG, Always,
     [](Firmware&, ByteReader& in, ByteWriter& out) -> bool {
         out.U16(0);
         return in.U8() < subsystems;
     }},
};

}  // namespace

std::span<const Command> IdentityCommands() {
    return commands;
}

}  // namespace firmware
