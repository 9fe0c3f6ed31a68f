// I/O ports and the trigger table.

#include "orvex/orvex_types.h"

#include "firmware/firmware.h"

namespace firmware {
namespace {

using engine::ByteReader;
using engine::ByteWriter;

bool HasPorts(const Model& model) {
    return !model.io_ports.empty();
}
bool HasTriggerTable(const Model& model) {
    return HasExtended(model) && !model.extended->trigger_signals.empty();
}

// The port that a command names first; null when there is none of that address.
const IoPort* Port(const Firmware& f, uint16_t address) {
    return address < f.model.io_ports.size() ? &f.model.io_ports[address] : nullptr;
}

#define TELL_PORT(id, size, expression)                                       \
    {id, HasPorts, [](Firmware& f, ByteReader& in, ByteWriter& out) -> bool { \
         const uint16_t address = in.U16();                                   \
         const IoPort* port = Port(f, address);                               \
         if (port == nullptr) return false;                                   \
         out.size(expression);                                                \
         return true;                                                         \
     }}

constexpr Command commands[] = {
    {SEND_AVA_PORTS, HasPorts,
     [](Firmware& f, ByteReader&, ByteWriter& out) -> bool {
         out.U8(f.model.io_ports.size());
         return true;
     }},
    TELL_PORT(SEND_PORTS_RESL, U8, port->bits),
    TELL_PORT(SEND_PORTS_MIN, U16, port->min),
    TELL_PORT(SEND_PORTS_MAX, U16, port->max),
    TELL_PORT(SEND_PORTS_TYPE, U16, port->type),
    TELL_PORT(SEND_PORTS_DIR, U16, f.live.directions[address].load()),
    TELL_PORT(SEND_PORTS_ATTRIBUTES, U16,
              port->variable ? IO_ATTR_DIR_VARIABLE_ALWAYS_READ : IO_ATTR_DIR_FIXED),
    TELL_PORT(GET_CURRENT_PORT_ST, U16, f.live.ports[address].load()),
    {SET_CURRENT_PORT_ST, HasPorts,
     [](Firmware& f, ByteReader& in, ByteWriter&) -> bool {
         const uint16_t address = in.U16();
         const uint16_t state = in.U16();
         const IoPort* port = Port(f, address);
         if (port == nullptr) return false;
         const bool drives = f.live.directions[address] != IO_DIR_INPUT;
         if (drives && state >= port->min && state <= port->max) f.live.ports[address] = state;
         return true;
     }},
    {SET_DIRECTION, HasPorts,
     [](Firmware& f, ByteReader& in, ByteWriter&) -> bool {
         const uint16_t address = in.U16();
         const uint16_t direction = in.U16();
         const IoPort* port = Port(f, address);
         if (port == nullptr) return false;
         if (port->variable && direction <= IO_DIR_INPUT_OUTPUT)
             f.live.directions[address] = direction;
         return true;
     }},
    {GET_TRIGTAB_SIGNAL, HasTriggerTable,
     [](Firmware& f, ByteReader&, ByteWriter& out) -> bool {
         out.U16(f.settings.trigger_signal);
         return true;
     }},
    {SET_TRIGTAB_SIGNAL, HasTriggerTable,
     [](Firmware& f, ByteReader& in, ByteWriter&) -> bool {
         const uint16_t wanted = in.U16();
         for (const NamedValue& signal : f.model.extended->trigger_signals)
             if (signal.value == wanted) f.settings.trigger_signal = wanted;
         return true;
     }},
    {GET_LAST_MUXED_SIGNAL, HasTriggerTable,
     [](Firmware& f, ByteReader&, ByteWriter& out) -> bool {
         out.U8(f.settings.last_muxed_signal);
         return true;
     }},
    {GET_LAST_MUXED_SIGNAL_MAX, HasTriggerTable,
     [](Firmware& f, ByteReader&, ByteWriter& out) -> bool {
         out.U8(f.model.extended->last_muxed_signal_max);
         return true;
     }},
    {SET_LAST_MUXED_SIGNAL, HasTriggerTable,
     [](Firmware& f, ByteReader& in, ByteWriter&) -> bool {
         const uint8_t last = in.U8();
         if (last <= f.model.extended->last_muxed_signal_max) f.settings.last_muxed_signal = last;
         return true;
     }},
};

#undef TELL_PORT

}  // namespace

std::span<const Command> PortCommands() {
    return commands;
}

}  // namespace firmware
