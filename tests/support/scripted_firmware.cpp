#include "support/scripted_firmware.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <stdexcept>
#include <string>
#include <utility>

namespace support {

namespace {

struct Shape {
    int write_bytes = HC_UNSENT;
    int reply_bytes = HC_UNSENT;
};

std::array<Shape, 256> MakeShapes() {
    std::array<Shape, 256> shapes{};
#define SHAPE(name, id, write_bytes, write_encoding, reply_bytes, reply_encoding) \
    shapes[id] = {write_bytes, reply_bytes};
    ORVEX_HOST_COMMANDS(SHAPE)
#undef SHAPE
    return shapes;
}

const Shape& ShapeOf(uint8_t id) {
    static const std::array<Shape, 256> shapes = MakeShapes();
    return shapes[id];
}

// The getter that a setter changes has the same name with GET, with CURRENT behind it, or bare.
std::map<uint8_t, uint8_t> MakeGetters() {
    std::map<std::string, uint8_t> ids;
#define NAME(name, id, ...) ids[#name] = id;
    ORVEX_HOST_COMMANDS(NAME)
#undef NAME
    std::map<uint8_t, uint8_t> getters = {{SET_TEMP, CCD_TEMP_SET},
                                          {SELECT_SPD, CUR_SPD},
                                          {SET_SPD_GAIN, SPD_USER_GAIN},
                                          {SET_TIME_PER_PIX, SPD_SPEED}};
    for (const auto& [name, id] : ids) {
        if (!name.starts_with("SET_")) continue;
        for (const std::string& getter :
             {"G" + name.substr(1), "G" + name.substr(1) + "_CURRENT", name.substr(4)})
            if (ids.contains(getter)) getters.emplace(id, ids[getter]);
    }
    return getters;
}

size_t Word(std::span<const uint8_t> bytes, size_t at) {
    return size_t{bytes[at]} << 8 | bytes[at + 1];
}

// Where a command of variable size has the 16-bit counts of its parts.
struct CountedPart {
    uint8_t id;
    size_t at;    // of the count, behind the parts before it
    size_t unit;  // bytes that it counts
};

constexpr CountedPart counted_parts[] = {
    {DEBUG_CMD, 0, 1},
    {SET_TIDAL_STREAM_EXP_PARAMS, 0, 4},
    {SET_TIDAL_STREAM_DLY_PARAMS, 0, 4},
    {GET_BINARY_BLOB_SIZE, 2, 1},
    {GET_BINARY_BLOB, 8, 1},
    {SET_BINARY_BLOB, 10, 1},
    {SET_BINARY_BLOB, 0, 1},
};

// Bytes of a command's data whose size is in the data itself; empty when it is cut off.
std::optional<size_t> VariableSize(uint8_t id, std::span<const uint8_t> rest) {
    size_t size = 0;
    for (const CountedPart& part : counted_parts) {
        if (part.id != id) continue;
        size += part.at + 2;
        if (rest.size() < size) return std::nullopt;
        size += Word(rest, size - 2) * part.unit;
    }
    return size;
}

}  // namespace

Bytes big_endian(uint64_t value, size_t size) {
    Bytes bytes(size);
    for (size_t i = size; i-- > 0; value >>= 8) bytes[i] = static_cast<uint8_t>(value);
    return bytes;
}

Bytes hex(std::string_view text) {
    std::string digits;
    for (char character : text)
        if (std::isxdigit(static_cast<unsigned char>(character))) digits += character;
    if (digits.size() % 2 != 0) throw std::invalid_argument("half a byte in: " + digits);
    Bytes bytes;
    for (size_t i = 0; i < digits.size(); i += 2)
        bytes.push_back(static_cast<uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    return bytes;
}

std::vector<ScriptedFirmware::Command> split_commands(std::span<const uint8_t> payload) {
    std::vector<ScriptedFirmware::Command> commands;
    size_t at = 0;
    while (at < payload.size()) {
        const uint8_t id = payload[at++];
        std::span<const uint8_t> rest = payload.subspan(at);
        const int fixed = ShapeOf(id).write_bytes;
        if (fixed == HC_UNSENT) return {};
        const std::optional<size_t> size =
            fixed == HC_VARIABLE ? VariableSize(id, rest) : static_cast<size_t>(fixed);
        if (!size || *size > rest.size()) return {};
        commands.push_back({id, Bytes(rest.begin(), rest.begin() + std::ptrdiff_t(*size))});
        at += *size;
    }
    return commands;
}

ScriptedFirmware& ScriptedFirmware::reply(uint8_t id, size_t size, uint64_t value) {
    return reply(id, big_endian(value, size));
}

ScriptedFirmware& ScriptedFirmware::reply(uint8_t id, Bytes bytes) {
    replies_[id] = std::move(bytes);
    return *this;
}

ScriptedFirmware& ScriptedFirmware::reply(uint8_t id, std::string_view text) {
    Bytes bytes(text.begin(), text.end());
    const int fixed = ShapeOf(id).reply_bytes;
    if (fixed > 0) bytes.resize(static_cast<size_t>(fixed));
    return reply(id, std::move(bytes));
}

ScriptedFirmware& ScriptedFirmware::on_command(uint8_t id, Handler handler) {
    handlers_[id] = std::move(handler);
    return *this;
}

ScriptedFirmware& ScriptedFirmware::pairs(
    uint8_t size_id, const std::vector<std::pair<uint16_t, std::string_view>>& items) {
    Bytes table = big_endian(items.size(), 2);
    for (const auto& [value, name] : items) {
        Bytes item = big_endian(value, 2);
        item.insert(item.end(), name.begin(), name.end());
        item.push_back(0);
        table.insert(table.end(), item.begin(), item.end());
    }
    reply(size_id, 4, table.size());
    return reply(static_cast<uint8_t>(size_id + 1), std::move(table));
}

ScriptedFirmware& ScriptedFirmware::refuse_command(uint8_t id, uint8_t code) {
    refused_[id] = code;
    return *this;
}

ScriptedFirmware& ScriptedFirmware::bridge_reply(uint8_t command, uint8_t node, uint8_t status,
                                                 Bytes data) {
    bridge_replies_[{command, node}] = {status, std::move(data)};
    return *this;
}

std::optional<Bytes> ScriptedFirmware::answer(std::span<const uint8_t> frame) {
    constexpr size_t header_bytes = 3;
    if (frame.size() < header_bytes || Word(frame, 1) != frame.size() - header_bytes)
        return std::nullopt;
    std::span<const uint8_t> payload = frame.subspan(header_bytes);
    switch (frame[0]) {
        case CLASS_HOST_COMMANDS: return answer_host(payload);
        // The only message ends with the size of its reply, of which nothing is read.
        case CLASS_PLUGIN_COMMANDS: return Bytes(Word(frame, frame.size() - 2));
        case CLASS_BRIDGE_COMMANDS: return answer_bridge(payload);
    }
    return std::nullopt;
}

std::optional<Bytes> ScriptedFirmware::answer_host(std::span<const uint8_t> payload) {
    uint8_t status = 0;
    std::optional<Bytes> sent;
    for (const Command& command : split_commands(payload)) {
        commands_.push_back(command);
        if (auto refused = refused_.find(command.id); refused != refused_.end())
            status = refused->second;
        if (command.id == CLEAR_STAT_BUF)
            status_buffer_.clear();
        else if (command.id == SEND_STAT_BUF)
            sent = take_reply(Word(command.data, 0), status);
        else
            host_command(command);
    }
    return sent;
}

std::optional<Bytes> ScriptedFirmware::answer_bridge(std::span<const uint8_t> payload) const {
    if (payload.size() < 3) return std::nullopt;
    Bytes reply(6);
    auto found = bridge_replies_.find({payload[0], payload[2]});
    if (found == bridge_replies_.end()) {
        reply[4] = BC_INVALID_OPCODE;
        return reply;
    }
    reply[4] = found->second.first;
    reply.insert(reply.end(), found->second.second.begin(), found->second.second.end());
    return reply;
}

void ScriptedFirmware::host_command(const Command& command) {
    Bytes reply = reply_of(command);
    status_buffer_.insert(status_buffer_.end(), reply.begin(), reply.end());
    if (ignored_.count(command.id) != 0) return;
    static const std::map<uint8_t, uint8_t> getters = MakeGetters();
    if (auto found = getters.find(command.id); found != getters.end())
        replies_[found->second] = command.data;
}

Bytes ScriptedFirmware::reply_of(const Command& command) const {
    if (auto found = handlers_.find(command.id); found != handlers_.end())
        return found->second(command.data);
    if (auto found = replies_.find(command.id); found != replies_.end()) return found->second;
    const int fixed = ShapeOf(command.id).reply_bytes;
    return Bytes(fixed > 0 ? static_cast<size_t>(fixed) : 0);
}

Bytes ScriptedFirmware::take_reply(size_t size, uint8_t status) const {
    Bytes reply = status_buffer_;
    if (has_status_) reply.insert(reply.begin(), status);
    reply.resize(size);
    return reply;
}

size_t ScriptedFirmware::count(uint8_t id) const {
    return static_cast<size_t>(std::count_if(commands_.begin(), commands_.end(),
                                             [id](const Command& c) { return c.id == id; }));
}

std::optional<Bytes> ScriptedFirmware::written(uint8_t id) const {
    for (auto command = commands_.rbegin(); command != commands_.rend(); ++command)
        if (command->id == id) return command->data;
    return std::nullopt;
}

}  // namespace support
