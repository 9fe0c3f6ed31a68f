// Commands that make the camera run, stop, and tell how it does.

#include "firmware/firmware.h"

namespace firmware {
namespace {

using engine::ByteReader;
using engine::ByteWriter;

// A prefix of the status table is what hosts read: byte 7 has the shutter fault, the upper half of
// byte 8 the shutter, the rest of bytes 8 and 9 what the controller does.
constexpr uint8_t status_table_size = 12;
constexpr uint8_t shutter_is_open = 32;
constexpr uint8_t shutter_is_closed = 128;
constexpr uint8_t controller_idle = 0;
constexpr uint8_t controller_runs = 2;
constexpr uint8_t controller_clears = 3;

// The console answers in at most this many characters more than it was asked in.
constexpr size_t answer_surplus = 10;

bool HasStopAcquisition(const Model& model) {
    return model.abilities.stop_acquisition;
}

std::array<uint8_t, status_table_size> StatusTable(const Firmware& f) {
    std::array<uint8_t, status_table_size> table{};
    if (f.model.shutter) table[8] = f.live.shutter_open ? shutter_is_open : shutter_is_closed;
    table[9] = controller_idle;
    if (f.live.clearing) table[9] = controller_clears;
    if (f.live.running) table[9] = controller_runs;
    return table;
}

constexpr Command commands[] = {
    {STAT_TABLE_SIZE, Always,
     [](Firmware&, ByteReader&, ByteWriter& out) -> bool {
         out.U8(status_table_size);
         return true;
     }},
    {STAT_TABLE, Always,
     [](Firmware& f, ByteReader&, ByteWriter& out) -> bool {
         out.Raw(StatusTable(f));
         return true;
     }},
    {EXECUTE_CCL, Always,
     [](Firmware& f, ByteReader&, ByteWriter&) -> bool { return f.actions.Execute(); }},
    {STOP_CCS, Always,
     [](Firmware& f, ByteReader& in, ByteWriter&) -> bool {
         f.actions.Stop(in.U16());
         return true;
     }},
    {STOP_ACQUISITION, HasStopAcquisition,
     [](Firmware& f, ByteReader& in, ByteWriter& out) -> bool {
         in.U32();
         f.actions.Stop(HC_CCS_NONE);
         // Zero: the camera stands still, and the host has to end its side of the transfer.
         out.U32(0);
         return true;
     }},
    {DEBUG_CMD, Always,
     [](Firmware& f, ByteReader& in, ByteWriter& out) -> bool {
         const engine::Bytes text = in.Take(in.U16());
         std::string line(text.begin(), text.end());
         out.Text(f.head.Console(line), text.size() + answer_surplus);
         return true;
     }},
};

}  // namespace

std::span<const Command> ControlCommands() {
    return commands;
}

}  // namespace firmware
