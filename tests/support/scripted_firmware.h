#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "orvex/orvex_errors.h"
#include "orvex/orvex_protocol.h"

namespace support {

using Bytes = std::vector<uint8_t>;

// `size` bytes of a value, high byte first.
Bytes big_endian(uint64_t value, size_t size);
// "3F 00 05" as bytes; blanks are ignored.
Bytes hex(std::string_view text);

// The firmware of a scripted camera: splits a frame into its commands, gathers the replies that
// were set for them and sends as many bytes of them as the frame asks for. A command without a
// reply of its own answers zeros of its size, or nothing when its size varies.
//
//     firmware.reply(PAR_SIZE, 2, 1040).reply(CHIP_NAME, "KX-0131").ignore(SET_TEMP);
//     EXPECT_EQ(firmware.written(SET_TEMP), hex("FE 0C"));
class ScriptedFirmware {
  public:
    using Handler = std::function<Bytes(std::span<const uint8_t> data)>;

    // An integer of `size` bytes, high byte first.
    ScriptedFirmware& reply(uint8_t id, size_t size, uint64_t value);
    ScriptedFirmware& reply(uint8_t id, Bytes bytes);
    // A text, filled with zeros to the size of the command.
    ScriptedFirmware& reply(uint8_t id, std::string_view text);
    // Computes the reply from the command's data; takes the place of a fixed reply.
    ScriptedFirmware& on_command(uint8_t id, Handler handler);
    // A table of (value, name) pairs behind the size command and the one after it.
    ScriptedFirmware& pairs(uint8_t size_id,
                            const std::vector<std::pair<uint16_t, std::string_view>>& items);

    // Setters are followed by their getters: SET_TEMP changes the reply of CCD_TEMP_SET and so on.
    // An ignored setter is taken and changes nothing.
    ScriptedFirmware& ignore(uint8_t set_id) {
        ignored_.insert(set_id);
        return *this;
    }

    // Replies begin with a status byte, 0 unless a command is refused.
    ScriptedFirmware& status_byte(bool present) {
        has_status_ = present;
        return *this;
    }
    // Status of every frame that holds this command.
    ScriptedFirmware& refuse_command(uint8_t id, uint8_t code);

    // Answers of class 35; without one the bridge reports BC_INVALID_OPCODE.
    ScriptedFirmware& bridge_reply(uint8_t command, uint8_t node, uint8_t status, Bytes data);

    // The reply of one frame; empty when the frame asks for none.
    std::optional<Bytes> answer(std::span<const uint8_t> frame);

    struct Command {
        uint8_t id;
        Bytes data;
    };
    // How often a command came in all host frames so far.
    size_t count(uint8_t id) const;
    // Data of the last command of that id.
    std::optional<Bytes> written(uint8_t id) const;
    void forget_commands() { commands_.clear(); }

  private:
    std::optional<Bytes> answer_host(std::span<const uint8_t> payload);
    std::optional<Bytes> answer_bridge(std::span<const uint8_t> payload) const;
    void host_command(const Command& command);
    Bytes reply_of(const Command& command) const;
    Bytes take_reply(size_t size, uint8_t status) const;

    std::map<uint8_t, Bytes> replies_;
    std::map<uint8_t, Handler> handlers_;
    std::set<uint8_t> ignored_;
    std::map<uint8_t, uint8_t> refused_;
    std::map<std::pair<uint8_t, uint8_t>, std::pair<uint8_t, Bytes>> bridge_replies_;
    std::vector<Command> commands_;
    Bytes status_buffer_;
    bool has_status_ = false;
};

// Commands of the payload of a host frame, split by the sizes of the command table; data of a
// variable size is split by the sizes that it carries. Empty when the payload isn't well formed.
std::vector<ScriptedFirmware::Command> split_commands(std::span<const uint8_t> payload);

}  // namespace support
