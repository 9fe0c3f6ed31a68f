// The extended block, and the lists of named values: each has a command for its size and, with the
// next id, one for its bytes.

#include <algorithm>

#include "orvex/orvex_ddi.h"
#include "orvex/orvex_types.h"

#include "firmware/extended_block.h"
#include "firmware/firmware.h"

namespace firmware {
namespace {

using engine::ByteReader;
using engine::ByteWriter;

std::vector<uint8_t> Container(const std::vector<NamedValue>& items) {
    std::vector<uint8_t> bytes;
    ByteWriter out(bytes);
    out.U16(items.size());
    for (const NamedValue& item : items) {
        out.U16(item.value);
        out.Text(item.name, item.name.size() + 1);
    }
    return bytes;
}

std::vector<uint8_t> PortContainer(const Model& model) {
    std::vector<NamedValue> items;
    items.reserve(model.ports.size());
    for (size_t i = 0; i < model.ports.size(); ++i)
        items.push_back({.value = static_cast<uint16_t>(i), .name = model.ports[i].name});
    return Container(items);
}

uint32_t CurrentInterface(const Firmware& f) {
    // One that it always has is the one in use, whatever its driver is like.
    const std::vector<Interface>& interfaces = f.model.extended->interfaces;
    if (interfaces.size() == 1) return interfaces.front().type;
    switch (f.about.driver_type) {
        case DRIVER_TYPE_PCI: return OX_CAM_IFC_TYPE_PCI_LVDS;
        case DRIVER_TYPE_USB: return OX_CAM_IFC_TYPE_USB_3_0;
        case DRIVER_TYPE_PCIE: return OX_CAM_IFC_TYPE_PCIE_X4;
        case DRIVER_TYPE_1394: return OX_CAM_IFC_TYPE_1394_B;
        default: return OX_CAM_IFC_TYPE_VIRTUAL;
    }
}

bool HasCentroidLists(const Model& model) {
    return HasExtended(model) && model.centroids;
}

#define LIST(size_id, bytes_id, available, bytes)                                    \
    {size_id, available,                                                             \
     [](Firmware& f, ByteReader&, ByteWriter& out) -> bool {                         \
         out.U32((bytes).size());                                                    \
         return true;                                                                \
     }},                                                                             \
    {                                                                                \
        bytes_id, available, [](Firmware& f, ByteReader&, ByteWriter& out) -> bool { \
            out.Raw(bytes);                                                          \
            return true;                                                             \
        }                                                                            \
    }
#define NAMES(size_id, bytes_id, field) \
    LIST(size_id, bytes_id, HasExtended, Container(f.model.extended->field))

constexpr Command commands[] = {
    LIST(GET_EXTENDED_CAPABILITIES_SIZE, GET_EXTENDED_CAPABILITIES, HasExtended,
         ExtendedBlock(f.model)),
    NAMES(GET_EXTENDED_TRIG_MODES_SIZE, GET_EXTENDED_TRIGGERING_MODES, trigger_modes),
    NAMES(GET_EXPOSE_OUT_BEHAVE_SIZE, GET_EXPOSE_OUT_BEHAVE_MODES, expose_out_modes),
    NAMES(GET_FAN_SPEEDS_SIZE, GET_FAN_SPEEDS, fan_speeds),
    NAMES(GET_TRIGTAB_SIGNALS_SIZE, GET_TRIGTAB_SIGNALS, trigger_signals),
    NAMES(GET_FRAME_DELIVERY_MODES_SIZE, GET_FRAME_DELIVERY_MODES, frame_delivery_modes),
    NAMES(GET_CLEAR_MODES_SIZE, GET_CLEAR_MODES, clear_modes),
    LIST(GET_EXTENDED_READOUT_PORTS_SIZE, GET_EXTENDED_READOUT_PORTS, HasExtended,
         PortContainer(f.model)),
    LIST(GET_CENTROIDS_MODES_SIZE, GET_CENTROIDS_MODES, HasCentroidLists,
         Container(f.model.centroids->modes)),
    LIST(GET_CENTROIDS_BG_COUNTS_SIZE, GET_CENTROIDS_BG_COUNTS, HasCentroidLists,
         Container(f.model.centroids->background_counts)),
    {GET_CAM_IFC_TYPE_CURRENT, HasExtended,
     [](Firmware& f, ByteReader&, ByteWriter& out) -> bool {
         out.U32(CurrentInterface(f));
         return true;
     }},
    {GET_FAN_SPEED_SETPOINT, HasExtended,
     [](Firmware& f, ByteReader&, ByteWriter& out) -> bool {
         out.U16(f.settings.fan_speed);
         return true;
     }},
    {SET_FAN_SPEED_SETPOINT, HasExtended,
     [](Firmware& f, ByteReader& in, ByteWriter&) -> bool {
         const uint16_t speed = in.U16();
         if (speed < f.model.extended->fan_speeds.size()) f.settings.fan_speed = speed;
         return true;
     }},
    {GET_FRAME_DELIVERY_MODE_CURRENT, HasExtended,
     [](Firmware& f, ByteReader&, ByteWriter& out) -> bool {
         out.U16(f.settings.delivery_mode);
         return true;
     }},
    {SET_FRAME_DELIVERY_MODE, HasExtended,
     [](Firmware& f, ByteReader& in, ByteWriter&) -> bool {
         const uint16_t mode = in.U16();
         if (mode < f.model.extended->frame_delivery_modes.size()) f.settings.delivery_mode = mode;
         return true;
     }},
};

#undef LIST
#undef NAMES

}  // namespace

std::span<const Command> ListCommands() {
    return commands;
}

}  // namespace firmware
